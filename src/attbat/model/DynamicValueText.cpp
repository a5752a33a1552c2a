#include "attbat/model/DynamicValueText.h"

#include <cstdlib>

#include "base/Format.h"
#include "base/Text.h"

namespace attbat {

bool IntegerValueOfText(const cad::DynamicBlockProperty& property, const std::string& text, cad::DynamicValue& value) {
    switch (property.valueKind) {
    case cad::DynamicValueKind::Int16:
        if (base::EqualNoCase(base::Sprintf("%d", static_cast<int>(property.integer)), text)) return false;
        value = cad::DynamicValue::Integer(std::atoi(text.c_str()));
        return true;
    case cad::DynamicValueKind::Int32:
        if (base::EqualNoCase(base::Sprintf("%ld", static_cast<long>(property.integer)), text)) return false;
        value = cad::DynamicValue::Integer(std::atol(text.c_str()));
        return true;
    default: return false;
    }
}

}  // namespace attbat
