#pragma once
// Which columns a schedule shows and how.
#include <string>
#include <vector>

#include "attbat/model/AcadAttDefTagArray.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class AcadAttributeDef;
class AcadBlock;
class Archive;
class SettingsStore;

class AcadBlockView {
public:
    // Reads every persisted member from its value name, the present value being the default.
    void LoadFromSettings(SettingsStore& store);
    // Writes every persisted member, AreaUnit included.
    void SaveToSettings(SettingsStore& store) const;
    // Writes AreaUnit alone; a unit below 1 (drawing units) is never written.
    void SaveAreaUnit(SettingsStore& store) const;
    // The template order; the four later members are written always and read only when
    // schemaVersion is 2 or more, so an older template leaves them as they were.
    void Serialize(Archive& archive);

    // Whether a definition gives a column: a property by its show flag (by long name, without
    // case; false for an unknown one); otherwise off for a dynamic property without
    // selectDynProperties, for all attributes without showAtts, and for a tag listed in
    // unselectedTags or noValueTags.
    bool IsColumnOn(const AcadAttributeDef& def) const;
    // The column names of the selected and listed blocks among `blocks`: each definition that is
    // on, by its ColumnName, empty and repeated names (case counts) left out, sorted by
    // columnSort.
    tables::CStringArrayEx ColumnsOf(const std::vector<const AcadBlock*>& blocks) const;

    // Property columns, one flag each; all off in a fresh view.
    int showPosX = 0;
    int showPosY = 0;
    int showPosZ = 0;
    int showScaleX = 0;
    int showScaleY = 0;
    int showScaleZ = 0;
    int showRotation = 0;
    int showLayer = 0;
    int spare = 0;               // unused, kept for the record's shape
    int showAtts = 1;            // attribute columns at all
    int showOuterArea = 0;       // the outer polygon's area column
    int areaUnit = 0;            // 0 drawing units, 1 sq. inches, 2 sq. feet, 3 sq. metres
    int showOuterLength = 0;     // kept with the options; no property column answers to it
    int combineItems = 1;        // merge identical rows, counting them
    int includeHeader = 1;       // 0: no header row; the first data row carries the mark
    int showName = 0;            // adds the identity column
    int promptAsHeader = 0;      // attribute columns named by prompt instead of tag
    int showCount = 1;           // the "Quantity" column
    int unselNoValueAtts = 1;    // the wizard switches off columns without any value
    int selectDynProperties = 1; // dynamic property columns are on
    int headerStyle = 0;         // 0 one header for the table; 1 a header per block
    int columnSort = 2;          // 0 A to Z, 1 Z to A, 2 as read
    int identityColumn = 0;      // 0 "DWG File"; 1 the same with "|" and the layout; 2 "Handle"
    int schemaVersion = 4;       // version of the template being read
    tables::CStringArrayEx columns;      // column names in order, for header style 0
    AcadAttDefTagArray unselectedTags;  // switched off by the user; stored in templates
    AcadAttDefTagArray noValueTags;     // switched off for want of values; never stored
};

// The column name of a definition: the tag, "%s_Dup(%d)" for a later attribute of its tag, the
// area name with its unit for the outer polygon area, or the prompt (even an empty one, which
// drops the column) for an attribute under promptAsHeader.
std::string ColumnName(const AcadBlockView& view, const AcadAttributeDef& def);
// Sorts column names without regard to case: 0 ascending, 1 descending, equal names keeping
// their order; any other mode leaves them.
void SortColumns(tables::CStringArrayEx& columns, int columnSort);

}  // namespace attbat
