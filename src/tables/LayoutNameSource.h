#pragma once
// What the drawing-file search needs to know of a drawing: the layout name of a block table
// record. The drawing model answers it; this folder stays free of any drawing library.
#include <optional>
#include <string>
#include <string_view>

namespace tables {

class LayoutNameSource {
public:
    virtual ~LayoutNameSource() = default;
    // The layout name of the block table record with this handle (hexadecimal text); nullopt
    // when the record can't be opened or is no layout.
    virtual std::optional<std::string> LayoutNameOf(std::string_view ownerBlockHandle) const = 0;
};

}  // namespace tables
