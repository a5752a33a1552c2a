#pragma once
// The column list file (.c2a) of "Insert / Update Blocks": one "COLUMN:TAG" pair a line, in the
// order of the dialog's list. The Windows program writes each line through a text-mode file, so
// its lines end in the bytes 0D 0D 0A; this program writes the same bytes, and reads either.
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace attbat {

// The dialog's list: column letters and tag, in its order.
using ColumnPairs = std::vector<std::pair<std::string, std::string>>;

// The file's filter and extension, for a file dialog.
inline constexpr std::string_view kColumnListFilter = "Column List (*.c2a)|*.c2a|All Files (*.*)|*.*||";
inline constexpr std::string_view kColumnListExtension = ".c2a";

// The bytes of a .c2a file of `list`: "%s%s%s" of column, ":" and tag, then 0D 0D 0A, each;
// no header, no count, no end mark. Texts are UTF-8.
std::string ColumnListBytes(const ColumnPairs& list);
// Reads `bytes` into `list` and `map`, both emptied first: each line trimmed, split at its first
// ":" (a line without one, or with it first, is passed over), the rest of the line the tag as it
// stands; an empty column or tag is passed over; a column met again keeps its first line.
void ReadColumnList(std::string_view bytes, ColumnPairs& list, std::map<std::string, std::string>& map);

// Writes the file (atomically); a failure is shown in a box and gives false.
bool SaveColumnList(const std::string& path, const ColumnPairs& list);
// Reads the file; one that can't be read is shown in a box, leaves both as they were and gives
// false.
bool LoadColumnList(const std::string& path, ColumnPairs& list, std::map<std::string, std::string>& map);

}  // namespace attbat
