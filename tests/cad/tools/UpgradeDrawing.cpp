// cad_upgrade IN OUT: reads a drawing, brings it to the newest release the library writes and
// saves it to OUT; a failure is told on standard error with exit code 1. For the interop checks.
#include <cstdio>

#include "cad/Database.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: cad_upgrade IN OUT\n");
        return 2;
    }
    auto db = cad::Database::Open(argv[1]);
    if (!db) {
        std::fprintf(stderr, "%s\n", db.GetStatus().Message().c_str());
        return 1;
    }
    base::Status status = (*db)->UpgradeTo(cad::Database::kNewestRelease);
    if (status) status = (*db)->Save(argv[2]);
    if (!status) {
        std::fprintf(stderr, "%s\n", status.Message().c_str());
        return 1;
    }
    return 0;
}
