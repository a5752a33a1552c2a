// Setting dynamic block properties, checked against what AutoCAD itself made: for two
// references of one block in different states, setting the first's properties to the second's
// values must give geometry equal to the second's anonymous block.
#include "cad/DynamicBlockReference.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../DynamicFixtures.h"
#include "../Fixtures.h"
#include "cad/dynamic/AnonymousCopy.h"

using namespace cad;
using cadtest::Corpus;
using cadtest::LookupDrawingWith;

namespace {

BlockReference InsertOf(Database& db, std::string_view handle) {
    Object object = db.ObjectByHandle(ParseHandle(handle));
    EXPECT_EQ(object.Type(), "INSERT") << handle;
    return BlockReference(object.GetDatabase(), object.Index());
}

// The property `name` of `ref`; throws (failing the test) when there is none.
DynamicBlockProperty PropertyOf(const BlockReference& ref, std::string_view name) {
    return DynamicBlockReference(ref).Property(name).value();
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

// The two lines of the lookup block's cross (entities 1 and 2) in `got` are those of `want`
// moved by (dx, dy).
void ExpectCrossMovedBy(const std::vector<Shape>& got, const std::vector<Shape>& want, double dx, double dy) {
    ASSERT_EQ(got.size(), 3u);
    for (std::size_t i = 1; i < 3; ++i)
        for (std::size_t k = 0; k < 6; k += 3) {
            EXPECT_NEAR(got[i].numbers[k], want[i].numbers[k] + dx, 1e-9);
            EXPECT_NEAR(got[i].numbers[k + 1], want[i].numbers[k + 1] + dy, 1e-9);
        }
}

// Setting `name` of reference `handle` to `value` is refused with a message that holds `says`,
// and the drawing stays as it was.
void ExpectRefused(Database& db, std::string_view handle, std::string_view name, const DynamicValue& value,
                   std::string_view says) {
    const std::string before = db.Write();
    base::Status status = DynamicBlockReference(InsertOf(db, handle)).SetValue(name, value);
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find(says), std::string::npos) << status.Message();
    EXPECT_TRUE(db.Write() == before) << "the drawing changed";
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

TEST(DynamicBlockWriteTest, LinearDistanceScalesAsTheHostDid) {
    // The second reference of the ACadSharp sample keeps a circle AutoCAD didn't scale about
    // the block's base point (its data was edited after): only the first is a reference.
    auto db = Corpus("acadsharp-sample-ac1032.dxf");
    BlockReference a = InsertOf(*db, "AC5");
    BlockReference b = InsertOf(*db, "ABA");
    const std::vector<Shape> want = ShapesOf(b.Block());
    const double value = PropertyOf(b, "dynamic-diameter").real;
    ASSERT_TRUE(db->EraseBlock(b.Block()));
    ASSERT_TRUE(DynamicBlockReference(a).SetValue("dynamic-diameter", DynamicValue::Real(value)));
    ExpectSameShapes(ShapesOf(a.Block()), want, "AC5 set like ABA");
}

TEST(DynamicBlockWriteTest, LookupRowSetsTheParametersOfItsRow) {
    auto db = Corpus("dynblock-lookup-ac1032.dxf");
    BlockReference a = InsertOf(*db, "254");
    BlockReference like = InsertOf(*db, "38C");  // its distance is 6
    const std::vector<Shape> want = ShapesOf(like.Block());
    ASSERT_TRUE(DynamicBlockReference(a).SetValue("Lookup Label Name", DynamicValue::Text("Size 6 ")));
    EXPECT_EQ(PropertyOf(a, "Lookup Label Name").text, "Size 6 ");
    EXPECT_NEAR(PropertyOf(a, "my_distance_label").real, 6, 1e-12);
    EXPECT_NEAR(PropertyOf(a, "Position1 X").real, 3, 1e-12);
    EXPECT_NEAR(PropertyOf(a, "Position1 Y").real, 3, 1e-12);
    EXPECT_EQ(PropertyOf(a, "Lookup1").text, "Alt size 6");
    std::vector<Shape> got = ShapesOf(a.Block());
    ASSERT_EQ(got.size(), 3u);
    // The polyline is stretched to the row's distance as AutoCAD stretched the other reference;
    // the cross follows the point parameter, which the row moves to (3, 3).
    ExpectSameShapes({got[0]}, {want[0]}, "polyline");
    const double dx = 3 - 0.5353643034168593, dy = 3 - -0.6616789453847974;
    ExpectCrossMovedBy(got, want, dx, dy);
}

TEST(DynamicBlockWriteTest, LookupValueOutsideTheTableIsRefused) {
    auto db = Corpus("dynblock-lookup-ac1032.dxf");
    ExpectRefused(*db, "254", "Lookup Label Name", DynamicValue::Text("Size 7"),
                  "\"Lookup Label Name\" (lookup parameter)");
}

TEST(DynamicBlockWriteTest, PointPositionMovesItsEntities) {
    auto db = Corpus("dynblock-lookup-ac1032.dxf");
    BlockReference a = InsertOf(*db, "395");
    const std::vector<Shape> before = ShapesOf(a.Block());
    ASSERT_TRUE(DynamicBlockReference(a).SetValue("Position1 X", DynamicValue::Real(2)));
    ASSERT_TRUE(DynamicBlockReference(a).SetValue("Position1 Y", DynamicValue::Real(-1)));
    EXPECT_NEAR(PropertyOf(a, "Position1 X").real, 2, 1e-12);
    EXPECT_NEAR(PropertyOf(a, "Position1 Y").real, -1, 1e-12);
    std::vector<Shape> got = ShapesOf(a.Block());
    ExpectSameShapes({got[0]}, {before[0]}, "the polyline stays");
    const double dx = 2 - 0.5353643034168593, dy = -1 - -0.6616789453847974;
    ExpectCrossMovedBy(got, before, dx, dy);
}

TEST(DynamicBlockWriteTest, EqualStateReusesTheExistingAnonymousBlock) {
    auto db = Corpus("dynblock-visibility-ac1032.dxf");
    BlockReference a = InsertOf(*db, "252");
    ASSERT_EQ(a.BlockName(), "*U16");
    ASSERT_TRUE(DynamicBlockReference(a).SetValue("Test visibility", DynamicValue::Text("HideAll")));
    EXPECT_EQ(a.BlockName(), "*U18");  // what reference 268 shows
    EXPECT_TRUE(db->FindBlock("*U16"));  // left, as AutoCAD leaves the copies nothing shows
}

TEST(DynamicBlockWriteTest, SameValueAgainChangesNothing) {
    auto db = Corpus("dynblock-visibility-ac1032.dxf");
    BlockReference a = InsertOf(*db, "284");
    const std::string before = db->Write();
    ASSERT_TRUE(DynamicBlockReference(a).SetValue("Test visibility", DynamicValue::Text("VisibilityState1")));
    EXPECT_EQ(a.BlockName(), "*U19");
    EXPECT_TRUE(db->Write() == before) << "the drawing changed";
}

TEST(DynamicBlockWriteTest, VisibilityStateIsMatchedWithoutRegardToCase) {
    auto db = Corpus("dynblock-visibility-ac1032.dxf");
    BlockReference a = InsertOf(*db, "252");
    ASSERT_TRUE(DynamicBlockReference(a).SetValue("Test visibility", DynamicValue::Text("showall")));
    EXPECT_EQ(PropertyOf(a, "Test visibility").text, "ShowAll");
}

TEST(DynamicBlockWriteTest, UnknownVisibilityStateIsRefusedAndChangesNothing) {
    auto db = Corpus("dynblock-visibility-ac1032.dxf");
    ExpectRefused(*db, "252", "Test visibility", DynamicValue::Text("Open"), "\"Open\" is not one of its values");
}

TEST(DynamicBlockWriteTest, ValueOfTheWrongTypeIsRefused) {
    auto db = Corpus("dynblock-lookup-ac1032.dxf");
    BlockReference a = InsertOf(*db, "254");
    EXPECT_FALSE(DynamicBlockReference(a).SetValue("my_distance_label", DynamicValue::Text("wide")));
    EXPECT_FALSE(DynamicBlockReference(a).SetValue("Lookup1", DynamicValue::Real(5)));
    EXPECT_FALSE(DynamicBlockReference(a).SetValue("my_distance_label", DynamicValue::Real(-1)));
}

TEST(DynamicBlockWriteTest, MissingPropertyIsRefused) {
    auto db = Corpus("dynblock-lookup-ac1032.dxf");
    BlockReference a = InsertOf(*db, "254");
    base::Status status = DynamicBlockReference(a).SetValue("Width", DynamicValue::Real(5));
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("no dynamic property \"Width\""), std::string::npos) << status.Message();
}

TEST(DynamicBlockWriteTest, ReferenceWithoutRepresentationDataGetsOne) {
    // A program that knows nothing of dynamic blocks inserts the definition itself.
    auto db = Corpus("dynblock-visibility-ac1032.dxf");
    auto made = db->ModelSpace().AddBlockReference(db->FindBlock("block_visibility_parameter"), Point3{9, 9, 0});
    ASSERT_TRUE(made);
    BlockReference ref = *made;
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Test visibility", DynamicValue::Text("HideAll")));
    EXPECT_EQ(ref.BlockName(), "*U18");
    DynamicBlockProperty p = PropertyOf(ref, "Test visibility");
    EXPECT_EQ(p.text, "HideAll");
    EXPECT_TRUE(p.fromReference);
    EXPECT_EQ(DynamicBlockReference(ref).DynamicBlock().Name(), "block_visibility_parameter");
    // The definition itself stays: it is no anonymous copy.
    EXPECT_TRUE(db->FindBlock("block_visibility_parameter"));
}

namespace {

// The x of the polyline's corners in the block `ref` shows, sorted, without repeats.
std::vector<double> PolylineXs(const BlockReference& ref) {
    std::vector<double> xs;
    for (const Shape& s : ShapesOf(ref.Block()))
        if (s.type == "LWPOLYLINE")
            for (std::size_t i = 0; i < s.numbers.size(); i += 2)
                if (std::find_if(xs.begin(), xs.end(), [&](double x) { return std::fabs(x - s.numbers[i]) < 1e-9; }) == xs.end())
                    xs.push_back(s.numbers[i]);
    std::sort(xs.begin(), xs.end());
    return xs;
}

}  // namespace

TEST(DynamicBlockWriteTest, XYParameterStretchesByItsHorizontalAndVerticalDistances) {
    auto db = LookupDrawingWith("BLOCKXYPARAMETER", "AcDbBlockXYParameter",
                                "305\nHorizontal\n306\n\n307\nVertical\n308\n\n");
    BlockReference ref = InsertOf(*db, "254");
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Horizontal", DynamicValue::Real(6.5)));
    EXPECT_DOUBLE_EQ(PropertyOf(ref, "Horizontal").real, 6.5);
    EXPECT_EQ(PolylineXs(ref), (std::vector<double>{0, 6.5}));
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Vertical", DynamicValue::Real(2)));
    EXPECT_DOUBLE_EQ(PropertyOf(ref, "Vertical").real, 2);
    // The corners the stretch frame holds go up by 2 with the end point.
    std::vector<Shape> shapes = ShapesOf(ref.Block());
    EXPECT_EQ(shapes[0].numbers, (std::vector<double>{0, 0, 6.5, 2, 6.5, 3, 0, 1}));
}

TEST(DynamicBlockWriteTest, PolarParameterStretchesByItsDistanceAndTurnsByItsAngle) {
    auto db = LookupDrawingWith("BLOCKPOLARPARAMETER", "AcDbBlockPolarParameter",
                                "305\nDistance\n306\n\n307\nAngle\n308\n\n");
    BlockReference ref = InsertOf(*db, "38C");
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Distance", DynamicValue::Real(7)));
    EXPECT_DOUBLE_EQ(PropertyOf(ref, "Distance").real, 7);
    EXPECT_EQ(PolylineXs(ref), (std::vector<double>{0, 7}));
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Angle", DynamicValue::Real(std::numbers::pi / 2)));
    EXPECT_NEAR(PropertyOf(ref, "Angle").real, std::numbers::pi / 2, 1e-12);
    // The end point goes from (7, 1) to (0, 8): the corners in the frame follow it.
    std::vector<Shape> shapes = ShapesOf(ref.Block());
    const std::vector<double> want{0, 0, 0, 7, 0, 8, 0, 1};
    ASSERT_EQ(shapes[0].numbers.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i)
        EXPECT_NEAR(shapes[0].numbers[i], want[i], 1e-9) << i;
}

TEST(DynamicBlockWriteTest, AParameterKindThatCantBeSetIsRefusedNamingThePropertyAndTheKind) {
    auto db = LookupDrawingWith("BLOCKFLIPPARAMETER", "AcDbBlockFlipParameter",
                                "305\nFlip state\n306\n\n307\nNot flipped\n308\nFlipped\n");
    auto made = db->ModelSpace().AddBlockReference(db->FindBlock("My_Look_Block"), Point3{100, 100, 0});
    ASSERT_TRUE(made);
    const std::string before = db->Write();
    base::Status status = DynamicBlockReference(*made).SetValue("Flip state", DynamicValue::Integer(1));
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("\"Flip state\" (flip parameter)"), std::string::npos) << status.Message();
    EXPECT_TRUE(db->Write() == before) << "the drawing changed";
}

