#include "cad/geometry/DrawingExtents.h"

#include "cad/SymbolRecord.h"
#include "cad/geometry/GeomExtents.h"

namespace cad {

Extents3d SpaceExtents(const BlockRecord& space) {
    Extents3d out;
    if (!space) return out;
    Database* db = space.Record() ? space.Record().GetDatabase() : space.BlockBegin().GetDatabase();
    std::vector<Entity> shown;
    for (const Entity& e : space.Entities()) {
        if (!e.IsVisible()) continue;
        if (db) {
            Layer layer = db->FindLayer(e.LayerName());
            if (layer && layer.IsFrozen()) continue;
        }
        shown.push_back(e);
    }
    for (const auto& box : GeomExtentsOfEach(shown))
        if (box) out.AddExtents(*box);
    return out;
}

base::Status UpdateExtents(Database& db) {
    Extents3d box = SpaceExtents(db.ModelSpace());
    Point3 lo = box.IsValid() ? box.Min() : Point3{1e20, 1e20, 1e20};
    Point3 hi = box.IsValid() ? box.Max() : Point3{-1e20, -1e20, -1e20};
    for (auto [name, p] : {std::pair<const char*, Point3>{"$EXTMIN", lo}, {"$EXTMAX", hi}}) {
        TagList old = db.Header(name);
        if (old.size() == 3 && old[0].Real() == p.x && old[1].Real() == p.y && old[2].Real() == p.z) continue;
        if (auto status = db.SetHeader(name, {RealTag(10, p.x), RealTag(20, p.y), RealTag(30, p.z)}); !status)
            return status;
    }
    return base::Status::Ok();
}

}  // namespace cad
