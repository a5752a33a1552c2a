#pragma once
// Drawings for the geometry tests: the rooms drawing written by ezdxf (see
// tests/data/cad/geometry/make_drawings.py), and point comparisons.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "cad/Database.h"
#include "cad/geometry/Extents3d.h"

namespace geotest {

inline std::string DataPath(const std::string& name) { return std::string(VELMAR_TEST_DATA) + "/cad/geometry/" + name; }

// The rooms drawing (R2018): rooms, tags and a paper space room.
inline std::unique_ptr<cad::Database> Rooms() {
    auto db = cad::Database::Open(DataPath("rooms-ac1032.dxf"));
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

inline void ExpectPoint(cad::Point3 actual, cad::Point3 expected, double tol = 1e-9) {
    EXPECT_NEAR(actual.x, expected.x, tol);
    EXPECT_NEAR(actual.y, expected.y, tol);
    EXPECT_NEAR(actual.z, expected.z, tol);
}

inline void ExpectBox(const cad::Extents3d& box, cad::Point3 min, cad::Point3 max, double tol = 1e-9) {
    ASSERT_TRUE(box.IsValid());
    ExpectPoint(box.Min(), min, tol);
    ExpectPoint(box.Max(), max, tol);
}

}  // namespace geotest
