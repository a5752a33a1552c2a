#pragma once
// The layout names of a drawing's spaces, for the searches of a worksheet table that match rows
// by "Drawing|Layout".

#include <string>
#include <unordered_map>

#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "tables/LayoutNameSource.h"

namespace attbat {

class DatabaseLayoutNames : public tables::LayoutNameSource {
public:
    // Learns the layout of every space of `db` once.
    explicit DatabaseLayoutNames(cad::Database& db);
    // The layout of the block record with that handle: "Model" for the model space (also the
    // handle-less one of an R12 file, kHandlelessModelSpaceId), a layout's name for a paper
    // space; nullopt for a plain block or a handle that names no block record.
    std::optional<std::string> LayoutNameOf(std::string_view ownerBlockHandle) const override;

    // The handle text LayoutNameOf takes for `space`.
    static std::string HandleTextOf(const cad::BlockRecord& space);

private:
    std::unordered_map<cad::Handle, std::string> layouts_;
};

}  // namespace attbat
