#pragma once
// One column a block can offer: an attribute definition (kind 0), a pseudo-property (kind 1) or
// a dynamic property (kind 2).
#include <string>
#include <string_view>

#include "attbat/model/Point3d.h"

namespace attbat {

class AcadAttributeDef {
public:
    // Empty texts, zero numbers and position, layer "0".
    AcadAttributeDef() = default;
    // For a dynamic property (kind 2) pass its name as tag and prompt, read-only as `constant`
    // and shown as `invisible`; a property (kind 1) has an empty prompt and a zero position.
    AcadAttributeDef(std::string tag, std::string prompt, Point3d position, int constant,
                     int invisible, int preset, int verifiable, int kind);

    // Sets tag, prompt or defaultValue by the field names "tag", "Prompt", "DefaultValue"
    // (without regard to case); any other name does nothing.
    void SetField(std::string_view name, std::string_view value);

    std::string tag;
    std::string prompt;
    std::string defaultValue;  // only a constant definition's text
    std::string extra1;        // kept for the record's copies; empty after reading
    std::string extra2;
    int constant = 0;
    int invisible = 0;
    int preset = 0;
    int verifiable = 0;
    int dupIndex = 0;          // 0 for the first of its tag in the block, 1 for the second...
    int kind = 0;              // 0 attribute definition, 1 property, 2 dynamic property
    Point3d position;          // in the block's coordinates
    double height = 0.0;       // 0 after reading; filled only when adding attributes
    std::string layer = "0";
    std::string textStyle;
};

}  // namespace attbat
