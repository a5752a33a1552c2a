// cad_block_tool: the drawing library's block operations from the command line, for the interop
// checks (tests/interop/cad_block_clone.py). A failure is told on standard error with exit code 1.
//   clone-block SOURCE BLOCK TARGET OUT     copies block BLOCK of SOURCE into TARGET, saved as OUT
//   insert-drawing SOURCE TARGET NAME OUT   inserts SOURCE into TARGET as block NAME, saved as OUT
//   explode FILE OUT HANDLE...              explodes each reference HANDLE into its space and
//                                           erases it, saves OUT and prints a line a reference:
//                                           its handle and those of its pieces, or its handle
//                                           and "!" with the reason it was refused
#include <cstdio>
#include <string>
#include <vector>

#include "cad/BlockClone.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/InsertDrawing.h"
#include "cad/geometry/Explode.h"

namespace {

int Fail(const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return 1;
}

int Usage() {
    std::fprintf(stderr,
                 "usage: cad_block_tool clone-block SOURCE BLOCK TARGET OUT\n"
                 "       cad_block_tool insert-drawing SOURCE TARGET NAME OUT\n"
                 "       cad_block_tool explode FILE OUT HANDLE...\n");
    return 2;
}

int Save(const cad::Database& db, const char* out) {
    base::Status saved = db.Save(out);
    return saved ? 0 : Fail(saved.Message());
}

// Each function reads what it needs, does its one thing and saves; 0, or the exit code of a
// failure it has told.
int CloneBlock(const char* sourcePath, const char* name, const char* targetPath, const char* out) {
    auto source = cad::Database::Open(sourcePath);
    auto target = cad::Database::Open(targetPath);
    if (!source || !target)
        return Fail((source ? target : source).GetStatus().Message());
    cad::BlockRecord block = (*source)->FindBlock(name);
    if (!block)
        return Fail(std::string(sourcePath) + " has no block \"" + name + "\"");
    auto copy = cad::CloneBlock(block, **target);
    if (!copy)
        return Fail(copy.GetStatus().Message());
    return Save(**target, out);
}

int InsertDrawing(const char* sourcePath, const char* targetPath, const char* name,
                  const char* out) {
    auto source = cad::Database::Open(sourcePath);
    auto target = cad::Database::Open(targetPath);
    if (!source || !target)
        return Fail((source ? target : source).GetStatus().Message());
    auto block = cad::InsertDrawingAsBlock(**source, **target, name);
    if (!block)
        return Fail(block.GetStatus().Message());
    return Save(**target, out);
}

int Explode(const char* path, const char* out, const std::vector<const char*>& handles) {
    auto db = cad::Database::Open(path);
    if (!db)
        return Fail(db.GetStatus().Message());
    for (const char* handle : handles) {
        cad::Object object = (*db)->ObjectByHandle(cad::ParseHandle(handle));
        if (object.Type() != "INSERT" && object.Type() != "MINSERT")
            return Fail(std::string(handle) + " is not a block reference");
        cad::BlockReference reference((*db).get(), object.Index());
        auto pieces = cad::ExplodeInto(reference);
        std::printf("%s", handle);
        if (!pieces) {
            std::printf(" ! %s\n", pieces.GetStatus().Message().c_str());
            continue;
        }
        reference.Erase();
        for (const cad::Entity& piece : *pieces)
            std::printf(" %s", piece.HandleString().c_str());
        std::printf("\n");
    }
    return Save(**db, out);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "clone-block" && argc == 6)
        return CloneBlock(argv[2], argv[3], argv[4], argv[5]);
    if (command == "insert-drawing" && argc == 6)
        return InsertDrawing(argv[2], argv[3], argv[4], argv[5]);
    if (command == "explode" && argc >= 5)
        return Explode(argv[2], argv[3], std::vector<const char*>(argv + 4, argv + argc));
    return Usage();
}
