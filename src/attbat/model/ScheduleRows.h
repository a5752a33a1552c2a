#pragma once
// Turning blocks into schedule rows: two tables of one shape, `rows` with what the user sees and
// `keys` with the text that ties each cell back to a drawing, a reference and a field. Every
// export writes the keys as cell comments and every import reads them back, so the literals and
// forms here are shared by the whole program.
#include <string>
#include <string_view>
#include <vector>

#include "tables/Array.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class AcadAttributeDefArray;
class AcadBlock;
class AcadBlockArray;
class AcadBlockFilter;
class AcadBlockRef;
class AcadBlockView;
class DrawingContext;

// A table of rows as both CDataTable and CStringTable hold them.
using RowTable = tables::Array<tables::CStringArrayEx>;

inline constexpr std::string_view HeaderHandle = "Handle";
inline constexpr std::string_view HeaderDwgFile = "DWG File";
inline constexpr std::string_view HeaderBlockName = "Block Name";
inline constexpr std::string_view HeaderQuantity = "Quantity";
// In `keys`, in the block name column of exactly one row of each group: where a table starts
// and which column holds block names.
inline constexpr std::string_view BlockColumnMark = "089153E6-B97A-470c-8974-E302E7F9BFF2";
// In `keys`, in the identity column of each data row in file form: that column holds a path.
inline constexpr std::string_view CurrentDrawingMark = "Velmar_CurrentDrawing";
// What SplitPair cuts at.
inline constexpr std::string_view Separator = "%}.{%";

// Where built rows go as they are made, so that a caller keeping them in a form of its own never
// holds them all as string arrays.
class RowSink {
public:
    virtual ~RowSink() = default;
    // The rows both tables hold, in order: a group's header before its first row, and whole
    // groups whose rows are compared at full width. The tables are emptied afterwards.
    virtual void TakeRows(RowTable& rows, RowTable& keys) = 0;
    // A row made without its trailing empty cells: the first `valueCount` cells of `values` and
    // `keyCount` of `keys`, arrays the builder reuses for the next row.
    virtual void TakeRow(const tables::CStringArrayEx& values, int valueCount,
                         const tables::CStringArrayEx& keys, int keyCount) = 0;
};

// Builds the columns (header style 0), then one group per name of `names`, in list order, over
// the normal blocks of that name (an empty name takes them all). Appends to both tables.
// Every row of a group is as wide as the group; with `fullWidth` not null each row is handed
// over without its trailing empty cells instead (cells past its end read empty), as it is made,
// and *fullWidth is raised to the widest row's width before that.
// With a `sink` the rows go to it instead, in the same order (see RowSink).
void BuildRows(AcadBlockArray& blockArray, RowTable& rows, RowTable& keys, AcadBlockView& view,
               const AcadBlockFilter& filter, const tables::CStringArrayEx& names,
               const DrawingContext& drawing, int* fullWidth = nullptr, RowSink* sink = nullptr);
// One group: its header (as header style, includeHeader and `firstHeader` say), one row per
// reference that passes the filters, then merging of equal rows when combineItems is set.
// An empty `blocks` adds nothing. `fullWidth` and `sink` as for BuildRows.
void AddGroup(const AcadBlockArray& blockArray, RowTable& rows, RowTable& keys,
              const AcadBlockView& view, const AcadBlockFilter& filter,
              const std::vector<const AcadBlock*>& blocks, bool& firstHeader,
              const DrawingContext& drawing, int* fullWidth = nullptr, RowSink* sink = nullptr);
// Drops the trailing empty cells of `row` and the room they took.
void TrimTrailingEmpty(tables::CStringArrayEx& row);
// The value and key of one cell of `row` under a column name; false (both empty) when the row
// has nothing for that column. `defs` are the definitions of the row's block, whose prompts
// name the columns under promptAsHeader.
bool CellText(const AcadBlockRef& row, const AcadAttributeDefArray& defs,
              std::string_view column, std::string& valueOut, std::string& keyOut,
              const AcadBlockView& view, const DrawingContext& drawing);
// The same by short key ("PosX", "OPArea.sq.ft.", a tag): properties only when `isProperty`
// ("Layer" always), attributes by tag alone; `isDistanceOut` tells a dynamic distance value.
bool CellTextByKey(const AcadBlockRef& row, std::string_view shortKey, std::string& valueOut,
                   std::string& keyOut, const AcadBlockView& view, bool isProperty,
                   bool& isDistanceOut, const DrawingContext& drawing);
// Whether a row counts: current space, nesting, layer states, then the layer list (empty passes
// all; names compared without regard to case), in that order.
bool RowPassesFilter(const AcadBlockRef& row, const tables::CStringArrayEx& layers,
                     const AcadBlockFilter& filter, const DrawingContext& drawing);
// Whether a block counts: external references unless incXref, and the trimmed block pattern
// (empty passes all) without regard to case.
bool BlockPassesFilter(const AcadBlock& block, const AcadBlockFilter& filter);
// Parses the inner text of a key ("2F3_DOOR", "2F3|2F9:PosX"): cut at the first "_" from
// position 1, else at the first ":" from position 1, whose right side gives the property bit in
// `kindOut` (0 for an attribute). Each non-empty handle left of the cut, split at "|", is added
// to `handles` unless there already (without regard to case). False, adding nothing, when either
// side is empty.
bool ParseKeyCell(std::string_view cell, tables::CStringArrayEx& handles, std::string& tag,
                  int& kindOut);
// Cuts `text` at Separator into `first` and `second`; without one the whole goes to `second`
// and `first` stays as it was.
void SplitPair(std::string_view text, std::string& first, std::string& second);

}  // namespace attbat
