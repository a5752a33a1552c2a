#pragma once
// The choices of the import by key attribute: which workbook and sheets, how attribute tags are
// found in the sheet (a header row or columns given one by one), which blocks and key, which
// drawings. The dialog fills it, the import reads it, and a .vlo option file stores it in the
// Windows program's archive form.

#include <map>
#include <string>
#include <string_view>

#include "base/Status.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class Archive;

class CImportByKeyAttOpt {
public:
    // The first string of every .vlo file, compared without regard to case on reading.
    static constexpr const char* magic = "67AB44D6-1738-4071-B21D-872AC377593A";
    // The pseudo key tag that matches rows by drawing instead of by an attribute.
    static constexpr const char* dwgFileKey = "DWG File";

    std::string Workbook;
    std::string Worksheet;
    std::string BlockNames;          // names, each followed by ";"
    std::string KeyTag;              // the key attribute's tag, or "DWG File"
    int AttTagOption = 1;            // 0 header row, 1 specified columns
    int DrawingOption = 0;           // 0 current drawing, 1 selected drawings
    int KeyColumn = 0;               // the key's worksheet column in mode 1
    int HeaderRow = 0;               // the header row in mode 0
    int Reserved = 1;                // stored in the file, otherwise unused
    int AllWorksheets = 0;
    int SelectedRowsOnly = 0;
    int UseWildcardInKeyAttTag = 0;
    int SaveAsCurrentDwgVersion = 0;
    int IgnoreDwgFolder = 0;         // loaded and stored, no control
    tables::CStringArrayEx Drawings;
    std::map<std::string, std::string> ColumnToTag;  // column text ("C" or "3") to tag

    // Reads the stored values with the present fields as defaults; the drawing list from
    // "Velmar\DrawingList" and the column map from "Velmar\Col2TagMap" replace the present ones.
    void LoadSettings();
    // Writes the same, after emptying both subsections; false when a value couldn't be written.
    bool SaveSettings() const;
    // Rewrites "Velmar\DrawingList" alone: a drawing added or removed is stored at once.
    bool SaveDrawings() const;
    // Rewrites "Velmar\Col2TagMap" alone: a pair added or removed is stored at once.
    bool SaveColumnToTag() const;
    // The fields of the option file after its magic, in its order.
    void Serialize(Archive& archive);
    // `BlockNames` with "; " trimmed off both ends, split at ";", non-empty pieces appended.
    void BlockNameList(tables::CStringArrayEx& out) const;

    // The bytes of a .vlo file: the magic, then Serialize.
    std::string OptionFileBytes();
    // Reads a .vlo file's bytes: a wrong magic is "Invalid Velmar option file: 1." and a short or
    // damaged rest "Invalid Velmar option file: 3." (so is a magic cut short); on either the
    // fields stay as they were. The check boxes aren't in the file and always keep their state.
    base::Status LoadOptionFile(std::string_view bytes);
};

}  // namespace attbat
