#pragma once
// The one tolerance by which two drawing numbers count as the same.

namespace cad {

// Two reals count as the same number when they are at most 1e-6 apart (NaN equals nothing).
inline bool NearlyEqual(double a, double b) {
    double difference = a - b;
    return difference <= 1e-6 && difference >= -1e-6;
}

}  // namespace cad
