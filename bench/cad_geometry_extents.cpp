// Extents of block references and the outer polygon search over a drawing of rooms: the work
// a schedule with outer polygon areas does, references times rooms.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/geometry/GeomExtents.h"
#include "cad/geometry/PolylineShape.h"

namespace {

// An empty R2018 drawing, enough for the database to add layers, blocks and entities to.
const char* kEmpty =
    "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1032\n9\n$HANDSEED\n5\n100\n0\nENDSEC\n"
    "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n5\n2\n70\n1\n0\nLAYER\n5\n10\n2\n0\n70\n0\n62\n7\n6\nCONTINUOUS\n"
    "0\nENDTAB\n0\nTABLE\n2\nBLOCK_RECORD\n5\n1\n70\n1\n0\nBLOCK_RECORD\n5\n1F\n2\n*Model_Space\n0\nENDTAB\n0\nENDSEC\n"
    "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n5\n20\n8\n0\n2\n*Model_Space\n70\n0\n10\n0.0\n20\n0.0\n30\n0.0\n3\n*Model_Space\n"
    "0\nENDBLK\n5\n21\n8\n0\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nSECTION\n2\nOBJECTS\n0\nENDSEC\n0\nEOF\n";

struct Drawing {
    std::unique_ptr<cad::Database> db;
    std::vector<cad::BlockReference> refs;
    std::vector<cad::Entity> rooms;
};

// `count` tags on a grid, one room of 5 x 5 around every 50 of them and one round the lot.
Drawing Make(int count) {
    Drawing d;
    d.db = std::move(*cad::Database::FromBytes(kEmpty, "bench.dxf"));
    cad::BlockRecord block = *d.db->CreateBlock("TAG");
    (void)block.AddCircle({0, 0, 0}, 0.5);
    (void)block.AddLwPolyline({{-1, -1, 0.4}, {1, -1}, {1, 1, 0.4}, {-1, 1}}, true);
    (void)block.AddAttributeDefinition("NO", "No?", "", {0.6, 0, 0}, 0.25);
    (void)block.AddAttributeDefinition("NAME", "Name?", "", {0.6, -0.4, 0}, 0.25);
    cad::BlockRecord ms = d.db->ModelSpace();
    int side = 1;
    while (side * side < count) ++side;
    for (int i = 0; i < count; ++i) {
        double x = (i % side) * 10.0, y = (i / side) * 10.0;
        auto ref = ms.AddBlockReference(block, {x, y, 0}, {1, 1, 1}, 0.1 * (i % 7));
        if (i % 50 == 0) d.rooms.push_back(*ms.AddLwPolyline({{x - 4, y - 4}, {x + 4, y - 4}, {x + 4, y + 4}, {x - 4, y + 4}}, true));
    }
    d.rooms.push_back(*ms.AddLwPolyline({{-10, -10}, {side * 10.0, -10}, {side * 10.0, side * 10.0}, {-10, side * 10.0}}, true));
    d.refs = block.References();
    return d;
}

void BM_ReferenceExtents(benchmark::State& state) {
    Drawing d = Make(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        for (const cad::BlockReference& ref : d.refs) benchmark::DoNotOptimize(cad::GeomExtents(ref));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long long>(d.refs.size()));
}
BENCHMARK(BM_ReferenceExtents)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

// The outer polygon search: each reference's centre against every room, extents first.
void BM_OuterPolygon(benchmark::State& state) {
    Drawing d = Make(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        // Rooms are read once per drawing, as the schedule gathers them once.
        std::vector<cad::PolylineShape> shapes;
        std::vector<cad::Extents3d> boxes;
        for (const cad::Entity& room : d.rooms) {
            shapes.push_back(cad::PolylineShape::Of(cad::LwPolyline(room.GetDatabase(), room.Index())));
            boxes.push_back(*cad::GeomExtents(room));
        }
        double total = 0;
        for (const cad::BlockReference& ref : d.refs) {
            cad::Point3 c = cad::GeomExtents(ref)->Center();
            double best = -1;
            for (std::size_t k = 0; k < shapes.size(); ++k) {
                const cad::Extents3d& b = boxes[k];
                if (c.x < b.Min().x || c.x > b.Max().x || c.y < b.Min().y || c.y > b.Max().y) continue;
                cad::Point3 dir = cad::Normalized(cad::Midpoint(shapes[k].PointAt(0), shapes[k].PointAt(1)) - c);
                if (shapes[k].IntersectWithRay(c, dir).size() % 2 == 0) continue;
                double area = shapes[k].Area();
                if (best < 0 || area < best) best = area;
            }
            total += best;
        }
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long long>(d.refs.size()));
}
BENCHMARK(BM_OuterPolygon)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
