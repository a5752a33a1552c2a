#include "attbat/authoring/ApplyDynamicProperties.h"

#include <set>

#include "attbat/authoring/CInsertBlocksOpt.h"
#include "attbat/authoring/RowValues.h"
#include "attbat/model/AcadDatabase.h"
#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "host/Printer.h"
#include "tables/CStringTable.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

// Where the host keeps a dynamic block's parameters and actions, in the block record's extension
// dictionary.
constexpr std::string_view kEnhancedBlock = "ACAD_ENHANCEDBLOCK";

bool HasEvaluationGraph(const cad::BlockRecord& block) {
    if (!block) return false;
    cad::Dictionary dictionary = block.Record().ExtensionDictionary();
    return dictionary && dictionary.Has(kEnhancedBlock);
}

// The names a row can hold values under: the column map's, or the header row's cells.
std::vector<std::string> RowNames(const tables::CStringTable& table, const CInsertBlocksOpt& options) {
    std::vector<std::string> names;
    if (options.tagMode == 1) {
        for (const auto& [column, name] : options.columnMap) names.push_back(name);
        return names;
    }
    int firstRow = 0, firstColumn = 0;
    const tables::CStringTable& t = table;
    if (!tables::ParseFirstCell(t.RangeAddress, firstRow, firstColumn)) return names;
    const int header = options.tagHeaderRow - firstRow;
    if (header < 0 || header >= t.GetSize()) return names;
    for (const std::string& cell : t.GetAt(header)) {
        if (!cell.empty()) names.push_back(cell);
    }
    return names;
}

// The block a reference shows: the dynamic block its anonymous copy was made from, or its own.
cad::BlockRecord ShownBlock(const cad::BlockReference& reference) {
    cad::BlockRecord source = DynamicBlockOf(reference);
    return source ? source : reference.Block();
}

}  // namespace

bool IsDynamicBlockReference(const cad::BlockReference& reference) {
    return HasEvaluationGraph(ShownBlock(reference));
}

void ApplyDynamicProperties(cad::BlockReference& reference, const tables::CStringTable& table,
                            const CInsertBlocksOpt& options, int rowIndex, bool /*update*/) {
    if (!IsDynamicBlockReference(reference)) return;
    const InsertHeaders headers = InsertHeaders::Load();
    const std::set<std::string> fixed = {headers.posX,   headers.posY,   headers.posZ,  headers.scaleX,
                                         headers.scaleY, headers.scaleZ, headers.layer, headers.rotation};
    std::set<std::string> tags;
    for (const cad::Attribute& attribute : reference.Attributes()) tags.insert(attribute.Tag());
    for (const cad::AttributeDefinition& def : ShownBlock(reference).AttributeDefinitions()) tags.insert(def.Tag());
    std::string value;
    for (const std::string& name : RowNames(table, options)) {
        if (tags.count(name) || fixed.count(name)) continue;
        if (!GetRowValueByName(table, options.tagMode, options.tagHeaderRow, options.columnMap, name, rowIndex, value))
            continue;
        host::Printf("\nThe dynamic property %s of block %s (%s) was not set to '%s': this build can't set dynamic "
                     "properties yet.",
                     name, ShownBlock(reference).Name(), reference.HandleString(), value);
    }
}

}  // namespace attbat
