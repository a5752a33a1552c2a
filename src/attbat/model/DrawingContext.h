#pragma once
// What the schedule code needs from the working drawing, and nothing more: its current space,
// its linear units and the host's number texts. The drawing reader implements it over the DXF
// database; tests use a small in-memory stand-in. Nothing in the model formats numbers itself.
#include <cstdint>
#include <string>

namespace attbat {

// Identity of a block record (a layout's or a block's) in the working drawing; 0 is none.
using ObjectId = std::uint64_t;

class DrawingContext {
public:
    virtual ~DrawingContext() = default;

    // The block record of the space that is current in the working drawing; 0 without a drawing.
    virtual ObjectId CurrentSpaceId() const = 0;
    // `$LUNITS` of the working drawing (2 is decimal).
    virtual int LinearUnits() const = 0;
    // The host's distance text; units and precision -1 take the drawing's own setting; an empty
    // text when the host refuses the value.
    virtual std::string DistanceText(double value, int units, int precision) const = 0;
    // The host's angle text for radians, same rules as DistanceText.
    virtual std::string AngleText(double value, int units, int precision) const = 0;
};

}  // namespace attbat
