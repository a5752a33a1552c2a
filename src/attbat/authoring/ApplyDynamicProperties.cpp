#include "attbat/authoring/ApplyDynamicProperties.h"

#include <cstdlib>

#include "arxutils/ArxUtils.h"
#include "attbat/authoring/CInsertBlocksOpt.h"
#include "attbat/authoring/DynamicBlockUpdate.h"
#include "attbat/authoring/RowValues.h"
#include "attbat/model/DynamicValueText.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/DynamicBlockReference.h"
#include "host/Printer.h"
#include "tables/CStringTable.h"

namespace attbat {

namespace {

// The value to assign for the row's `text`, or nothing when it says the present value already.
bool ValueToAssign(const cad::DynamicBlockProperty& property, const std::string& text, const cad::Database* db,
                   cad::DynamicValue& value) {
    switch (property.valueKind) {
    case cad::DynamicValueKind::String:
        if (base::EqualNoCase(base::Sprintf("%s", property.text), text)) return false;
        value = cad::DynamicValue::Text(text);
        return true;
    case cad::DynamicValueKind::Real:
        if (property.units == cad::DynamicUnitsKind::Angle) {
            double angle = 0;  // a text the angular units can't read counts as 0
            arxutils::TryTextToAngle(db, text, -1, angle);
            if (arxutils::NearlyEqual(angle, property.real)) return false;
            value = cad::DynamicValue::Real(angle);
            return true;
        } else {
            const double present = property.real == 0 ? 0.0 : property.real;
            if (base::EqualNoCase(base::Sprintf("%g", present), text)) return false;
            double distance = 0;
            if (!arxutils::TryTextToDistance(db, text, -1, distance)) distance = std::strtod(text.c_str(), nullptr);
            value = cad::DynamicValue::Real(distance);
            return true;
        }
    case cad::DynamicValueKind::Int16:
    case cad::DynamicValueKind::Int32: return IntegerValueOfText(property, text, value);
    case cad::DynamicValueKind::Point: return false;  // values of other types are left alone
    }
    return false;
}

bool HoldsDimension(const cad::BlockRecord& block) {
    for (const cad::Entity& entity : block.Entities())
        if (entity.Type() == "DIMENSION") return true;
    return false;
}

}  // namespace

bool IsDynamicBlockReference(const cad::BlockReference& reference) {
    return cad::DynamicBlockReference(reference).IsDynamic();
}

void ApplyDynamicProperties(cad::BlockReference& reference, const tables::CStringTable& table,
                            const CInsertBlocksOpt& options, int rowIndex, bool update) {
    cad::DynamicBlockReference dynamic(reference);
    if (!dynamic.IsDynamic()) return;
    std::string text;
    for (const cad::DynamicBlockProperty& property : dynamic.Properties()) {
        if (!GetRowValueByName(table, options.tagMode, options.tagHeaderRow, options.columnMap, property.name,
                               rowIndex, text))
            continue;
        cad::DynamicValue value;
        if (!ValueToAssign(property, text, reference.GetDatabase(), value)) continue;
        // The host doesn't look at the result; a property that can't take the value is still said.
        if (base::Status status = dynamic.SetValue(property.name, value); !status)
            host::Printf("\n%s", status.Message());
    }
    if (update && HoldsDimension(dynamic.DynamicBlock())) AddToDynamicBlockUpdateList(reference);
    // recordGraphicsModified: the reference's new block is drawn from its data; nothing is cached.
}

}  // namespace attbat
