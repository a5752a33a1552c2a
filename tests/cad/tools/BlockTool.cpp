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

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return Usage();
    const std::string command = argv[1];
    if (command == "clone-block" && argc == 6) {
        auto source = cad::Database::Open(argv[2]);
        if (!source)
            return Fail(source.GetStatus().Message());
        auto target = cad::Database::Open(argv[4]);
        if (!target)
            return Fail(target.GetStatus().Message());
        cad::BlockRecord block = (*source)->FindBlock(argv[3]);
        if (!block)
            return Fail(std::string(argv[2]) + " has no block \"" + argv[3] + "\"");
        auto copy = cad::CloneBlock(block, **target);
        if (!copy)
            return Fail(copy.GetStatus().Message());
        base::Status saved = (*target)->Save(argv[5]);
        return saved ? 0 : Fail(saved.Message());
    }
    if (command == "insert-drawing" && argc == 6) {
        auto source = cad::Database::Open(argv[2]);
        if (!source)
            return Fail(source.GetStatus().Message());
        auto target = cad::Database::Open(argv[3]);
        if (!target)
            return Fail(target.GetStatus().Message());
        auto block = cad::InsertDrawingAsBlock(**source, **target, argv[4]);
        if (!block)
            return Fail(block.GetStatus().Message());
        base::Status saved = (*target)->Save(argv[5]);
        return saved ? 0 : Fail(saved.Message());
    }
    if (command == "explode" && argc >= 5) {
        auto db = cad::Database::Open(argv[2]);
        if (!db)
            return Fail(db.GetStatus().Message());
        for (int a = 4; a < argc; ++a) {
            cad::Object object = (*db)->ObjectByHandle(cad::ParseHandle(argv[a]));
            if (object.Type() != "INSERT" && object.Type() != "MINSERT")
                return Fail(std::string(argv[a]) + " is not a block reference");
            cad::BlockReference reference((*db).get(), object.Index());
            auto pieces = cad::ExplodeInto(reference);
            std::printf("%s", argv[a]);
            if (!pieces) {
                std::printf(" ! %s\n", pieces.GetStatus().Message().c_str());
                continue;
            }
            reference.Erase();
            for (const cad::Entity& piece : *pieces)
                std::printf(" %s", piece.HandleString().c_str());
            std::printf("\n");
        }
        base::Status saved = (*db)->Save(argv[3]);
        return saved ? 0 : Fail(saved.Message());
    }
    return Usage();
}
