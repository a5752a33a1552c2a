#pragma once
// A temporary $DIMZIN, as a read that wants trailing zeros dropped sets one around itself.

#include "cad/units/UnitSettings.h"

namespace cad {

// Sets settings.dimzin for the life of the guard and puts the old value back on every road out,
// exceptions included. The settings must outlive the guard.
class ScopedDimzin {
public:
    ScopedDimzin(UnitSettings& settings, int dimzin) : settings_(settings), saved_(settings.dimzin) {
        settings_.dimzin = dimzin;
    }
    ~ScopedDimzin() { settings_.dimzin = saved_; }
    ScopedDimzin(const ScopedDimzin&) = delete;
    ScopedDimzin& operator=(const ScopedDimzin&) = delete;

    // The value that is put back at the end; changes made meanwhile by others are overwritten.
    int Saved() const { return saved_; }

private:
    UnitSettings& settings_;
    int saved_;
};

}  // namespace cad