TEST(DynamicBlockWriteTest, AnActionKindThatCantBeEvaluatedIsRefusedWhenItsParameterChanges) {
    // The stretch turned into an array: no corpus drawing has one, and arrays aren't evaluated.
    std::string bytes = cadtest::CorpusBytes("dynblock-lookup-ac1032.dxf");
    bytes = cadtest::ReplaceOnce(bytes, "  0\nBLOCKSTRETCHACTION\n  5\n602\n", "  0\nBLOCKARRAYACTION\n  5\n602\n");
    auto db = cadtest::Load(bytes, "array.dxf");
    const std::string before = db->Write();
    BlockReference ref = InsertOf(*db, "254");
    base::Status status = DynamicBlockReference(ref).SetValue("my_distance_label", DynamicValue::Real(3));
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("\"my_distance_label\" (linear parameter)"), std::string::npos) << status.Message();
    EXPECT_NE(status.Message().find("BLOCKARRAYACTION"), std::string::npos) << status.Message();
    EXPECT_TRUE(db->Write() == before) << "the drawing changed";
    // A parameter the array doesn't listen to can still be set while the array's stays at the
    // definition's value: every state is worked out from the definition.
    auto plain = db->ModelSpace().AddBlockReference(db->FindBlock("My_Look_Block"), Point3{100, 100, 0});
    ASSERT_TRUE(plain);
    EXPECT_TRUE(DynamicBlockReference(*plain).SetValue("Position1 X", DynamicValue::Real(1)));
    EXPECT_FALSE(DynamicBlockReference(ref).SetValue("Position1 X", DynamicValue::Real(1)));
}

