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

// What a handle-valued code says about the object it names, so that copying objects between
// drawings knows which handles to translate and which objects must come along:
// - Arbitrary (320-329): kept as written, never translated;
// - SoftPointer (330-339, 1005 in extended data): translated when the object came along too;
// - HardPointer (340-349, 390-399, 480-481): the object must come along or be matched;
// - SoftOwner (350-359), HardOwner (360-369): the object belongs to the one that names it.
enum class PointerKind : std::uint8_t { None, Arbitrary, SoftPointer, HardPointer, SoftOwner, HardOwner };

// The pointer kind of `code`; None for every code that holds no handle of another object, the
// object's own handle (5, 105) included.
PointerKind PointerKindOfCode(int code);

// True for codes whose value is the handle of another object (owners, hard and soft pointers,
// 1005 in extended data); the handle of the object itself (5, 105) is not a pointer.
inline bool IsPointerCode(int code) { return PointerKindOfCode(code) != PointerKind::None; }

// True for codes whose value is an integer of any width, booleans included.
inline bool IsIntegerKind(ValueKind kind) {
    return kind == ValueKind::Int16 || kind == ValueKind::Int32 || kind == ValueKind::Int64 ||
           kind == ValueKind::Bool;
}

}  // namespace cad
