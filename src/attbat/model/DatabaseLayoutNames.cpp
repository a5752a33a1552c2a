#include "attbat/model/DatabaseLayoutNames.h"

#include <cstdlib>

#include "attbat/model/AcadDatabase.h"
#include "base/Format.h"

namespace attbat {

DatabaseLayoutNames::DatabaseLayoutNames(cad::Database& db) {
    for (const cad::BlockRecord& block : db.Blocks()) {
        std::string layout = block.LayoutName();
        if (!layout.empty()) layouts_.emplace(SpaceIdOf(block), std::move(layout));
    }
}

std::string DatabaseLayoutNames::HandleTextOf(const cad::BlockRecord& space) {
    return base::Sprintf("%llX", static_cast<unsigned long long>(SpaceIdOf(space)));
}

std::optional<std::string> DatabaseLayoutNames::LayoutNameOf(std::string_view ownerBlockHandle) const {
    const std::string text(ownerBlockHandle);
    char* end = nullptr;
    const unsigned long long handle = std::strtoull(text.c_str(), &end, 16);
    if (text.empty() || *end != '\0') return std::nullopt;
    auto it = layouts_.find(handle);
    return it == layouts_.end() ? std::nullopt : std::optional<std::string>(it->second);
}

}  // namespace attbat
