#pragma once
// What a DXF group code says about its value: the type it is stored as and whether it points
// at another object.

#include <array>
#include <cstdint>

namespace cad {

// How the value of a group code is stored; codes the format does not define are text.
enum class ValueKind : std::uint8_t { Text, Double, Int16, Int32, Int64, Bool, Handle, Binary };

namespace detail {
// The kinds of codes 0..1071, looked up once per tag while reading.
extern const std::array<ValueKind, 1072> kKindOfCode;
ValueKind KindOfCodeOutside(int code);
}  // namespace detail

// The value kind of `code`; unknown and negative codes other than -5..-1 read as text.
inline ValueKind KindOfCode(int code) {
    return code >= 0 && code < 1072 ? detail::kKindOfCode[code] : detail::KindOfCodeOutside(code);
}

// True for codes whose value is the handle of another object (owners, hard and soft pointers,
// 1005 in extended data); the handle of the object itself (5, 105) is not a pointer.
bool IsPointerCode(int code);

// True for codes whose value is an integer of any width, booleans included.
inline bool IsIntegerKind(ValueKind kind) {
    return kind == ValueKind::Int16 || kind == ValueKind::Int32 || kind == ValueKind::Int64 ||
           kind == ValueKind::Bool;
}

}  // namespace cad
