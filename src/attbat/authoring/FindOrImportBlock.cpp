#include "attbat/authoring/FindOrImportBlock.h"

#include "cad/Database.h"

namespace attbat {

cad::BlockRecord FindOrImportBlock(const std::string& name, const std::string& /*libraryPath*/, cad::Database& target,
                                   const std::vector<std::string>& /*searchPath*/) {
    return target.FindBlock(name);
}

}  // namespace attbat
