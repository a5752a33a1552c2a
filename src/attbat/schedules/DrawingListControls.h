#pragma once
// The drawing list's buttons pressed from a command's options, in a user's order: "Load List",
// "Add", "Remove", "Save List". The same for every dialog that holds a DrawingListRows as
// m_drawingList and offers LoadList, AddPaths, Remove and SaveList.
#include <string>
#include <vector>

#include "attbat/frame/ControlValues.h"
#include "attbat/frame/Refusal.h"
#include "base/Format.h"
#include "base/Path.h"
#include "host/Printer.h"

namespace attbat {

// False when the command ends: a value refused (said through `refusal`) or a drawing the
// dialog couldn't read (said by the dialog).
template <class Dialog>
bool PressDrawingListButtons(Dialog& dialog, const ControlValues& values, Refusal& refusal) {
    if (values.Has("load-list")) {
        if (base::Status loaded = dialog.LoadList(values.Text("load-list")); !loaded) {
            refusal.Fail(loaded.Message());
            return false;
        }
    }
    std::vector<std::string> added;
    for (const std::string& path : values.List("add")) {
        if (!base::FileExists(path)) {
            refusal.Fail(base::Sprintf("--add %s: there is no such drawing.", path));
            return false;
        }
        added.push_back(base::FullPath(path));
    }
    if (!added.empty() && !dialog.AddPaths(added)) return false;
    const std::vector<std::string> removed = values.List("remove");
    for (const std::string& path : removed) {
        if (!dialog.m_drawingList.Select(base::FullPath(path))) {
            refusal.Fail(base::Sprintf("--remove %s: the list has no such drawing.", path));
            return false;
        }
    }
    if (!removed.empty()) dialog.Remove();
    if (values.Has("save-list")) {
        if (base::Status saved = dialog.SaveList(values.Text("save-list")); !saved) {
            refusal.Fail(saved.Message());
            return false;
        }
        host::Printf("\nDrawing list saved as %s.", values.Text("save-list"));
    }
    return true;
}

}  // namespace attbat
