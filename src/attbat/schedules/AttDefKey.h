#pragma once
// The cell comment that ties an exported attribute definition to its drawing and entity:
// "DRAWING<HANDLE.Tag>", "...Prompt>" or "...DefaultValue>".
#include <string>
#include <string_view>

namespace attbat {

// The three fields an exported cell can hold, by their column titles.
enum class AttDefField { Tag, Prompt, DefaultValue };

// The column title of a field: "Tag", "Prompt", "Default Value".
std::string_view AttDefColumnTitle(AttDefField field);
// The comment of a cell holding `field` of the definition `handle` of `drawing`.
std::string AttDefComment(std::string_view drawing, std::string_view handle, AttDefField field);

// A comment line read back: its drawing ("" when the line starts with "<"), the handle and the
// field name behind the first ".".
struct AttDefKey {
    std::string drawing;
    std::string handle;
    std::string field;
};
// False for an empty line, or one lacking the handle or the field name.
bool ParseAttDefKey(std::string_view line, AttDefKey& out);

}  // namespace attbat
