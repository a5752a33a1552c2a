#pragma once
// A row's value by name, for the insertion and update passes: from the column the column map
// gives the name, or from the column whose header cell is the name; and the header texts that
// name the position, scale and layer columns.
#include <map>
#include <string>
#include <string_view>

namespace tables {
class CStringTable;
}

namespace attbat {

// The eight header names of section "Velmar", read at the start of each pass.
struct InsertHeaders {
    std::string posX = "Position X", posY = "Position Y", posZ = "Position Z";
    std::string scaleX = "Scale X", scaleY = "Scale Y", scaleZ = "Scale Z";
    std::string layer = "Layer";
    // Read and deliberately without effect: inserted references keep rotation 0.
    std::string rotation = "Rotation";

    // The stored texts, these defaults where none is stored.
    static InsertHeaders Load();
};

// The value named `name` in table row `rowIndex`: with tag mode 1 from the column that the
// column map gives that name exactly (case counts; the last pair in key order wins), with tag
// mode 0 from the column whose cell in sheet row `headerRow` is the name without regard to
// case. False for an empty table, a row outside it, a table address without a first cell, a
// column outside the row, or a name nothing gives.
bool GetRowValueByName(const tables::CStringTable& table, int tagMode, int headerRow,
                       const std::map<std::string, std::string>& columnMap, std::string_view name,
                       int rowIndex, std::string& result);

}  // namespace attbat
