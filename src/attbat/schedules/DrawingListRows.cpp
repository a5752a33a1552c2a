#include "attbat/schedules/DrawingListRows.h"

#include "attbat/model/DrawingList.h"
#include "base/File.h"
#include "base/Path.h"
#include "base/Text.h"

namespace attbat {

bool DrawingListRows::Add(const std::string& path) {
    if (paths_.FindString(path, false) >= 0) return false;
    paths_.Add(path);
    std::string drawing = base::FileName(path);
    rows_.push_back({drawing, path.substr(0, path.size() - drawing.size()), false});
    return true;
}

bool DrawingListRows::Select(std::string_view path) {
    bool found = false;
    for (Row& row : rows_) {
        if (!base::EqualNoCase(row.folder + row.drawing, path)) continue;
        row.selected = true;
        found = true;
    }
    return found;
}

void DrawingListRows::RemoveSelected(const std::function<void(const std::string&)>& removed) {
    for (int row = static_cast<int>(rows_.size()) - 1; row >= 0; --row) {
        if (!rows_[row].selected) continue;
        const std::string path = rows_[row].folder + rows_[row].drawing;
        for (int i = paths_.GetUpperBound(); i >= 0; --i) {
            if (base::EqualNoCase(paths_[i], path)) paths_.RemoveAt(i);
        }
        rows_.erase(rows_.begin() + row);
        if (removed) removed(path);
    }
}

base::Result<std::vector<std::string>> DrawingListRows::ClearAndLoad(const std::string& path) {
    rows_.clear();
    paths_.RemoveAll();
    auto bytes = base::ReadFile(path);
    if (!bytes) {
        return base::Status::Error("Cannot open the drawing list \"" + path + "\": " + bytes.GetStatus().Message());
    }
    return ParseDrawingList(*bytes);
}

base::Status DrawingListRows::Save(const std::string& path) const {
    return base::WriteFileAtomic(path, FormatDrawingList(paths_));
}

}  // namespace attbat
