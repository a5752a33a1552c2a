#pragma once
// Distances to text and back, as the CAD host's rtos and distof do: scientific, decimal,
// engineering, architectural and fractional units, with $LUPREC, $DIMZIN and $UNITMODE.

#include "base/Status.h"
#include "cad/units/UnitSettings.h"

#include <string>
#include <string_view>

namespace cad {

// value in units 1-5 (-1: settings.lunits) at precision places, or 1/2^precision of an inch or
// unit in modes 4 and 5 (-1: settings.luprec; above 8 counts as 8 there). Negative values get a
// "-", a value that rounds to zero never does. Fails on NaN, infinity, another mode, or a
// precision outside -1..16.
base::Result<std::string> DistanceText(double value, int units, int precision,
                                       const UnitSettings& settings);

// The distance that text means in units 1-5 (-1: settings.lunits). Blanks around are ignored.
// 1, 2, 5: reals, scientific notation, fractions "35/2", "17 1/2", "17-1/2". 3 and 4 alike: also
// feet and inches as 1'-5.50", 1'5.5", 1'-5 1/2", 1'5-1/2", 1', 5.5" (a bare number is inches).
// Fails with the text and the place where reading stopped.
base::Result<double> TextToDistance(std::string_view text, int units,
                                    const UnitSettings& settings);

}  // namespace cad
