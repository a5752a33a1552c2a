#pragma once
// Documents as the CAD host has them: the current drawing (named by --drawing), other drawings
// open in the same run, side databases read from a file and saved back in the version they were
// read in, document locks and the queue of strings sent to a document's command line.
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "cad/Database.h"
#include "cad/DatabaseReactor.h"
#include "cad/units/UnitSettings.h"

namespace host {

// When a document's drawing is read: at once; on the first use of its database (a command that
// reads a workbook first keeps the two out of memory at the same time); or Ahead, on another
// thread from the open on, taken at the first use, so that such a command reads both at once
// (when the system has the memory for it, else as OnFirstUse). A drawing read ahead is read
// through a map of its file, which holds little more than its index: a save refuses it once
// another program wrote the file meanwhile, and a file cut short meanwhile stops the process
// with a line that says so. InFileOrder reads at once, through a map of the file too, for a
// command that then reads the records in file order and lets the drawing go: the pages go back
// behind the scan and behind each of the command's passes, and the scan takes both processors.
enum class ReadKind { Now, OnFirstUse, Ahead, InFileOrder };

// What a save does with the backup NAME.bak: the host's save with backup replaces it; a save of
// a change that matters little (the view alone) keeps an existing one, the only copy from
// before the last import, and makes one only where there is none.
enum class BackupMode { Replace, KeepExisting };

// One open drawing: its file, its database, its lock and its command queue.
class Document {
public:
    // Reads `path`, or with OnFirstUse and Ahead first checks that it could be read; a failure
    // says why (a .dwg file is refused with what to do).
    static base::Result<std::unique_ptr<Document>> Open(const std::string& path,
                                                        ReadKind when = ReadKind::Now);
    // Wraps a database read elsewhere; its file name is the database's.
    explicit Document(std::unique_ptr<cad::Database> db);
    // Waits for a reading ahead; the drawing is left to the process's end when the process ends
    // with the command.
    ~Document();

    // The full path the drawing was read from.
    const std::string& FileName() const { return path_; }
    // The drawing; valid until Release. Unread (OnFirstUse) or after a Release the file is read
    // here; when that fails the drawing is an empty one named after the file and LoadStatus()
    // says why.
    cad::Database& Database();
    // Reads the drawing if it isn't in memory; the status says why it couldn't be.
    const base::Status& Load();
    // The drawing's units; after a Release those it had, without reading the file again.
    cad::UnitSettings Units();
    // Gives the memory of an unchanged, unlocked drawing back while the document stays open, for
    // long work that no longer reads it (to the system too, for a drawing under 64 MiB); false
    // (and nothing done) for a changed or locked one.
    bool Release();
    // True before the first Database() of an OnFirstUse document, and between a Release and
    // the next Database().
    bool IsReleased() const { return !db_; }
    // True when `db` is this document's drawing as read now; never reads it.
    bool Holds(const cad::Database& db) const { return db_.get() == &db; }
    // Why reading the file again failed; Ok otherwise.
    const base::Status& LoadStatus() const { return loadStatus_; }

    // Database reactors (not owned) stay with the document: added to its drawing now and to
    // every reading of it after a Release, so they hear of each change whenever it is read.
    void AddDatabaseReactor(cad::DatabaseReactor* reactor);
    void RemoveDatabaseReactor(cad::DatabaseReactor* reactor);
    // The drawing read anew from its file, for a change another program made: the old
    // database goes, its reactors move to the new one. A failure keeps the old one.
    base::Status Reload();

    // Write lock (mode 4 of the host): locks nest; a document locked twice needs two unlocks.
    void Lock() { ++locks_; }
    // Unlocking an unlocked document does nothing.
    void Unlock() { if (locks_ > 0) --locks_; }
    bool IsLocked() const { return locks_ > 0; }

    // Queues a string for the document's command line, run after the present command ends.
    void SendStringToExecute(std::string_view text) { queue_.emplace_back(text); }
    // The strings queued so far, first sent first; empty when none.
    const std::vector<std::string>& Queued() const { return queue_; }
    // Hands the queue over and empties it.
    std::vector<std::string> TakeQueued();

    // Saves in place, in the version it was read in, keeping the old file as NAME.bak as `backup`
    // says; an unchanged drawing is not written at all. A read-only drawing is refused, saying
    // so.
    base::Status Save(BackupMode backup = BackupMode::Replace);

private:
    explicit Document(std::string path) : path_(std::move(path)) {}
    // Starts reading the drawing on another thread; Database() takes the result.
    void ReadAhead();
    // Takes a reading of the drawing as the document's, with the document's reactors on it.
    void Adopt(std::unique_ptr<cad::Database> db);

