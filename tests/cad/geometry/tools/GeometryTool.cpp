// Makes drawings for the interop checks of the geometry layer, so another DXF reader can check
// what we wrote:
//   cad_geometry_tool mleader-set IN OUT LEADER_HANDLE ATTDEF_HANDLE VALUE
//   cad_geometry_tool transform IN OUT REF_HANDLE ANGLE_DEGREES SCALE DX DY
//       (rotation about the normal through the position, scaling about the origin, translation)
//   cad_geometry_tool view IN OUT HANDLE      (the active view on the entity's extents, and
//       the drawing's extents brought up to date)
//   cad_geometry_tool extents IN              (one line per model space entity:
//       handle type min-x min-y min-z max-x max-y max-z, or handle type "-" reason)
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/geometry/ActiveView.h"
#include "cad/geometry/DrawingExtents.h"
#include "cad/geometry/GeomExtents.h"
#include "cad/geometry/MLeader.h"
#include "cad/geometry/TransformBy.h"

namespace {

int Fail(const std::string& message) {
    std::fprintf(stderr, "cad_geometry_tool: %s\n", message.c_str());
    return 1;
}

}  // namespace

int Extents(cad::Database& db) {
    for (const cad::Entity& e : db.ModelSpace().Entities()) {
        auto box = cad::GeomExtents(e);
        if (!box) {
            std::printf("%s %s - %s\n", e.HandleString().c_str(), e.Type().c_str(), box.GetStatus().Message().c_str());
            continue;
        }
        std::printf("%s %s %.17g %.17g %.17g %.17g %.17g %.17g\n", e.HandleString().c_str(), e.Type().c_str(),
                    box->Min().x, box->Min().y, box->Min().z, box->Max().x, box->Max().y, box->Max().z);
    }
    return 0;
}

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "extents") {
        auto opened = cad::Database::Open(argv[2]);
        if (!opened) return Fail(opened.GetStatus().Message());
        return Extents(**opened);
    }
    if (argc < 5) return Fail("usage: mleader-set|transform|view IN OUT HANDLE ...");
    std::string command = argv[1];
    auto opened = cad::Database::Open(argv[2]);
    if (!opened) return Fail(opened.GetStatus().Message());
    cad::Database& db = **opened;
    cad::Object object = db.ObjectByHandle(cad::ParseHandle(argv[4]));
    if (!object) return Fail(std::string("no object ") + argv[4]);

    if (command == "mleader-set" && argc == 7) {
        cad::MLeader leader(&db, object.Index());
        cad::AttributeDefinition def(&db, db.ObjectByHandle(cad::ParseHandle(argv[5])).Index());
        if (auto status = leader.SetBlockAttributeValue(def, argv[6]); !status) return Fail(status.Message());
    } else if (command == "transform" && argc == 9) {
        cad::BlockReference ref(&db, object.Index());
        double angle = std::atof(argv[5]) * cad::kPi / 180;
        cad::Matrix3d m = cad::Matrix3d::Translation({std::atof(argv[7]), std::atof(argv[8]), 0}) *
                          cad::Matrix3d::Scaling(std::atof(argv[6])) *
                          cad::Matrix3d::Rotation(angle, ref.Normal(), ref.Position());
        if (auto status = cad::TransformBy(ref, m); !status) return Fail(status.Message());
    } else if (command == "view" && argc == 5) {
        auto box = cad::GeomExtents(cad::Entity(&db, object.Index()));
        if (!box) return Fail(box.GetStatus().Message());
        if (auto status = cad::SetActiveView(db, *box); !status) return Fail(status.Message());
        if (auto status = cad::UpdateExtents(db); !status) return Fail(status.Message());
    } else {
        return Fail("unknown command or wrong number of arguments: " + command);
    }
    if (auto status = db.Save(argv[3]); !status) return Fail(status.Message());
    return 0;
}
