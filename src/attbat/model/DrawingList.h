#pragma once
// The drawing list file (.lst): one full drawing path a line, no header. The export's source
// page and the import's drawing list both read and write it, so it lives below both.
#include <string>
#include <string_view>
#include <vector>

#include "tables/CStringArrayEx.h"

namespace attbat {

// A .lst file's paths: lines trimmed, blank lines skipped, CR LF and CR CR LF alike.
std::vector<std::string> ParseDrawingList(std::string_view text);
// The bytes of a .lst file for `paths`.
std::string FormatDrawingList(const tables::CStringArrayEx& paths);

}  // namespace attbat
