// cad_make_content IN OUT: adds to a drawing what the system makes (a layer, a block with an
// attribute definition, an attributed reference with extended data, text, a polyline, a link
// record in the named object dictionary) and saves to OUT. For the interop checks.
#include <cstdio>

#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Dictionary.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: cad_make_content IN OUT\n");
        return 2;
    }
    auto opened = cad::Database::Open(argv[1]);
    if (!opened) {
        std::fprintf(stderr, "%s\n", opened.GetStatus().Message().c_str());
        return 1;
    }
    cad::Database& db = **opened;
    auto fail = [](const base::Status& status) {
        std::fprintf(stderr, "%s\n", status.Message().c_str());
        return 1;
    };
    auto layer = db.AddLayer("VELMAR_TAGS");
    if (!layer) return fail(layer.GetStatus());
    auto block = db.CreateBlock("VELMAR_VALVE");
    if (!block) return fail(block.GetStatus());
    block->AddCircle({0, 0, 0}, 1, "0");
    auto def = block->AddAttributeDefinition("TAG", "Valve tag", "V-?", {0, 1.5, 0}, 0.5);
    if (!def) return fail(def.GetStatus());
    auto ref = db.ModelSpace().AddBlockReference(*block, {100, 50, 0}, {2, 2, 2}, 0, "VELMAR_TAGS");
    if (!ref) return fail(ref.GetStatus());
    ref->Attributes().at(0).SetTextString("V-101");
    base::Status x = ref->SetXdata("999F152C-1E9D-4402-B4E6-01B380A38CD4", {{1000, "C:\\Data\\valves.xlsx"}});
    if (!x) return fail(x);
    db.ModelSpace().AddText({100, 40, 0}, 2.5, "Valve list \xC3\xA9", "VELMAR_TAGS");
    if (db.Release() >= 1014) db.ModelSpace().AddLwPolyline({{0, 0}, {10, 0}, {10, 10}}, true, "VELMAR_TAGS");
    if (db.Release() >= 1012) {
        db.ModelSpace().AddMText({0, 20, 0}, 2.5, 50, "Line one\\PLine two", "VELMAR_TAGS");
        auto mine = db.NamedObjects().GetOrAddDictionary("ORVANE_VELMAR");
        if (!mine) return fail(mine.GetStatus());
        auto record = mine->SetXrecord("EXCEL_LINK", {{1, "C:\\Data\\valves.xlsx"}});
        if (!record) return fail(record.GetStatus());
    }
    std::printf("%s\n", ref->HandleString().c_str());
    base::Status saved = db.Save(argv[2]);
    return saved ? 0 : fail(saved);
}
