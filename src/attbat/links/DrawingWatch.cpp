#include "attbat/links/DrawingWatch.h"

#include <chrono>

#include "arxutils/excel/FileBackend.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandRun.h"
#include "attbat/links/UploadToExcel.h"
#include "base/Path.h"
#include "cad/Database.h"
#include "host/Document.h"
#include "host/EditorReactor.h"
#include "host/FileWatcher.h"
#include "host/Printer.h"

namespace attbat {

DrawingWatch::DrawingWatch(ModuleRun& run, std::string drawing, std::string workbook)
    : run_(run), drawing_(std::move(drawing)), workbook_(std::move(workbook)) {
    // The drawing is the other program's: values of linked workbooks are never written into it.
    run_.App().updateAtLoad = false;
}

bool DrawingWatch::Start() {
    if (base::Status opened = run_.OpenDrawing(host::ReadKind::Now); !opened) {
        host::CurrentPrinter().Warn(opened.Message());
        return false;
    }
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    snapshot_ = ReferenceSnapshot::Take(current->Database());
    host::Printf("\nWatching %s (%d references); its changes go to %s. Ctrl-C ends the watch.", drawing_,
                 static_cast<int>(snapshot_.Size()), workbook_);
    // The drawing is open now, as the host's load: its upload runs first.
    atLoad_ = true;
    pending_ = true;
    UploadIfFree();
    return true;
}

void DrawingWatch::DrawingSaved() {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (base::Status read = current->Reload(); !read) {
        host::CurrentPrinter().Warn(base::FileName(drawing_) + " was saved but can't be read (" +
                                    host::StatusText(read) + "); nothing was uploaded. Waiting for its next save.");
        return;
    }
    cad::Database& db = current->Database();
    ReferenceSnapshot now = ReferenceSnapshot::Take(db);
    const std::vector<std::string> changed = now.ChangedSince(snapshot_);
    const std::size_t removed = now.Removed(snapshot_).size();
    snapshot_ = std::move(now);
    if (changed.empty() && removed == 0) {
        host::Printf("\n%s was saved; no reference changed.", base::FileName(drawing_));
        return;
    }
    host::Printf("\n%s was saved: %d reference(s) changed, %d removed.", base::FileName(drawing_),
                 static_cast<int>(changed.size()), static_cast<int>(removed));
    // Removed references have no object left to tell of; the automatic upload would only note
    // their rows anyway.
    if (changed.empty()) return;
    unsent_.insert(unsent_.end(), changed.begin(), changed.end());
    pending_ = true;
    UploadIfFree();
}

std::string DrawingWatch::Locked() {
    std::string lock = arxutils::excel::LockFileOf(workbook_);
    if (lock.empty()) {
        lockSaid_ = false;
    } else if (!lockSaid_) {
        host::Printf("\n%s is open in another program (%s); the upload waits until it is closed there.",
                     base::FileName(workbook_), base::FileName(lock));
        lockSaid_ = true;
    }
    return lock;
}

void DrawingWatch::UploadIfFree() {
    if (!pending_ || !Locked().empty()) return;
    pending_ = false;
    Upload();
}

void DrawingWatch::Upload() {
    // The other program's edit, told as the host tells its own: each changed reference, then the
    // end of its command. References of an upload that failed are told again.
    cad::Database& db = host::DocumentManager::Instance().CurDocument()->Database();
    for (const std::string& handle : unsent_) db.NotifyModified(db.ObjectByHandle(cad::ParseHandle(handle)));
    CommandContext context;
    const bool atLoad = atLoad_;
    atLoad_ = false;
    const CommandStatus status = run_.WithWorkbooks(
        [&] {
            if (atLoad) run_.App().EntryPoint(kLoadDwgMsg, nullptr);
            else host::TheEditorEvents().CommandEnded(kExternalSaveCommand);
            const UploadMaps& uploaded = LastAutoUpload();
            for (const auto& [cell, value] : uploaded.changes) {
                auto old = uploaded.cells.find(cell);
                host::Printf("\n  %s: '%s' -> '%s'", cell, old == uploaded.cells.end() ? std::string() : old->second,
                             value);
            }
            return CommandStatus::Done;
        },
        context);
    if (status == CommandStatus::Done) {
        unsent_.clear();
        return;
    }
    // The workbook wasn't written (said above): the same upload is tried again at the next event.
    atLoad_ = atLoad;
    pending_ = true;
    host::Printf("\nThe upload to %s is tried again at the next save or when the workbook is closed.",
                 base::FileName(workbook_));
}

CommandStatus DrawingWatch::Run(host::FileWatcher& watcher) {
    for (;;) {
        host::CurrentPrinter().FinishLine();
        const host::WatchEvent event = watcher.Wait(std::chrono::milliseconds(-1));
        switch (event.outcome) {
            case host::WatchOutcome::Interrupted:
                host::Printf("\nThe watch of %s ended.", base::FileName(drawing_));
                return CommandStatus::Done;
            case host::WatchOutcome::Failed:
                host::CurrentPrinter().Warn(event.message);
                return CommandStatus::Failed;
            case host::WatchOutcome::Timeout:
                break;
            case host::WatchOutcome::Saved:
                if (event.path == drawing_) DrawingSaved();
                else UploadIfFree();
                break;
            case host::WatchOutcome::Removed:
                if (event.path == drawing_) {
                    host::Printf("\n%s was removed; waiting for it to be saved again.", base::FileName(drawing_));
                } else {
                    UploadIfFree();  // a lock file went: the workbook is closed there
                }
                break;
        }
    }
}

}  // namespace attbat