TEST(DynamicBlockWriteTest, AttributesFollowTheDefinitionsTheActionsMove) {
    // The lookup block with an attribute definition that the point parameter's move action
    // moves with the cross; no corpus drawing has an attribute in an action.
    std::string bytes = cadtest::CorpusBytes("dynblock-lookup-ac1032.dxf");
    bytes = cadtest::ReplaceOnce(bytes, "$HANDSEED\n  5\n6DA\n", "$HANDSEED\n  5\n6DB\n");
    bytes = cadtest::ReplaceOnce(bytes, "  0\nENDBLK\n  5\n252\n",
                                 "  0\nATTDEF\n  5\n6DA\n330\n250\n100\nAcDbEntity\n  8\n0\n100\nAcDbText\n"
                                 " 10\n1.0\n 20\n-1.0\n 30\n0.0\n 40\n0.25\n  1\nD1\n100\nAcDbAttributeDefinition\n"
                                 "  3\nMark\n  2\nMARK\n 70\n     0\n  0\nENDBLK\n  5\n252\n");
    bytes = cadtest::ReplaceOnce(bytes, " 71\n     2\n330\n5FD\n330\n5FE\n", " 71\n     3\n330\n5FD\n330\n5FE\n330\n6DA\n");
    auto db = cadtest::Load(bytes, "attribute.dxf");
    BlockRecord definition = db->FindBlock("My_Look_Block");
    ASSERT_EQ(definition.AttributeDefinitions().size(), 1u);
    auto made = db->ModelSpace().AddBlockReference(definition, Point3{100, 50, 0});
    ASSERT_TRUE(made);
    BlockReference ref = *made;
    ASSERT_EQ(ref.Attributes().size(), 1u);
    const Point3 before = ref.Attributes()[0].Position();

    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Position1 X", DynamicValue::Real(2.5353643034168593)));
    const Point3 after = ref.Attributes()[0].Position();
    EXPECT_NEAR(after.x - before.x, 2, 1e-9);
    EXPECT_NEAR(after.y - before.y, 0, 1e-9);
    // The definition's copy in the anonymous block moved alike.
    for (const Entity& e : ref.Block().Entities()) {
        if (e.Type() == "ATTDEF") {
            EXPECT_NEAR(e.GetReal(10), 3.0, 1e-9);
        }
    }
}

