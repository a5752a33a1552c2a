#include "attbat/authoring/ApplyDynamicProperties.h"

#include "arxutils/ArxUtils.h"
#include "attbat/authoring/CInsertBlocksOpt.h"
#include "attbat/authoring/RowValues.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/DynamicBlockReference.h"
#include "host/Printer.h"
#include "tables/CStringTable.h"

namespace attbat {

namespace {

// Whether the row's `text` already says the property's present value, as the comparison before
// an assignment has it: texts without regard to case, angles by their value, other reals by
// "%g" (a present 0 taken as exactly 0), integers by "%d".
bool AlreadyShown(const cad::DynamicBlockProperty& property, const std::string& text, const cad::Database* db) {
    switch (property.valueKind) {
    case cad::DynamicValueKind::String: return base::EqualNoCase(property.text, text);
    case cad::DynamicValueKind::Real:
        if (property.units == cad::DynamicUnitsKind::Angle) {
            double angle = 0;
            return arxutils::TryTextToAngle(db, text, -1, angle) && arxutils::NearlyEqual(angle, property.real);
        }
        return base::EqualNoCase(base::Sprintf("%g", property.real == 0 ? 0.0 : property.real), text);
    case cad::DynamicValueKind::Int16:
    case cad::DynamicValueKind::Int32: return base::EqualNoCase(std::to_string(property.integer), text);
    case cad::DynamicValueKind::Point: return true;  // no cell gives a point
    }
    return true;
}

}  // namespace

bool IsDynamicBlockReference(const cad::BlockReference& reference) {
    return cad::DynamicBlockReference(reference).IsDynamic();
}

void ApplyDynamicProperties(cad::BlockReference& reference, const tables::CStringTable& table,
                            const CInsertBlocksOpt& options, int rowIndex, bool /*update*/) {
    cad::DynamicBlockReference dynamic(reference);
    if (!dynamic.IsDynamic()) return;
    std::string value;
    for (const cad::DynamicBlockProperty& property : dynamic.Properties()) {
        if (!GetRowValueByName(table, options.tagMode, options.tagHeaderRow, options.columnMap, property.name,
                               rowIndex, value))
            continue;
        if (AlreadyShown(property, value, reference.GetDatabase())) continue;
        host::Printf("\nThe dynamic property %s of block %s (%s) was not set to '%s': this build reads dynamic "
                     "properties but can't set them yet.",
                     property.name, dynamic.DynamicBlock().Name(), reference.HandleString(), value);
    }
}

}  // namespace attbat
