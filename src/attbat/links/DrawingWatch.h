#pragma once
// `velmar watch`: the stand-in for the host's reactors when another program edits the drawing.
// After each save of the drawing it is read anew, the references whose schedule rows could read
// differently are found by handle, the database reactor is told of each, and the end of the
// other program's command runs the automatic upload with exactly those handles. The drawing is
// never written. A workbook held open by another program waits for its lock file to go.
#include <string>
#include <vector>

#include "attbat/frame/CommandContext.h"
#include "attbat/model/ReferenceSnapshot.h"

namespace host {
class FileWatcher;
}

namespace attbat {

class ModuleRun;

// The name under which the other program's edit ends, as the editor reactor hears it: a save.
inline constexpr std::string_view kExternalSaveCommand = "QSAVE";

class DrawingWatch {
public:
    // `run` holds the module; `drawing` and `workbook` are the files of its setup.
    DrawingWatch(ModuleRun& run, std::string drawing, std::string workbook);

    // Opens the drawing, takes its first reading and runs the drawing load's upload (or notes it
    // for when the workbook's lock goes); false, said, when the drawing can't be read.
    bool Start();
    // Watches until interrupted (Ctrl-C): Done then; Failed when the watch itself broke.
    CommandStatus Run(host::FileWatcher& watcher);

    // The drawing was saved by another program: read it anew and upload what changed. A file
    // that can't be read (a save still under way, a broken one) is said and waits for the next
    // save; nothing is uploaded from it.
    void DrawingSaved();
    // Runs the upload that waits, unless the workbook is still open in another program.
    void UploadIfFree();
    // True while an upload waits for the workbook.
    bool Pending() const { return pending_; }

private:
    // The upload itself: the other program's command ends, with the run's workbook attached.
    void Upload();
    // The workbook's lock file, said once; "" when free.
    std::string Locked();

    ModuleRun& run_;
    std::string drawing_;
    std::string workbook_;
    ReferenceSnapshot snapshot_;
    // Handles of references changed since the last upload that reached the workbook.
    std::vector<std::string> unsent_;
    bool pending_ = false;
    bool atLoad_ = false;   // the drawing load's upload hasn't run yet
    bool lockSaid_ = false;
};

}  // namespace attbat
