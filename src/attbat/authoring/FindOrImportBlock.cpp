#include "attbat/authoring/FindOrImportBlock.h"

#include "base/Path.h"
#include "cad/BlockClone.h"
#include "cad/Database.h"
#include "cad/InsertDrawing.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

BlockImporter::BlockImporter(std::string libraryPath, std::vector<std::string> searchPath)
    : libraryPath_(std::move(libraryPath)), searchPath_(std::move(searchPath)) {}

BlockImporter::~BlockImporter() = default;

cad::Database* BlockImporter::Source(const std::string& path, bool library) {
    auto known = sources_.find(path);
    if (known != sources_.end()) return known->second.get();
    auto read = host::ReadSideDatabase(path);
    if (!read) {
        if (library) host::Printf("\nCan't read the block library %s: %s.", path, read.GetStatus().Message());
        else host::Printf("\nCan't import %s: %s.", path, read.GetStatus().Message());
        sources_.emplace(path, nullptr);
        return nullptr;
    }
    return sources_.emplace(path, std::move(*read)).first->second.get();
}

std::string BlockImporter::FindFile(const std::string& name, const cad::Database& target) const {
    // The host's findFile looks beside the drawing first, then along its support path.
    std::vector<std::string> folders;
    if (!target.FileName().empty()) folders.push_back(base::Folder(target.FileName()));
    folders.insert(folders.end(), searchPath_.begin(), searchPath_.end());
    for (const std::string& folder : folders) {
        const std::string path = base::JoinPath(folder, name + ".dxf");
        if (base::FileExists(path)) return path;
    }
    return {};
}

cad::BlockRecord BlockImporter::FindOrImportBlock(const std::string& name, cad::Database& target) {
    if (cad::BlockRecord found = target.FindBlock(name)) return found;
    if (!libraryPath_.empty() && base::FileExists(libraryPath_)) {
        if (cad::Database* library = Source(libraryPath_, true)) {
            if (cad::BlockRecord block = library->FindBlock(name)) {
                auto cloned = cad::CloneBlock(block, target);
                if (cloned) return *cloned;
                host::Printf("\nCan't import %s: %s.", name, cloned.GetStatus().Message());
                return {};
            }
        }
    }
    const std::string path = FindFile(name, target);
    if (path.empty()) return {};
    cad::Database* source = Source(path, false);
    if (!source) return {};
    // The host inserts into the working drawing; here it goes where the row's reference goes.
    auto inserted = cad::InsertDrawingAsBlock(*source, target, name);
    if (inserted) return *inserted;
    host::Printf("\nCan't import %s: %s.", path, inserted.GetStatus().Message());
    return {};
}

}  // namespace attbat
