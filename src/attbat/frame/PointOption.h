#pragma once
// A point given on the command line as X,Y or X,Y,Z in drawing units: where a drag to an
// insertion point would have put an object.

#include <optional>
#include <string_view>

#include "cad/Entity.h"

namespace attbat {

class ControlValues;
class Refusal;

// The point of the option `key`; none when the option isn't given. False, refused with a message
// naming the option and its text, when the text isn't two or three numbers.
bool ReadPointOption(const ControlValues& values, std::string_view key, std::optional<cad::Point3>& point,
                     Refusal& refusal);

}  // namespace attbat
