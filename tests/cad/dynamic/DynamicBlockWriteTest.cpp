// Setting dynamic block properties, checked against what AutoCAD itself made: for two
// references of one block in different states, setting the first's properties to the second's
// values must give geometry equal to the second's anonymous block.
#include "cad/DynamicBlockReference.h"

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../Fixtures.h"
#include "cad/dynamic/AnonymousCopy.h"

using namespace cad;
using cadtest::Corpus;

namespace {

BlockReference InsertOf(Database& db, std::string_view handle) {
    Object object = db.ObjectByHandle(ParseHandle(handle));
    EXPECT_EQ(object.Type(), "INSERT") << handle;
    return BlockReference(object.GetDatabase(), object.Index());
}

DynamicBlockProperty PropertyOf(const BlockReference& ref, std::string_view name) {
    for (const DynamicBlockProperty& p : DynamicBlockReference(ref).Properties())
        if (p.name == name)
            return p;
    ADD_FAILURE() << "no property " << name << " on " << ref.HandleString();
    return {};
}

// What a viewer shows of one entity: its type, visibility and defining numbers.
struct Shape {
    std::string type;
    bool visible = true;
    std::vector<double> numbers;
};

bool Aligned(const Entity& e) { return e.GetInt(72, 0) != 0 || e.GetInt(74, 0) != 0; }

std::vector<Shape> ShapesOf(const BlockRecord& block) {
    std::vector<Shape> out;
    for (const Entity& e : block.Entities()) {
        Shape s{e.Type(), e.IsVisible(), {}};
        auto point = [&](int code) {
            s.numbers.insert(s.numbers.end(), {e.GetReal(code), e.GetReal(code + 10), e.GetReal(code + 20)});
        };
        if (s.type == "LINE") {
            point(10);
            point(11);
        } else if (s.type == "CIRCLE" || s.type == "ARC") {
            point(10);
            s.numbers.push_back(e.GetReal(40));
        } else if (s.type == "LWPOLYLINE") {
            for (const Tag& tag : e.Tags())
                if (tag.code == 10 || tag.code == 20)
                    s.numbers.push_back(tag.Real());
        } else if (s.type == "TEXT" || s.type == "ATTDEF") {
            // AutoCAD works out the insertion point of aligned text again when it draws it.
            point(Aligned(e) ? 11 : 10);
            s.numbers.push_back(e.GetReal(50));
        } else {
            point(10);
        }
        out.push_back(s);
    }
    return out;
}

void ExpectSameShapes(const std::vector<Shape>& a, const std::vector<Shape>& b, const std::string& what) {
    ASSERT_EQ(a.size(), b.size()) << what;
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(a[i].type, b[i].type) << what << " entity " << i;
        EXPECT_EQ(a[i].visible, b[i].visible) << what << " entity " << i << " " << a[i].type;
        ASSERT_EQ(a[i].numbers.size(), b[i].numbers.size()) << what << " entity " << i;
        for (std::size_t k = 0; k < a[i].numbers.size(); ++k)
            EXPECT_NEAR(a[i].numbers[k], b[i].numbers[k], 1e-6) << what << " entity " << i << " " << a[i].type << " value " << k;
    }
}

// For every ordered pair of `handles`: a fresh drawing, the first set to the second's value of
// `property`, its geometry compared with the second's anonymous block.
void ExpectPairsMatch(const std::string& file, const std::vector<std::string>& handles,
                      const std::string& property) {
    for (const std::string& from : handles) {
        for (const std::string& to : handles) {
            if (from == to)
                continue;
            auto db = Corpus(file);
            BlockReference a = InsertOf(*db, from);
            BlockReference b = InsertOf(*db, to);
            DynamicBlockProperty target = PropertyOf(b, property);
            // The second's block goes first, so that the first's geometry is worked out and not
            // found among the blocks there are.
            const std::vector<Shape> want = ShapesOf(b.Block());
            ASSERT_FALSE(a.Block() == b.Block());
            ASSERT_TRUE(db->EraseBlock(b.Block()));
            DynamicValue value = target.valueKind == DynamicValueKind::String
                                     ? DynamicValue::Text(target.text)
                                     : DynamicValue::Real(target.real);
            DynamicBlockReference dyn(a);
            base::Status status = dyn.SetValue(property, value);
            ASSERT_TRUE(status) << status.Message();
            const std::string what = from + " set like " + to;
            EXPECT_NE(a.BlockName(), b.BlockName()) << what;
            ExpectSameShapes(ShapesOf(a.Block()), want, what);
            DynamicBlockProperty now = PropertyOf(a, property);
            EXPECT_TRUE(now.fromReference) << what;
            if (target.valueKind == DynamicValueKind::String)
                EXPECT_EQ(now.text, target.text) << what;
            else
                EXPECT_NEAR(now.real, target.real, 1e-9) << what;
        }
    }
}

}  // namespace

TEST(DynamicBlockWriteTest, VisibilityStateShowsTheHostsGeometry) {
    ExpectPairsMatch("dynblock-visibility-ac1032.dxf", {"252", "268", "284", "28C"}, "Test visibility");
}

TEST(DynamicBlockWriteTest, LinearDistanceStretchesAsTheHostDid) {
    ExpectPairsMatch("dynblock-lookup-ac1032.dxf", {"254", "38C", "395", "39E"}, "my_distance_label");
}

TEST(DynamicBlockWriteTest, RotationAngleTurnsAsTheHostDid) {
    ExpectPairsMatch("curtainwall-details-mleader-dynblocks-ac1027.dxf", {"2204", "225C", "2275", "2299", "22B6"},
                     "Angle");
}
