#include "attbat/authoring/ColumnList.h"

#include "base/File.h"
#include "base/Text.h"
#include "host/Ui.h"

namespace attbat {

std::string ColumnListBytes(const ColumnPairs& list) {
    std::string bytes;
    for (const auto& [column, tag] : list) {
        bytes += column;
        bytes += ':';
        bytes += tag;
        // "\r\n" through a text-mode file: its line feed gains a carriage return of its own.
        bytes += "\r\r\n";
    }
    return bytes;
}

void ReadColumnList(std::string_view bytes, ColumnPairs& list, std::map<std::string, std::string>& map) {
    list.clear();
    map.clear();
    std::size_t start = 0;
    while (start < bytes.size()) {
        std::size_t end = bytes.find('\n', start);
        if (end == std::string_view::npos) end = bytes.size();
        const std::string line = base::Trim(bytes.substr(start, end - start));
        start = end + 1;
        const std::size_t colon = line.find(':');
        if (line.empty() || colon == std::string::npos || colon == 0) continue;
        std::string column = line.substr(0, colon), tag = line.substr(colon + 1);
        if (column.empty() || tag.empty() || map.count(column)) continue;
        map.emplace(column, tag);
        list.emplace_back(std::move(column), std::move(tag));
    }
}

bool SaveColumnList(const std::string& path, const ColumnPairs& list) {
    if (base::Status written = base::WriteFileAtomic(path, ColumnListBytes(list)); !written) {
        host::ShowMessage(written.Message(), "Velmar");
        return false;
    }
    return true;
}

bool LoadColumnList(const std::string& path, ColumnPairs& list, std::map<std::string, std::string>& map) {
    auto bytes = base::ReadFile(path);
    if (!bytes) {
        host::ShowMessage(bytes.GetStatus().Message(), "Velmar");
        return false;
    }
    ReadColumnList(*bytes, list, map);
    return true;
}

}  // namespace attbat
