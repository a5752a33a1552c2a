#pragma once
// The drawing's unit header variables that decide how numbers become text and back.

namespace cad {

// $LUNITS, $LUPREC, $AUNITS, $AUPREC, $ANGBASE, $ANGDIR, $DIMZIN and $UNITMODE of one drawing.
// The defaults are those of a new drawing: decimal units at 4 places, whole decimal degrees.
struct UnitSettings {
    int lunits = 2;       // 1 scientific, 2 decimal, 3 engineering, 4 architectural, 5 fractional
    int luprec = 4;       // places, or 2^luprec as fraction denominator in modes 4 and 5
    int aunits = 0;       // 0 degrees, 1 d/m/s, 2 grads, 3 radians, 4 surveyor's
    int auprec = 0;       // places; in d/m/s 0 degrees, 1-2 minutes, 3-4 seconds, 5-8 decimals
    double angbase = 0.0; // direction of angle 0, radians counter-clockwise from east
    int angdir = 0;       // 0 counter-clockwise, 1 clockwise
    int dimzin = 0;       // 0-3 zero feet/inches; +4 leading, +8 trailing decimal zeros dropped
    int unitmode = 0;     // 1 writes feet/inches, fractions and bearings as they are typed
};

}  // namespace cad
