#pragma once
// The list of drawings the small schedule dialogs work over: one row per drawing with its file
// name and folder, the full paths behind them, and the .lst file that saves and loads them.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class DrawingListRows {
public:
    // One row on screen: the columns "Drawing" and "Folder", and whether it is selected.
    struct Row {
        std::string drawing;
        std::string folder;
        bool selected = false;
    };

    // Adds a row unless the path stands in the list already (exact comparison, case included);
    // false when it was passed over.
    bool Add(const std::string& path);
    // Selects the rows whose full path equals `path` without regard to case; false when none does.
    bool Select(std::string_view path);
    // Walks the rows from the last to the first and removes each selected one, with every path
    // equal to it without regard to case; `removed` hears each removed row's full path.
    void RemoveSelected(const std::function<void(const std::string&)>& removed);
    // Empties the list and gives the paths of a .lst file, for the caller to add one by one; an
    // unreadable file leaves the list empty and says which file.
    base::Result<std::vector<std::string>> ClearAndLoad(const std::string& path);
    // Writes the paths, one a line, as a .lst file.
    base::Status Save(const std::string& path) const;

    const tables::CStringArrayEx& Paths() const { return paths_; }
    const std::vector<Row>& Rows() const { return rows_; }

private:
    tables::CStringArrayEx paths_;
    std::vector<Row> rows_;
};

}  // namespace attbat
