// cad_set_dynamic IN OUT HANDLE NAME VALUE...: sets dynamic property NAME of reference HANDLE to
// VALUE (a number for the properties that take one, else the text), for each HANDLE NAME VALUE
// triple in turn, and saves to OUT; prints the block each reference then shows. For the interop
// checks.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cad/Database.h"
#include "cad/DynamicBlockReference.h"

int main(int argc, char** argv) {
    if (argc < 6 || (argc - 3) % 3 != 0) {
        std::fprintf(stderr, "usage: cad_set_dynamic IN OUT HANDLE NAME VALUE [HANDLE NAME VALUE...]\n");
        return 2;
    }
    auto db = cad::Database::Open(argv[1]);
    if (!db) {
        std::fprintf(stderr, "%s\n", db.GetStatus().Message().c_str());
        return 1;
    }
    for (int i = 3; i + 2 < argc; i += 3) {
        cad::Object object = (*db)->ObjectByHandle(cad::ParseHandle(argv[i]));
        if (!object || object.Type() != "INSERT") {
            std::fprintf(stderr, "no reference %s\n", argv[i]);
            return 1;
        }
        cad::BlockReference reference(object.GetDatabase(), object.Index());
        cad::DynamicBlockReference dynamic(reference);
        cad::DynamicValue value = cad::DynamicValue::Text(argv[i + 2]);
        for (const cad::DynamicBlockProperty& p : dynamic.Properties())
            if (p.name == argv[i + 1] && p.valueKind != cad::DynamicValueKind::String)
                value = cad::DynamicValue::Real(std::strtod(argv[i + 2], nullptr));
        base::Status status = dynamic.SetValue(argv[i + 1], value);
        if (!status) {
            std::fprintf(stderr, "%s\n", status.Message().c_str());
            return 1;
        }
        std::printf("%s\t%s\n", argv[i], reference.BlockName().c_str());
    }
    base::Status saved = (*db)->Save(argv[2]);
    if (!saved) {
        std::fprintf(stderr, "%s\n", saved.Message().c_str());
        return 1;
    }
    return 0;
}
