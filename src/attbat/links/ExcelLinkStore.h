#pragma once
// Where a drawing remembers its workbook: the drawing link in the named object dictionary, and
// the workbook and row links as extended data on block references. Only standard objects are
// used, so the links survive saving, copying and plain CAD programs. Failures print the
// system's lines and give false; nothing throws.
#include <string>
#include <string_view>
#include <vector>

#include "cad/Database.h"
#include "cad/Object.h"

namespace attbat {

// Dictionary and record of the drawing link, under the named object dictionary.
inline constexpr std::string_view kLinkDictionary = "ORVANE_VELMAR";
inline constexpr std::string_view kLinkRecord = "EXCEL_LINK";
// Application names of the two reference links, written and looked for exactly as they stand.
inline constexpr std::string_view kWorkbookLinkApp = "999F152C-1E9D-4402-B4E6-01B380A38CD4";
inline constexpr std::string_view kRowLinkApp = "26B39FF7-A595-4C83-9E44-263A93150487";

// Stores `workbookPath` as the drawing link, replacing an older one; false for a null database
// or a drawing without an objects section (R12).
bool SaveLinkToDrawing(cad::Database* db, std::string_view workbookPath);
// The drawing link into `result`; false when there is no link record. True with an empty
// result when the record's first value isn't group 1.
bool ReadLinkFromDrawing(cad::Database* db, std::string& result);
// Removes the drawing link with its dictionary; true (and no change) when there is none.
bool DeleteLinkFromDrawing(cad::Database* db);

// The same by file: the drawing is read, changed and saved in place in its own version with a
// backup. A missing drawing prints "\n%s: Invalid drawing file.", an empty workbook path
// "\n%s: Invalid Excel file.".
bool SaveLinkToDrawing(const std::string& drawingPath, std::string_view workbookPath);
// True whether or not a link was found (then `result` is empty); false when unreadable.
bool ReadLinkFromDrawing(const std::string& drawingPath, std::string& result);
// True when the drawing was read; it is saved even when it held no link.
bool DeleteLinkFromDrawing(const std::string& drawingPath);

// Adds `text` as a 1000 string under `app`: with `append` off it replaces what was there; on,
// it is added at the end unless a 1000 string equals it without regard to case (true, no
// change). False for a null or erased object or an empty application name.
bool SetXDataString(cad::Object object, std::string_view app, std::string_view text, bool append);
// The first 1000 string of `app` outside 1002 brace pairs; false (and `result` emptied) when
// there is none.
bool GetXDataString(const cad::Object& object, std::string_view app, std::string& result);
// Every 1000 string of `app` outside brace pairs appended to `result`; false when it holds none.
bool GetXDataStrings(const cad::Object& object, std::string_view app, std::vector<std::string>& result);
// Removes the data of `app`; false for a null or erased object (with the system's line) or an
// empty name.
bool DeleteXData(cad::Object object, std::string_view app);

// The workbooks linked from references of `db`, first met first; equal paths differing in case
// are listed apart; empty links are passed over. False when there are none.
bool GetLinkedWorkbooks(cad::Database& db, std::vector<std::string>& result);
// The references with a non-empty workbook link, and when `workbookPath` isn't empty, only those
// linked to it (without regard to case). False when none.
bool GetLinkedReferences(cad::Database& db, std::vector<cad::Object>& result,
                         std::string_view workbookPath = {});

}  // namespace attbat
