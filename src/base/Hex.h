#pragma once
// Bytes as hexadecimal text and back, the form DXF gives binary chunks (310) in.

#include <string>
#include <string_view>

namespace base {

// Two upper-case hexadecimal digits per byte; "" for no bytes.
std::string HexOf(std::string_view bytes);
// The bytes of `hex` (digits in either case); a digit that isn't one counts as 0 and an odd last
// digit is dropped.
std::string BytesOfHex(std::string_view hex);

}  // namespace base
