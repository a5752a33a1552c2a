// The table model drawn as a block: texts, alignment, edges and scale.
#include <cmath>

#include "CellBlockFixture.h"
#include "arxutils/excel/ExcelObjects.h"
#include "attbat/cellblock/CAutoLine.h"
#include "attbat/cellblock/CellRangeReader.h"
#include "cad/Curves.h"

namespace attbat {
namespace {

namespace excel = arxutils::excel;

// A cell of `width` by `height` at `x`, `y`, unmerged, with thin continuous edges.
CAutoCell Cell(const std::string& address, double x, double y, double width, double height,
               const std::string& text = {}) {
    CAutoCell cell;
    cell.address = cell.mergeAddress = address;
    cell.text = text;
    cell.x = x;
    cell.y = y;
    cell.width = cell.mergeWidth = width;
    cell.height = cell.mergeHeight = height;
    cell.fontSize = 2.5;
    for (CAutoBorder& edge : cell.borders.items) ApplyBorderStyle(edge);
    return cell;
}

// Every character is as wide as the text is high.
double Square(std::string_view text, double height) { return static_cast<double>(text.size()) * height; }

std::vector<cad::Line> Lines(const cad::BlockRecord& block) {
    std::vector<cad::Line> lines;
    for (const cad::Entity& e : block.Entities())
        if (e.Type() == "LINE") lines.emplace_back(e.GetDatabase(), e.Index());
    return lines;
}

// True when the block has a vertical line at `x` covering y from `top` down to `bottom`.
bool HasVerticalAt(const cad::BlockRecord& block, double x, double top, double bottom) {
    for (const cad::Line& line : Lines(block)) {
        const cad::Point3 a = line.Start(), b = line.End();
        if (std::abs(a.x - x) > 1e-6 || std::abs(b.x - x) > 1e-6) continue;
        if (std::max(a.y, b.y) >= top - 1e-6 && std::min(a.y, b.y) <= bottom + 1e-6) return true;
    }
    return false;
}

class CAutoTableTest : public CellBlockTest {};

TEST_F(CAutoTableTest, CellNarrowerThanTheMarginsGetsNoAttributeDefinitionAndNoMapEntry) {
    CAutoTable t;
    t.measure = Square;
    // The margins are 3 points, 4.6 units at the default scale: a cell of 4 has no room.
    t.m_rows = {{Cell("$A$1", 0, 0, 4, 20, "x"), Cell("$B$1", 4, 0, 20, 20, "y")}};
    cad::BlockRecord block = t.DrawAsBlock(Db(), "NARROW");
    ASSERT_TRUE(block);
    ASSERT_EQ(block.AttributeDefinitions().size(), 1u);
    EXPECT_EQ(block.AttributeDefinitions()[0].Tag(), "$B$1");
    EXPECT_EQ(t.m_values.count("$A$1"), 0u);
    EXPECT_EQ(t.m_values.at("$B$1"), "y");
}

TEST_F(CAutoTableTest, TextOfB2LandsInAnAttributeWithItsAddressAsTagAndPrompt) {
    CAutoTable t;
    t.measure = Square;
    t.m_rows = {{Cell("$B$2", 0, 0, 40, 20, "  Door ")}};
    cad::BlockRecord block = t.DrawAsBlock(Db(), "B2");
    ASSERT_EQ(block.AttributeDefinitions().size(), 1u);
    const cad::AttributeDefinition def = block.AttributeDefinitions()[0];
    EXPECT_EQ(def.Tag(), "$B$2");
    EXPECT_EQ(def.Prompt(), "$B$2");
    EXPECT_EQ(def.DefaultValue(), "Door");
    ASSERT_TRUE(t.reference);
    EXPECT_EQ(t.reference.FindAttribute("$B$2").TextString(), "Door");
}

TEST_F(CAutoTableTest, OverflowingTextLosesTheEdgeToAnEmptyNeighbourButNotToOneWithText) {
    CAutoTable t;
    t.measure = Square;
    // 20 characters of 2.5 run 50 units from x 4.6: over B and into C.
    t.m_rows = {{Cell("$A$1", 0, 0, 20, 10, "ABCDEFGHIJKLMNOPQRST"), Cell("$B$1", 20, 0, 20, 10),
                 Cell("$C$1", 40, 0, 20, 10, "C"), Cell("$D$1", 60, 0, 20, 10)}};
    cad::BlockRecord block = t.DrawAsBlock(Db(), "OVER");
    EXPECT_TRUE(t.m_rows[0][0].borders.Right().lineType.empty());
    EXPECT_TRUE(t.m_rows[0][1].borders.Left().lineType.empty());
    EXPECT_FALSE(t.m_rows[0][1].borders.Right().lineType.empty());
    EXPECT_FALSE(HasVerticalAt(block, 20, 0, -10));
    EXPECT_TRUE(HasVerticalAt(block, 40, 0, -10));
    EXPECT_TRUE(HasVerticalAt(block, 60, 0, -10));
}

TEST_F(CAutoTableTest, CentredAcrossSelectionRunCentresTheTextOverItsThreeCells) {
    CAutoTable t;
    t.measure = Square;
    t.m_rows = {{Cell("$A$1", 0, 0, 20, 10, "Title"), Cell("$B$1", 20, 0, 20, 10), Cell("$C$1", 40, 0, 20, 10),
                 Cell("$D$1", 60, 0, 20, 10)}};
    for (int c = 0; c < 3; ++c) t.m_rows[0][c].hAlign = excel::xlCenterAcrossSelection;
    cad::BlockRecord block = t.DrawAsBlock(Db(), "ACROSS");
    EXPECT_EQ(t.m_rows[0][0].mergeAddress, "$A$1:$C$1");
    EXPECT_DOUBLE_EQ(t.m_rows[0][0].mergeWidth, 60);
    ASSERT_EQ(block.AttributeDefinitions().size(), 1u);
    const cad::AttributeDefinition def = block.AttributeDefinitions()[0];
    EXPECT_EQ(def.HorizontalMode(), 1);
    EXPECT_DOUBLE_EQ(def.AlignmentPoint().x, 30);
}

TEST_F(CAutoTableTest, LastColumnsRightEdgeAndLastRowsBottomEdgeAreDrawn) {
    CAutoTable t;
    t.m_rows = {{Cell("$A$1", 0, 0, 10, 5), Cell("$B$1", 10, 0, 10, 5)},
                {Cell("$A$2", 0, 5, 10, 5), Cell("$B$2", 10, 5, 10, 5)}};
    cad::BlockRecord block = t.DrawAsBlock(Db(), "GRID");
    // Runs along one grid line join: three across, three down.
    EXPECT_EQ(t.lineCount, 6);
    EXPECT_TRUE(HasVerticalAt(block, 20, 0, -10));
    bool bottom = false;
    for (const cad::Line& line : Lines(block)) {
        if (std::abs(line.Start().y + 10) < 1e-9 && std::abs(line.End().y + 10) < 1e-9 &&
            std::abs(std::abs(line.End().x - line.Start().x) - 20) < 1e-9)
            bottom = true;
    }
    EXPECT_TRUE(bottom);
}

TEST_F(CAutoTableTest, FontPointsTenAndUnitsTwoAndAHalfScaleTextsByAQuarterAndCellsByAQuarterOverPointSixFive) {
    Book([](xl::Worksheet& s) { ASSERT_TRUE(s.SetString(1, 1, "x")); }, "A1");
    ASSERT_TRUE(arxutils::ExcelUtils::ConnectToExcel(false));
    CAutoTable t;
    t.drawingUnits = 2.5;
    t.fontPoints = 10;
    ASSERT_TRUE(ReadCellRange(*arxutils::ExcelUtils::Worksheet, "$A$1", t));
    const CAutoCell& cell = t.m_rows.at(0).at(0);
    EXPECT_DOUBLE_EQ(t.UnitsPerPoint(), 0.25);
    EXPECT_DOUBLE_EQ(cell.fontSize, 11 * 0.25);
    // The standard column of 64 pixels (48 points) and row of 15 points.
    EXPECT_NEAR(cell.width, 48 * 0.25 / 0.65, 1e-9);
    EXPECT_NEAR(cell.height, 15 * 0.25 / 0.65, 1e-9);
}

TEST_F(CAutoTableTest, WideDoubleEdgeBeatsAThinContinuousOneOnTheSamePlace) {
    CAutoBorder thin;
    ApplyBorderStyle(thin);
    CAutoBorder dbl;
    dbl.lineStyle = excel::xlDouble;
    ApplyBorderStyle(dbl);
    CAutoBorder medium;
    medium.lineStyle = excel::xlDash;
    medium.weight = excel::xlMedium;
    ApplyBorderStyle(medium);
    EXPECT_EQ(dbl.lineType, kDoubleLineType);
    EXPECT_EQ(medium.lineType, "DASHED");
    EXPECT_DOUBLE_EQ(medium.lineWidth, 1.5);
    EXPECT_EQ(&StrongerBorder(thin, dbl), &dbl);
    EXPECT_EQ(&StrongerBorder(thin, medium), &medium);
    CAutoBorder none;
    EXPECT_EQ(&StrongerBorder(none, thin), &thin);
}

TEST_F(CAutoTableTest, WideEdgesBecomeOneJoinedPolyline) {
    CAutoTable t;
    t.m_rows = {{Cell("$A$1", 0, 0, 10, 5)}};
    for (CAutoBorder& edge : t.m_rows[0][0].borders.items) {
        edge.weight = excel::xlThick;
        ApplyBorderStyle(edge);
    }
    cad::BlockRecord block = t.DrawAsBlock(Db(), "THICK");
    EXPECT_EQ(t.lineCount, 0);
    EXPECT_EQ(t.polylineCount, 1);
    for (const cad::Entity& e : block.Entities()) {
        if (e.Type() != "LWPOLYLINE") continue;
        EXPECT_EQ(cad::LwPolyline(e.GetDatabase(), e.Index()).Points().size(), 5u);
        EXPECT_NEAR(e.GetReal(43, 0), 2.25 * CAutoTable::kCellPointFactor, 1e-9);
    }
}

TEST_F(CAutoTableTest, EmptyTableMakesNoBlock) {
    CAutoTable t;
    EXPECT_FALSE(t.DrawAsBlock(Db(), "EMPTY"));
    EXPECT_FALSE(Db().FindBlock("EMPTY"));
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST_F(CellBlockTest, BrokenEdgeNamesItsLineTypeWhichTheDrawingThenHas) {
    CAutoTable t;
    CAutoCell cell;
    cell.address = cell.mergeAddress = "$A$1";
    cell.width = cell.mergeWidth = 10;
    cell.height = cell.mergeHeight = 5;
    for (CAutoBorder& edge : cell.borders.items) {
        edge.lineStyle = arxutils::excel::xlDashDot;
        ApplyBorderStyle(edge);
    }
    t.m_rows = {{cell}};
    EXPECT_FALSE(Db().FindRecord("LTYPE", "DASHDOT"));
    cad::BlockRecord block = t.DrawAsBlock(Db(), "DASHES");
    EXPECT_EQ(t.lineCount, 4);
    EXPECT_TRUE(Db().FindRecord("LTYPE", "DASHDOT"));
    for (const cad::Entity& e : block.Entities()) {
        if (e.Type() == "LINE") {
            EXPECT_EQ(e.GetText(6), "DASHDOT");
        }
    }
}

}  // namespace
}  // namespace attbat