TEST(DynamicBlockWriteTest, ALookupShowsTheRowItsParametersMatchOrItsCustomLabel) {
    auto db = Corpus("dynblock-lookup-ac1032.dxf");
    BlockReference ref = InsertOf(*db, "254");
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Lookup Label Name", DynamicValue::Text("Size 6 ")));
    // Another distance: no row has it with the point at (3, 3).
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("my_distance_label", DynamicValue::Real(5)));
    EXPECT_EQ(PropertyOf(ref, "Lookup Label Name").text, "my_custom");
    EXPECT_EQ(PropertyOf(ref, "Lookup1").text, "Custom");
    // The point of the row of size 5 too: that row.
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Position1 X", DynamicValue::Real(2.5)));
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Position1 Y", DynamicValue::Real(2.5)));
    EXPECT_EQ(PropertyOf(ref, "Lookup Label Name").text, "Size 5");
    EXPECT_EQ(PropertyOf(ref, "Lookup1").text, "Alt size 5");
}

TEST(DynamicBlockWriteTest, AttributesHideWithTheDefinitionsAVisibilityStateHides) {
    // The visibility block with an attribute definition that only the first state shows.
    std::string bytes = cadtest::CorpusBytes("dynblock-visibility-ac1032.dxf");
    bytes = cadtest::ReplaceOnce(bytes, "$HANDSEED\n  5\n378\n", "$HANDSEED\n  5\n379\n");
    bytes = cadtest::ReplaceOnce(bytes, "  0\nENDBLK\n  5\n251\n330\n24F\n",
                                 "  0\nATTDEF\n  5\n378\n330\n24F\n100\nAcDbEntity\n  8\n0\n100\nAcDbText\n"
                                 " 10\n1.0\n 20\n-1.0\n 30\n0.0\n 40\n0.25\n  1\nD1\n100\nAcDbAttributeDefinition\n"
                                 "  3\nMark\n  2\nMARK\n 70\n     0\n  0\nENDBLK\n  5\n251\n330\n24F\n");
    bytes = cadtest::ReplaceOnce(bytes, " 93\n        5\n331\n338\n", " 93\n        6\n331\n378\n331\n338\n");
    bytes = cadtest::ReplaceOnce(bytes, "303\nVisibilityState0\n 94\n        4\n", "303\nVisibilityState0\n 94\n        5\n332\n378\n");
    auto db = cadtest::Load(bytes, "visibility-attribute.dxf");
    auto made = db->ModelSpace().AddBlockReference(db->FindBlock("block_visibility_parameter"), Point3{9, 9, 0});
    ASSERT_TRUE(made);
    BlockReference ref = *made;
    ASSERT_EQ(ref.Attributes().size(), 1u);
    ASSERT_TRUE(ref.Attributes()[0].IsVisible());
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Test visibility", DynamicValue::Text("HideAll")));
    EXPECT_FALSE(ref.Attributes()[0].IsVisible());
    ASSERT_TRUE(DynamicBlockReference(ref).SetValue("Test visibility", DynamicValue::Text("VisibilityState0")));
    EXPECT_TRUE(ref.Attributes()[0].IsVisible());
}
