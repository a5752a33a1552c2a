#include "attbat/model/DrawingList.h"

#include "base/Text.h"

namespace attbat {

std::vector<std::string> ParseDrawingList(std::string_view text) {
    // CR counts as white space, so CR LF and CR CR LF lines come out alike.
    return base::SplitTrimmed(text, '\n');
}

std::string FormatDrawingList(const tables::CStringArrayEx& paths) {
    std::string bytes;
    // The Windows program writes "\r\n" through a text-mode stream, which makes CR CR LF.
    for (const std::string& path : paths) bytes += path + "\r\r\n";
    return bytes;
}

}  // namespace attbat
