#pragma once
// The one exception the tabular containers raise: an index outside the array, as the container
// of the worksheet data has always done. Callers' command handlers catch it and report it.
#include <stdexcept>
#include <string>

namespace tables {

// Raised by reads and writes outside 0..size-1 and by a negative size; the message names the
// operation and the index.
class InvalidArgument : public std::invalid_argument {
public:
    explicit InvalidArgument(const std::string& what) : std::invalid_argument(what) {}
};

}  // namespace tables
