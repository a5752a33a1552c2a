#pragma once
// Angles to text and back, as the CAD host's angtos and angtof do: decimal degrees, degrees/
// minutes/seconds, grads, radians and surveyor's bearings, with $AUPREC, $DIMZIN and $UNITMODE.
//
// Both conversions work on absolute angles, radians counter-clockwise from east, exactly like the
// host's functions: neither applies $ANGBASE nor $ANGDIR, so 0 is "0" (or "E") whatever the
// drawing's base angle and direction. Only the host's interactive angle input measures from
// $ANGBASE in $ANGDIR's sense; AngleFromBase and AngleToBase below do that step for callers that
// show or take angles the way the user set up the drawing.

#include "base/Status.h"
#include "cad/units/UnitSettings.h"

#include <string>
#include <string_view>

namespace cad {

// angle (radians, any size or sign: reduced to [0, 2pi) first) in units 0-4 (-1:
// settings.aunits) at precision (-1: settings.auprec). 0 "45.0000", 1 "45d30'15\"" (precision 0
// degrees, 1-2 minutes, 3-4 seconds, 5-8 seconds with 1-4 places), 2 "50.0000g", 3 "0.7854r",
// 4 "N 45d E" ("N45dE" with UNITMODE 1; "N", "E", "S", "W" alone on the axes). A full turn after
// rounding is shown as zero. Fails on NaN, infinity, another mode or a precision outside -1..16.
base::Result<std::string> AngleText(double angle, int units, int precision,
                                    const UnitSettings& settings);

// The angle, in radians in [0, 2pi), that text means; a bare number is in the units' own measure
// (degrees for 0, 1 and 4, grads for 2, radians for 3, -1: settings.aunits). In every mode the
// marked forms are read too: 45d30'15", 45°30', 50g, 1.2r, and bearings N 45d30' E, N45dE, S 45 W,
// N, E, S, W (a bare number in a bearing is degrees). A sign may lead an unmarked or marked angle. Fails with the text and the place.
base::Result<double> TextToAngle(std::string_view text, int units, const UnitSettings& settings);

// An absolute angle as measured from $ANGBASE in the $ANGDIR sense, in [0, 2pi).
double AngleFromBase(double absoluteAngle, const UnitSettings& settings);
// The absolute angle of one measured from $ANGBASE in the $ANGDIR sense, in [0, 2pi).
double AbsoluteAngle(double baseAngle, const UnitSettings& settings);

}  // namespace cad
