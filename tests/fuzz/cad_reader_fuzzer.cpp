// Any bytes given to the drawing reader give a database or a status, never a crash or a hang;
// what loads also survives writing, a typed walk, the walks through nested blocks (extents and
// instance counts) and a small edit.
#include <cstddef>
#include <cstdint>
#include <string>

#include "cad/BlockNesting.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "cad/geometry/GeomExtents.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    auto db = cad::Database::FromBytes(bytes, "fuzz.dxf");
    if (!db) return 0;
    cad::Database& d = **db;
    if (d.Write() != bytes) __builtin_trap();  // an unchanged save gives back the same bytes
    for (const cad::BlockRecord& block : d.Blocks()) {
        (void)block.Name();
        for (const cad::Entity& e : block.Entities()) {
            (void)e.LayerName();
            if (e.Type() == "INSERT")
                for (cad::Attribute a : cad::BlockReference(&d, e.Index()).Attributes()) a.SetValue("x");
        }
    }
    // Nested blocks: counted and measured in time linear in the input, cycles not followed.
    cad::BlockNesting nesting(d);
    for (const cad::BlockNesting::Entry& entry : nesting.Entries())
        if (entry.block.IsLayout() && entry.instances == 0) __builtin_trap();
    int measured = 0;
    for (const cad::Entity& e : d.ModelSpace().Entities()) {
        if (++measured > 64) break;
        (void)cad::GeomExtents(e);
    }
    (void)d.Select({{0, "INSERT"}, {-4, "<not"}, {8, "0"}, {-4, "not>"}});
    if (cad::Dictionary nod = d.NamedObjects()) (void)nod.Entries();
    (void)d.HeaderText("$ACADVER");
    // What we write after an edit must read back.
    if (!cad::Database::FromBytes(d.Write(), "fuzz-saved.dxf")) __builtin_trap();
    return 0;
}
