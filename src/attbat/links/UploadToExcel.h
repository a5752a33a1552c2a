#pragma once
// The road from the drawing back to the workbook: the key comments an export left on the cells
// name a drawing, a reference and an attribute or property, so wherever the user moved the cells,
// each one is compared with what the reference holds now and brought up to date. Rows of
// references that are gone can be removed. The command does it on request; the editor reactor
// does it after a change, for the changed references only.
#include <map>
#include <string>
#include <vector>

namespace attbat {

using UploadMap = std::map<std::string, std::string>;

// Everything one upload compares and writes, keyed by cell key "%s:%s" of sheet name and absolute
// address ("Sheet1:$C$5").
struct UploadMaps {
    UploadMap comments;        // the whole comment text
    UploadMap cells;           // the cell's text in the sheet
    UploadMap changes;         // the value to write
    UploadMap commentChanges;  // the new comment; "" marks a drawing path cell
    std::vector<long> deletedRows;  // sheet rows of references that are gone, each once, as found
};

// Reads the key comments of every sheet of the active workbook with their cells' texts
// (ExcelUtils::ReadComments, sheet by sheet), then makes the noted active sheet active again;
// false when one couldn't be read.
bool ReadAllSheets(UploadMaps& maps);
// Sheet rows as the upload names them: "2, 4".
std::string RowList(const std::vector<long>& rows);
// Compares workbook and current drawing: fills changes, comment changes and deleted rows. With
// `automatic` only the references of the current document's changed handles count.
void ParseUpload(UploadMaps& maps, bool automatic);
// Writes the changes and the comment changes to the workbook; a cell that can't be written is
// passed over.
void UploadChanges(const UploadMap& changes, const UploadMap& commentChanges);
// Asks whether to remove the rows and deletes them, in the order found, on the active sheet.
// `answer` ("Yes"/"No"), when not empty, answers the question without asking.
void RemoveDeletedRows(const std::vector<long>& rows, const std::string& answer = {});
// The automatic upload, the editor reactor's road in: 1 when done or nothing was to be done,
// 0 when no workbook could be attached. `force` takes in every reference of the drawing.
int AutoUpload(int force);
// What the last automatic upload wrote, for a front end that tells it.
const UploadMaps& LastAutoUpload();

}  // namespace attbat
