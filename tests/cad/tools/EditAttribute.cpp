// cad_edit_attribute IN OUT VALUE: sets the first attribute of the drawing (in file order) to
// VALUE and saves to OUT; prints "handle<TAB>tag" of the attribute, or nothing when the
// drawing has none (then OUT is an unchanged copy). For the interop checks.
#include <cstdio>

#include "cad/BlockReference.h"
#include "cad/Database.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: cad_edit_attribute IN OUT VALUE\n");
        return 2;
    }
    auto db = cad::Database::Open(argv[1]);
    if (!db) {
        std::fprintf(stderr, "%s\n", db.GetStatus().Message().c_str());
        return 1;
    }
    for (const cad::Object& o : (*db)->Objects()) {
        if (o.Type() != "ATTRIB") continue;
        cad::Attribute attribute(o.GetDatabase(), o.Index());
        attribute.SetValue(argv[3]);
        std::printf("%s\t%s\n", attribute.HandleString().c_str(), attribute.Tag().c_str());
        break;
    }
    base::Status saved = (*db)->Save(argv[2]);
    if (!saved) {
        std::fprintf(stderr, "%s\n", saved.Message().c_str());
        return 1;
    }
    return 0;
}
