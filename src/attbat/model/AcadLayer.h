#pragma once
// The state of one layer as a reference's row needs it for the row filter.
#include <string>
#include <utility>

namespace attbat {

// Name and the three states; everything empty or 0 by default.
class AcadLayer {
public:
    // An unnamed layer that is thawed, on and unlocked.
    AcadLayer() = default;
    // An unnamed layer is allowed; the row filter then only looks at the flags.
    AcadLayer(std::string name, int frozen, int off, int locked)
        : name(std::move(name)), frozen(frozen), off(off), locked(locked) {}

    std::string name;
    int frozen = 0;
    int off = 0;
    int locked = 0;
};

}  // namespace attbat
