#pragma once
// What a DXF group code says about its value: the type it is stored as and whether it points
// at another object.

#include <cstdint>

namespace cad {

// How the value of a group code is stored; codes the format does not define are text.
enum class ValueKind : std::uint8_t { Text, Double, Int16, Int32, Int64, Bool, Handle, Binary };

// The value kind of `code`; unknown and negative codes other than -5..-1 read as text.
ValueKind KindOfCode(int code);

// True for codes whose value is the handle of another object (owners, hard and soft pointers,
// 1005 in extended data); the handle of the object itself (5, 105) is not a pointer.
bool IsPointerCode(int code);

// True for codes whose value is an integer of any width, booleans included.
inline bool IsIntegerKind(ValueKind kind) {
    return kind == ValueKind::Int16 || kind == ValueKind::Int32 || kind == ValueKind::Int64 ||
           kind == ValueKind::Bool;
}

}  // namespace cad
