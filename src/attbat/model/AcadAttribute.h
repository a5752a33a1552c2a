#pragma once
// One value on one block reference: an attribute, a dynamic property or one of the nine
// pseudo-properties. A plain value, copied freely; nothing in it points into a drawing.
#include <cstdint>
#include <string>
#include <string_view>

#include "cad/Tag.h"

namespace attbat {

class AcadAttribute {
public:
    // Empty texts and zero numbers.
    AcadAttribute() = default;
    // Trims blanks around `value`; handle and flags stay 0.
    AcadAttribute(std::string tag, std::string_view value, int kind);

    // The column name of this value: the tag, or "%s_Dup(%d)" for a later one of its tag.
    std::string DisplayName() const;
    // The attribute entity's handle in hexadecimal; empty for a property.
    std::string HandleText() const;

    // Texts first, then numbers, then flags, so a value pays no padding: a drawing holds many
    // (80 bytes each), and an import's update list one per cell. The prompt of an attribute is
    // its block's: AcadAttributeDefArray::PromptOf(tag, dupIndex).
    std::string tag;         // attribute tag, dynamic property name or long property name
    std::string value;
    cad::Handle handle = 0;  // the attribute entity's handle; 0 for a property
    int dupIndex = 0;        // 0 for the first of its tag on the reference (case counts), 1...
    std::uint16_t kind = 0;  // 0 attribute or dynamic property, else the property's bit
    bool invisible : 1 = false;
    bool constant : 1 = false;
    bool isDistance : 1 = false;  // a dynamic distance property holding a real: text is a length
};

}  // namespace attbat
