#pragma once
// The drawing reader: fills an AcadBlockArray from a drawing, whole or by selection. Nothing of
// the drawing is kept; rows carry handles as text.
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/OuterPolygon.h"
#include "attbat/model/SettingsStore.h"
#include "base/Status.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/geometry/MLeader.h"

namespace attbat {

// The id a row's ownerId holds for a space: the block record's handle, or this for the model
// space of an R12 file, which has none.
inline constexpr ObjectId kHandlelessModelSpaceId = ~ObjectId{0};
// The ownerId of a layout block record.
ObjectId SpaceIdOf(const cad::BlockRecord& space);
// The most rows a read of one drawing gives: four times the rows of a worksheet. Nesting
// multiplies instances (20 levels that each insert the next twice give a million rows), and
// every row takes memory before a schedule can combine them; a drawing over it is refused.
inline constexpr std::uint64_t kMaxScheduleRows = std::uint64_t{4} << 20;

// Reads a whole drawing into `blocks`. An empty `file`, or the current document's file (without
// regard to case), reads the current document; any other file is read on its own and its
// external references through their files. Multileaders with block content come too unless
// `ExportBlocksInMLeader` is 0 in `settings` (null: on). Fails when the file can't be read, or
// when no current document exists for an empty name.
base::Status ReadDrawing(AcadBlockArray& blocks, std::string_view file, SettingsStore* settings);
// The blocks of a drawing (named as ReadDrawing names it) with their attribute definitions and
// no rows: what a list of block names and tags needs, at a fraction of a whole read.
base::Status ReadDefinitions(AcadBlockArray& blocks, std::string_view file);
// The heart of the reader: every block of `db` with its rows, `name` standing as each block's
// and row's drawing. `xrefInsert` is the host's reference when `db` was read for an external
// reference (its transform and space pick the host's polygons); null otherwise.
// Fails, before any row is made, when the drawing would give more than kMaxScheduleRows rows.
base::Status ReadDatabase(AcadBlockArray& blocks, cad::Database& db, std::string_view name,
                          const cad::BlockReference* xrefInsert, const PolygonList* polygons);
// The selected references with their blocks, and the references nested one level in them;
// references of a block already in `blocks` join it.
void ReadSelection(AcadBlockArray& blocks, const std::vector<cad::BlockReference>& refs,
                   std::string_view name);
// The blocks of `blockIds` with only those of their references listed in `refIds`, then the
// blocks nested in them.
void ReadBlocksWithRefs(AcadBlockArray& blocks, const std::vector<cad::BlockRecord>& blockIds,
                        const std::vector<cad::BlockReference>& refIds, std::string_view name);
// One multileader: a row on its content block. Fails ("603") for other content, or when the
// content block is missing.
base::Status ReadOneMLeader(AcadBlockArray& blocks, const cad::MLeader& leader, std::string_view name);
// Every multileader of model and paper space through ReadOneMLeader.
void ReadMLeadersOfDatabase(AcadBlockArray& blocks, cad::Database& db, std::string_view name);

// Rows of single references read by handle, as a selection read makes them: top level, the
// drawing's own units, values as stored, constants from their block's definitions (read once
// per block). What an upload compares a cell with.
class ReferenceRowReader {
public:
    // `name` stands as each row's drawing.
    ReferenceRowReader(cad::Database& db, std::string name) : db_(db), name_(std::move(name)) {}
    // The row of the reference `handle`; false when it names no live block reference. With
    // `withOuterArea` the outer polygon's area is worked out even when the switch is off.
    bool Read(std::string_view handle, AcadBlockRef& row, bool withOuterArea = false);

private:
    cad::Database& db_;
    std::string name_;
    std::unordered_map<std::uint32_t, AcadBlock> blocks_;  // by the block record's index
};

// A dynamic block property as the reader sees it: its value type (1 text, 40 real, 70 16-bit,
// 90 32-bit integer, others empty), its value and the units it is measured in.
struct DynamicProperty {
    enum class Units { None, Angle, Distance, Area };
    std::string name;
    int type = 0;
    std::string text;
    double real = 0;
    long integer = 0;
    Units units = Units::None;
    bool readOnly = false;
    bool show = true;
};
// The dynamic properties of `reference`, in order; empty for a reference of a block that isn't
// dynamic and wherever the drawing holds no evaluated values.
std::vector<DynamicProperty> DynamicPropertiesOf(const cad::BlockReference& reference);
// The block record an anonymous copy was made from (the dynamic block); a null view when the
// reference's block isn't such a copy.
cad::BlockRecord DynamicBlockOf(const cad::BlockReference& reference);
// The text of a property value: reals by the row's units (angles by AngleText, distances by
// DistanceText but "0" for a decimal zero, others "%g"), integers "%d"/"%ld"; other types "".
std::string PropertyText(const DynamicProperty& property, int lunits, int aunits, const cad::Database* db);
// Appends the dynamic properties of `reference` to `row`; for an anonymous block it adds their
// columns and gives the block its true name when the copy came from a named dynamic block.
void AddDynamicProperties(AcadBlock& block, const cad::BlockReference& reference, AcadBlockRef& row);
// Numbers each value among the earlier ones of its tag (dupIndex), which with the tag names its
// definition, and so its prompt, in the block.
void NumberRepeatedTags(AcadBlockRef& row);
// Appends each constant definition's value that the row lacks, marked constant.
void AddConstantAttributes(AcadBlockRef& row, const AcadAttributeDefArray& defs);

}  // namespace attbat
