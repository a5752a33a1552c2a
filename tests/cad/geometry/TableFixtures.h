#pragma once
// The tables of the corpus drawings, for the table tests.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "cad/Database.h"
#include "cad/geometry/Table.h"

namespace tabletest {

inline std::unique_ptr<cad::Database> Corpus(const char* name) {
    auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/" + name);
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

// The drawing's first table in model or paper space.
inline cad::Table FirstTable(cad::Database& db) {
    auto found = db.Select({{0, "ACAD_TABLE"}});
    EXPECT_FALSE(found.empty());
    return found.empty() ? cad::Table() : cad::Table(&db, found[0].Index());
}

}  // namespace tabletest
