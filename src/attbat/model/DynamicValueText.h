#pragma once
// The value a worksheet text gives a dynamic block property of an integer type, as the import
// and the insertion passes read it alike.
#include <string>

#include "cad/DynamicBlockReference.h"

namespace attbat {

// For a 16-bit integer property: false when `text` is its "%d" text (without regard to case),
// else `value` is the number the text starts with (0 when none); "%ld" for a 32-bit one. False
// for every other type.
bool IntegerValueOfText(const cad::DynamicBlockProperty& property, const std::string& text, cad::DynamicValue& value);

}  // namespace attbat
