#include "cad/GroupCode.h"

#include <array>

namespace cad {

namespace {

constexpr ValueKind KindOfCodeSlow(int code) {
    if (code < 0) return code == -5 || code == -4 || code == -3 ? ValueKind::Text : ValueKind::Handle;
    if (code <= 4) return ValueKind::Text;
    if (code == 5) return ValueKind::Handle;
    if (code <= 9) return ValueKind::Text;
    if (code <= 59) return ValueKind::Double;
    if (code <= 79) return ValueKind::Int16;
    if (code <= 89) return ValueKind::Text;
    if (code <= 99) return ValueKind::Int32;
    if (code == 105) return ValueKind::Handle;
    if (code <= 109) return ValueKind::Text;
    if (code <= 149) return ValueKind::Double;
    if (code <= 159) return ValueKind::Text;
    if (code <= 169) return ValueKind::Int64;
    if (code <= 179) return ValueKind::Int16;
    if (code <= 209) return ValueKind::Text;
    if (code <= 239) return ValueKind::Double;
    if (code <= 269) return ValueKind::Text;
    if (code <= 289) return ValueKind::Int16;
    if (code <= 299) return ValueKind::Bool;
    if (code <= 309) return ValueKind::Text;
    if (code <= 319) return ValueKind::Binary;
    if (code <= 369) return ValueKind::Handle;
    if (code <= 389) return ValueKind::Int16;
    if (code <= 399) return ValueKind::Handle;
    if (code <= 409) return ValueKind::Int16;
    if (code <= 419) return ValueKind::Text;
    if (code <= 429) return ValueKind::Int32;
    if (code <= 439) return ValueKind::Text;
    if (code <= 459) return ValueKind::Int32;
    if (code <= 469) return ValueKind::Double;
    if (code <= 479) return ValueKind::Text;
    if (code <= 481) return ValueKind::Handle;
    if (code <= 1003) return ValueKind::Text;
    if (code == 1004) return ValueKind::Binary;
    if (code == 1005) return ValueKind::Handle;
    if (code <= 1009) return ValueKind::Text;
    if (code <= 1059) return ValueKind::Double;
    if (code <= 1070) return ValueKind::Int16;
    if (code == 1071) return ValueKind::Int32;
    return ValueKind::Text;
}

}  // namespace

namespace detail {

// The ranges above, put in a table when the program is compiled.
constexpr std::array<ValueKind, 1072> MakeKindTable() {
    std::array<ValueKind, 1072> kinds{};
    for (int c = 0; c < 1072; ++c) kinds[c] = KindOfCodeSlow(c);
    return kinds;
}

constinit const std::array<ValueKind, 1072> kKindOfCode = MakeKindTable();

ValueKind KindOfCodeOutside(int code) { return KindOfCodeSlow(code); }

}  // namespace detail

PointerKind PointerKindOfCode(int code) {
    if (code < 320 || code > 1005) return PointerKind::None;
    if (code <= 329) return PointerKind::Arbitrary;
    if (code <= 339) return PointerKind::SoftPointer;
    if (code <= 349) return PointerKind::HardPointer;
    if (code <= 359) return PointerKind::SoftOwner;
    if (code <= 369) return PointerKind::HardOwner;
    if ((code >= 390 && code <= 399) || code == 480 || code == 481) return PointerKind::HardPointer;
    if (code == 1005) return PointerKind::SoftPointer;
    return PointerKind::None;
}

}  // namespace cad
