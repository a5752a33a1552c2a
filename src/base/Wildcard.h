#pragma once
// The CAD host's wildcard patterns: '#' a digit, '@' a letter, '.' a character that is neither,
// '*' any run, '?' any one character, '~' at the start of a pattern negates it, "[...]" one of the
// characters (ranges with '-'), "[~...]" one not among them, '`' takes the next character
// literally, ',' separates alternative patterns.

#include <string_view>

namespace base {

// True when `text` matches `pattern`; with `ignoreCase`, letters compare by simple case folding.
bool WcMatch(std::string_view text, std::string_view pattern, bool ignoreCase);

}  // namespace base
