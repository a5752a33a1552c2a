#include "attbat/model/AcadAttribute.h"

#include "attbat/model/PropertyTable.h"
#include "base/Text.h"

namespace attbat {

AcadAttribute::AcadAttribute(std::string tag, std::string_view value, int kind)
    : tag(std::move(tag)), value(base::Trim(value)), kind(static_cast<std::uint16_t>(kind)) {}

std::string AcadAttribute::DisplayName() const { return DupName(tag, dupIndex); }

std::string AcadAttribute::HandleText() const {
    return handle ? cad::HandleText(handle) : std::string();
}

}  // namespace attbat
