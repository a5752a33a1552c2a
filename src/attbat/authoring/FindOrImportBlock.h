#pragma once
// A block for an insertion: the drawing's own, else one taken from the block library drawing,
// else a drawing of the block's name found beside the drawing or on the search path, inserted
// whole as the block. The drawings it reads are kept for the pass, each read once.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cad/BlockRecord.h"

namespace cad {
class Database;
}

namespace attbat {

class BlockImporter {
public:
    // `libraryPath` may be empty; `searchPath` holds folders looked in after the target's own.
    BlockImporter(std::string libraryPath, std::vector<std::string> searchPath);
    ~BlockImporter();

    // The block `name` of `target`, found or imported into it: from the library drawing (when
    // given and there) with everything the block needs and its draw order, else from
    // "NAME.dxf" in the folder of `target`'s file or one of the search path's. A null record when
    // none could be had; a drawing that can't be read, or a block that can't be brought in, is
    // said on the command line.
    cad::BlockRecord FindOrImportBlock(const std::string& name, cad::Database& target);

private:
    // The drawing of `path`, read once; null, said once, when it can't be read.
    cad::Database* Source(const std::string& path, bool library);
    // The first "NAME.dxf" beside `target` or on the search path; "" when none is there.
    std::string FindFile(const std::string& name, const cad::Database& target) const;

    std::string libraryPath_;
    std::vector<std::string> searchPath_;
    std::map<std::string, std::unique_ptr<cad::Database>> sources_;
};

}  // namespace attbat
