#pragma once
// A block for an insertion: the drawing's own, else one taken from the block library drawing,
// else a drawing of the block's name found on the search path, inserted whole as the block.
#include <string>
#include <vector>

#include "cad/BlockRecord.h"

namespace cad {
class Database;
}

namespace attbat {

// The block `name` of `target`, found or imported into it: from `libraryPath` (when given and
// there) with everything the block needs and its draw order, else from "NAME.dxf" in the
// folder of `target`'s file or one of `searchPath`. A null record when none could be had; a
// library or block drawing that can't be read is said on the command line.
cad::BlockRecord FindOrImportBlock(const std::string& name, const std::string& libraryPath, cad::Database& target,
                                   const std::vector<std::string>& searchPath);

}  // namespace attbat