    std::string path_;
    // Reads only its own file into its own database: shares nothing with this thread.
    std::future<base::Result<std::unique_ptr<cad::Database>>> reading_;
    std::unique_ptr<cad::Database> db_;
    std::optional<cad::UnitSettings> units_;
    base::Status loadStatus_ = base::Status::Ok();
    std::vector<cad::DatabaseReactor*> reactors_;
    std::vector<std::string> queue_;
    int locks_ = 0;
};

// Holds a document's write lock for a scope, on every road out. A null document is allowed.
class DocumentLock {
public:
    explicit DocumentLock(Document* doc) : doc_(doc) { if (doc_) doc_->Lock(); }
    ~DocumentLock() { if (doc_) doc_->Unlock(); }
    DocumentLock(const DocumentLock&) = delete;
    DocumentLock& operator=(const DocumentLock&) = delete;
private:
    Document* doc_;
};

// The document manager's notifications (AcApDocManagerReactor).
class DocManagerReactor {
public:
    virtual ~DocManagerReactor() = default;
    // `doc` became the current document.
    virtual void DocumentBecameCurrent(Document* doc) { (void)doc; }
    // `doc` is about to be closed; it is still whole.
    virtual void DocumentToBeDestroyed(Document* doc) { (void)doc; }
};

// The documents of this run (AcApDocManager): at most one current, any number of others.
class DocumentManager {
public:
    // The manager of this run.
    static DocumentManager& Instance();

    // The current document; null when the run was given no drawing.
    Document* CurDocument() const { return current_; }
    // Opens `path` (or finds it open, without regard to case) and makes it current.
    base::Result<Document*> OpenCurrent(const std::string& path, ReadKind when = ReadKind::Now);
    // Opens `path` beside the current one, or finds it open; the current one stays.
    base::Result<Document*> Open(const std::string& path, ReadKind when = ReadKind::Now);
    // Adds a document; with `makeCurrent` it becomes current. Returns it.
    Document* Add(std::unique_ptr<Document> doc, bool makeCurrent);
    // Makes an open document current (null leaves none); its reactors hear of it when it wasn't.
    void SetCurrent(Document* doc);
    // Reactors are not owned; adding one twice does nothing.
    void AddReactor(DocManagerReactor* reactor);
    void RemoveReactor(DocManagerReactor* reactor);
    // The open document of `path` (without regard to case); null when none.
    Document* Find(std::string_view path) const;
    // For each of `paths`, whether a document holds it: asked on the calling thread before work
    // on the paths is shared out, since only that thread may touch the documents.
    template <class Paths>
    std::vector<char> OpenAmong(const Paths& paths) const {
        std::vector<char> open;
        for (const auto& path : paths) open.push_back(Find(path) != nullptr);
        return open;
    }
    // Every open document, current first when there is one.
    std::vector<Document*> Documents() const;
    // Closes one document without saving; the current one leaves no current behind.
    void Close(Document* doc);
    // Closes all, without saving.
    void CloseAll();
    // Saves every changed document in place with its backup as `backup` says; the first failure
    // is returned, the others are still tried.
    base::Status SaveAll(BackupMode backup = BackupMode::Replace);

private:
    // Tells each reactor; a copy, as a reactor may remove itself while being told.
    template <class Call>
    void Tell(Call call);

    std::vector<std::unique_ptr<Document>> docs_;
    std::vector<DocManagerReactor*> reactors_;
    Document* current_ = nullptr;
};

// The backup name the host's save keeps: the drawing's name with the extension ".bak".
std::string BackupPathOf(std::string_view path);

// A side database (readDwgFile): the drawing of `path` read on its own, owned by the caller;
// read through a map of its file for InFileOrder (see ReadKind), else copied.
base::Result<std::unique_ptr<cad::Database>> ReadSideDatabase(const std::string& path,
                                                             ReadKind when = ReadKind::Now);
// saveAs in the original version: writes `db` to `path` (its own file when empty), keeping the
// previous file as NAME.bak as `backup` says. The drawing keeps the version it was read in.
base::Status SaveSideDatabase(const cad::Database& db, const std::string& path = {},
                              BackupMode backup = BackupMode::Replace);

// Removes what interrupted saves of `path` left beside it (base::RemoveStaleTemporaries) and
// says so on the command line, one warning per file. Drawings do it when they are read and
// saved; callers that open or save other files call it themselves.
void RemoveLeftoversOfInterruptedSaves(const std::string& path);

}  // namespace host
