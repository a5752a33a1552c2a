#include "host/Document.h"

#include <algorithm>
#include <filesystem>

#include "base/AtomicFile.h"
#include "base/Memory.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/DwgConverter.h"
#include "host/Printer.h"

namespace host {

namespace {

// Whether reading the drawing of `path` while a workbook is read leaves the system room: the
// drawing's index and the workbook's model with the command's rows take a few times the file's
// size together.
bool HasRoomToReadAhead(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return !error && base::AvailableMemory() / 8 > size;
}

}  // namespace

base::Result<std::unique_ptr<Document>> Document::Open(const std::string& path, ReadKind when) {
    if (when != ReadKind::Now && when != ReadKind::InFileOrder) {
        // DWG files without a converter are refused before anything is read; with one, the
        // conversion waits for the first use like the read.
        base::Status readable = RefuseUnconvertibleDwg(path);
        if (readable)
            RemoveLeftoversOfInterruptedSaves(path);
        if (readable && IsDwgPath(path) && !base::FileExists(path))
            readable = base::Status::Error(path + ": no such drawing.");
        if (readable && !IsDwgPath(path)) readable = cad::Database::CanOpen(path);
        if (!readable) return readable;
        std::unique_ptr<Document> doc(new Document(path));
        if (when == ReadKind::Ahead && !IsDwgPath(path) && HasRoomToReadAhead(path)) doc->ReadAhead();
        return doc;
    }
    auto db = ReadSideDatabase(path, when);
    if (!db) return base::Status::Error(db.GetStatus().Message());
    return std::make_unique<Document>(std::move(db.Value()));
}

Document::Document(std::unique_ptr<cad::Database> db) : path_(db->FileName()), db_(std::move(db)) {}

Document::~Document() { base::Dispose(std::move(db_)); }

void Document::ReadAhead() {
    reading_ = std::async(std::launch::async, [path = path_] { return cad::Database::OpenMapped(path); });
}

cad::Database& Document::Database() {
    if (!db_) {
        auto db = reading_.valid() ? reading_.get() : ReadSideDatabase(path_);
        if (db) {
            Adopt(std::move(db.Value()));
        } else {
            loadStatus_ = db.GetStatus();
            // A drawing of nothing but its end: the document stays usable and is never saved.
            db_ = std::move(cad::Database::FromBytes("  0\nEOF\n", path_).Value());
        }
    }
    return *db_;
}

const base::Status& Document::Load() {
    Database();
    return loadStatus_;
}

cad::UnitSettings Document::Units() {
    if (db_ || !units_) units_ = Database().Units();
    return *units_;
}

bool Document::Release() {
    if (!db_ || db_->IsModified() || IsLocked()) return !db_;
    units_ = db_->Units();
    // A small drawing's freed pages go back to the system as well: the work that follows would
    // otherwise take fresh pages beside them, and the few it takes cost nothing to fault in
    // again. A big drawing's stay for it, as in any process that ends with its command
    // (base::SetEndsWithCommand): faulting hundreds of megabytes in again costs time. The size
    // is the DXF's as read, also for a drawing converted from a DWG file.
    const bool small = db_->ByteSize() < cad::Database::kSmallFile;
    db_.reset();
    if (small) base::ReturnFreeMemory();
    return true;
}

void Document::Adopt(std::unique_ptr<cad::Database> db) {
    db_ = std::move(db);
    for (cad::DatabaseReactor* reactor : reactors_) db_->AddReactor(reactor);
}

void Document::AddDatabaseReactor(cad::DatabaseReactor* reactor) {
    if (!reactor || std::find(reactors_.begin(), reactors_.end(), reactor) != reactors_.end()) return;
    reactors_.push_back(reactor);
    if (db_) db_->AddReactor(reactor);
}

void Document::RemoveDatabaseReactor(cad::DatabaseReactor* reactor) {
    std::erase(reactors_, reactor);
    if (db_) db_->RemoveReactor(reactor);
}

base::Status Document::Reload() {
    if (reading_.valid()) reading_.get();  // a reading from before the change
    auto db = ReadSideDatabase(path_);
    if (!db) return db.GetStatus();
    Adopt(std::move(db.Value()));
    units_.reset();
    loadStatus_ = base::Status::Ok();
    return base::Status::Ok();
}

std::vector<std::string> Document::TakeQueued() {
    std::vector<std::string> out;
    out.swap(queue_);
    return out;
}

base::Status Document::Save(BackupMode backup) {
    if (!db_ || !db_->IsModified()) return base::Status::Ok();
    return SaveSideDatabase(*db_, {}, backup);
}

DocumentManager& DocumentManager::Instance() {
    static DocumentManager manager;
    return manager;
}

base::Result<Document*> DocumentManager::OpenCurrent(const std::string& path, ReadKind when) {
    auto doc = Open(path, when);
    if (doc) SetCurrent(doc.Value());
    return doc;
}

base::Result<Document*> DocumentManager::Open(const std::string& given, ReadKind when) {
    // Documents are known by their full path, as the host's are: keys and "DWG File" cells name
    // the drawing wherever the command was started from.
    std::error_code error;
    const std::filesystem::path full = std::filesystem::absolute(given, error).lexically_normal();
    const std::string path = error ? given : full.string();
    if (Document* open = Find(path)) return open;
    auto doc = Document::Open(path, when);
    if (!doc) return base::Status::Error(doc.GetStatus().Message());
    return Add(std::move(doc.Value()), false);
}

Document* DocumentManager::Add(std::unique_ptr<Document> doc, bool makeCurrent) {
    docs_.push_back(std::move(doc));
    if (makeCurrent) SetCurrent(docs_.back().get());
    return docs_.back().get();
}

void DocumentManager::SetCurrent(Document* doc) {
    if (doc == current_) return;
    current_ = doc;
    if (doc) Tell([doc](DocManagerReactor& r) { r.DocumentBecameCurrent(doc); });
}

void DocumentManager::AddReactor(DocManagerReactor* reactor) {
    if (reactor && std::find(reactors_.begin(), reactors_.end(), reactor) == reactors_.end()) {
        reactors_.push_back(reactor);
    }
}

void DocumentManager::RemoveReactor(DocManagerReactor* reactor) { std::erase(reactors_, reactor); }

template <class Call>
void DocumentManager::Tell(Call call) {
    for (DocManagerReactor* reactor : std::vector<DocManagerReactor*>(reactors_)) call(*reactor);
}

Document* DocumentManager::Find(std::string_view path) const {
    for (const auto& doc : docs_)
        if (base::EqualNoCase(doc->FileName(), path)) return doc.get();
    return nullptr;
}

std::vector<Document*> DocumentManager::Documents() const {
    std::vector<Document*> out;
    if (current_) out.push_back(current_);
    for (const auto& doc : docs_)
        if (doc.get() != current_) out.push_back(doc.get());
    return out;
}

void DocumentManager::Close(Document* doc) {
    if (doc) Tell([doc](DocManagerReactor& r) { r.DocumentToBeDestroyed(doc); });
    if (doc == current_) current_ = nullptr;
    std::erase_if(docs_, [doc](const auto& d) { return d.get() == doc; });
}

void DocumentManager::CloseAll() {
    for (const auto& doc : docs_) Tell([&doc](DocManagerReactor& r) { r.DocumentToBeDestroyed(doc.get()); });
    current_ = nullptr;
    docs_.clear();
}

base::Status DocumentManager::SaveAll(BackupMode backup) {
    base::Status first = base::Status::Ok();
    for (const auto& doc : docs_) {
        base::Status status = doc->Save(backup);
        if (!status.IsOk() && first.IsOk()) first = status;
    }
    return first;
}

std::string BackupPathOf(std::string_view path) {
    return base::ReplaceExtension(path, ".bak");
}

base::Result<std::unique_ptr<cad::Database>> ReadSideDatabase(const std::string& path, ReadKind when) {
    RemoveLeftoversOfInterruptedSaves(path);
    if (IsDwgPath(path)) return ReadDwgDrawing(path);
    if (when == ReadKind::InFileOrder)
        return cad::Database::OpenMapped(path, {.twoThreads = true});
    return cad::Database::Open(path);
}

base::Status SaveSideDatabase(const cad::Database& db, const std::string& path, BackupMode mode) {
    const std::string& target = path.empty() ? db.FileName() : path;
    std::string backup = base::FileExists(target) ? BackupPathOf(target) : std::string();
    if (mode == BackupMode::KeepExisting && !backup.empty() && base::FileExists(backup))
        backup.clear();
    RemoveLeftoversOfInterruptedSaves(target);
    if (IsDwgPath(target)) return SaveDwgDrawing(db, target, backup);
    return db.Save(target, backup);
}

void RemoveLeftoversOfInterruptedSaves(const std::string& path) {
    for (const std::string& removed : base::RemoveStaleTemporaries(path)) {
        CurrentPrinter().Warn("Removed a leftover temporary file from an interrupted save: " +
                              removed);
    }
}

}  // namespace host
