// Cell blocks end to end over a workbook file: made from a selection, read back, updated from
// the sheet and written back to it.
#include <cmath>

#include "CellBlockFixture.h"
#include "arxutils/ArxUtils.h"
#include "attbat/cellblock/CellBlockSource.h"
#include "attbat/cellblock/UpdateCellAttsToExcel.h"
#include "attbat/cellblock/UpdateCellBlockAtts.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/links/ExcelLinkStore.h"
#include "xl/Styles.h"

namespace attbat {
namespace {

// B2:D3 with texts, a blank C2 and D3, and B3:C3 merged.
void Sample(xl::Worksheet& s) {
    ASSERT_TRUE(s.SetString(2, 2, "Room"));
    ASSERT_TRUE(s.SetString(2, 4, "Area"));
    ASSERT_TRUE(s.SetString(3, 2, "Office"));
    ASSERT_TRUE(s.Merge({3, 2, 3, 3}));
    ASSERT_TRUE(s.SetString(5, 6, "outside"));
}

cad::BlockReference Reference(cad::Database& db, const std::string& name) {
    std::vector<cad::BlockReference> refs = db.FindBlock(name).References();
    return refs.empty() ? cad::BlockReference() : refs.front();
}

std::string SheetText(const std::string& path, int row, int column) {
    auto book = xl::Workbook::Open(path);
    EXPECT_TRUE(book);
    return book ? (*book)->FindSheet("Data")->Text(row, column) : std::string();
}

TEST_F(CellBlockTest, SelectionOfOneCellMakesABlockOfOneCell) {
    Book(Sample, "B2");
    ASSERT_TRUE(Create("ONE"));
    EXPECT_EQ(table.RowCount(), 1);
    EXPECT_EQ(table.ColumnCount(), 1);
    ASSERT_EQ(Definitions("ONE").size(), 1u);
    EXPECT_EQ(Definitions("ONE")[0].Tag(), "$B$2");
    EXPECT_EQ(table.lineCount, 4);
    EXPECT_EQ(Reference(Db(), "ONE").FindAttribute("$B$2").TextString(), "Room");
}

TEST_F(CellBlockTest, SourceRecordOnTheBlockHoldsWorkbookWorksheetAndRange) {
    Book(Sample, "B2:D3");
    ASSERT_TRUE(Create("ROOMS"));
    std::vector<std::string> strings;
    ASSERT_TRUE(GetXDataStrings(Db().FindBlock("ROOMS").Record(), "AutoCellBlock", strings));
    EXPECT_EQ(strings, (std::vector<std::string>{book, "Data", "$B$2:$D$3"}));
    EXPECT_TRUE(arxutils::GetXdata(Reference(Db(), "ROOMS"), "AutoCellBlock").empty());
    CellBlockSource source;
    ASSERT_EQ(ReadCellBlockSource(Db().FindBlock("ROOMS"), source), CellBlockKind::Valid);
    EXPECT_FALSE(source.fromCellBlock2);
    EXPECT_EQ(source.range, "$B$2:$D$3");
}

TEST_F(CellBlockTest, EmptyCellMakesGridLinesButNoAttributeAndAnUpdateLeavesNothingToSetThere) {
    Book(Sample, "B2:D3");
    ASSERT_TRUE(Create("ROOMS"));
    std::vector<std::string> tags;
    for (const cad::AttributeDefinition& def : Definitions("ROOMS")) tags.push_back(def.Tag());
    EXPECT_EQ(tags, (std::vector<std::string>{"$B$2", "$D$2", "$B$3"}));
    // C2 is empty but framed: the edge between C2 and D2 is drawn.
    const CAutoCell& c2 = table.m_rows[0][1];
    bool edge = false;
    for (const cad::Entity& e : Db().FindBlock("ROOMS").Entities()) {
        if (e.Type() != "LINE") continue;
        cad::Line line(e.GetDatabase(), e.Index());
        if (std::abs(line.Start().x - (c2.x + c2.width)) < 1e-9 && std::abs(line.End().x - line.Start().x) < 1e-9)
            edge = true;
    }
    EXPECT_TRUE(edge);
    // C2 gets a value in the sheet: the block has no attribute for it.
    {
        backend.reset();
        auto wb = xl::Workbook::Open(book);
        ASSERT_TRUE(wb);
        ASSERT_TRUE((*wb)->FindSheet("Data")->SetString(2, 3, "new"));
        ASSERT_TRUE((*wb)->Save(book));
        AttachSelection("B2:D3");
    }
    CellBlockUpdate update = UpdateCellBlockAtts({Reference(Db(), "ROOMS")});
    arxutils::ExcelUtils::Disconnect();
    EXPECT_EQ(update.blocks, 1);
    EXPECT_EQ(update.changed, 0);
    EXPECT_FALSE(Reference(Db(), "ROOMS").FindAttribute("$C$2"));
}

TEST_F(CellBlockTest, MergedCellSpansItsAreaWithoutTheGridInside) {
    Book(Sample, "B2:D3");
    ASSERT_TRUE(Create("ROOMS"));
    const CAutoCell& b3 = table.m_rows[1][0];
    EXPECT_EQ(b3.mergeAddress, "$B$3:$C$3");
    EXPECT_NEAR(b3.mergeWidth, b3.width * 2, 1e-9);
    const double inside = b3.x + b3.width;
    for (const cad::Entity& e : Db().FindBlock("ROOMS").Entities()) {
        if (e.Type() != "LINE") continue;
        cad::Line line(e.GetDatabase(), e.Index());
        const bool vertical = std::abs(line.Start().x - line.End().x) < 1e-9;
        if (vertical && std::abs(line.Start().x - inside) < 1e-9) {
            EXPECT_GT(std::min(line.Start().y, line.End().y), -b3.y - 1e-9) << "a line crosses the merged cell";
        }
    }
}

TEST_F(CellBlockTest, RedefiningEraseTheEarlierReferencesOfTheBlock) {
    Book(Sample, "B2:C2");
    ASSERT_TRUE(Create("TWICE"));
    const std::string first = Reference(Db(), "TWICE").HandleString();
    ui.QueueAnswer(host::BoxAnswer::No);
    EXPECT_FALSE(Create("TWICE"));
    EXPECT_EQ(Db().FindBlock("TWICE").References().size(), 1u);
    ui.QueueAnswer(host::BoxAnswer::Yes);
    ASSERT_TRUE(Create("TWICE"));
    EXPECT_EQ(Boxes().back(), "TWICE is already defined as a block. Do you want to redefine it?");
    std::vector<cad::BlockReference> refs = Db().FindBlock("TWICE").References();
    ASSERT_EQ(refs.size(), 1u);
    EXPECT_NE(refs[0].HandleString(), first);
    EXPECT_FALSE(arxutils::HandleToId(Db(), first));
}

TEST_F(CellBlockTest, AttributeTagThatIsNoAddressPrintsTheMessageAndKeepsItsText) {
    Book(Sample, "B2:D3");
    ASSERT_TRUE(Create("ROOMS"));
    cad::BlockReference ref = Reference(Db(), "ROOMS");
    ref.AppendAttribute("NOTE", "kept", {0, 0, 0}, 2.5);
    ref.AppendAttribute("Z9", "far", {0, 0, 0}, 2.5);
    UpdateCellBlockAtts({ref});
    arxutils::ExcelUtils::Disconnect();
    EXPECT_NE(Printed().find("\nCannot find the value of NOTE."), std::string::npos);
    EXPECT_NE(Printed().find("\nCannot find the value of Z9."), std::string::npos);
    EXPECT_EQ(ref.FindAttribute("NOTE").TextString(), "kept");
    EXPECT_EQ(ref.FindAttribute("Z9").TextString(), "far");
    EXPECT_NE(Printed().find("Done!...\n"), std::string::npos);
}

TEST_F(CellBlockTest, BlockWithBothRecordsIsReadAsCellBlock2) {
    auto block = Db().CreateBlock("BOTH");
    ASSERT_TRUE(block);
    cad::Object record = block->Record();
    for (const char* s : {"/old/book.xlsx", "Sheet", "$A$1:$B$2"}) SetXDataString(record, "AutoCellBlock", s, true);
    for (const char* s : {"/new/book.xlsx", "two", "three", "Costs", "$C$3:$D$4"})
        SetXDataString(record, "CellBlock2", s, true);
    CellBlockSource source;
    ASSERT_EQ(ReadCellBlockSource(*block, source), CellBlockKind::Valid);
    EXPECT_TRUE(source.fromCellBlock2);
    EXPECT_EQ(source.workbook, "/new/book.xlsx");
    EXPECT_EQ(source.worksheet, "Costs");
    EXPECT_EQ(source.range, "$C$3:$D$4");
    EXPECT_EQ(source.second, "two");
    EXPECT_EQ(source.third, "three");
    DeleteXData(record, "CellBlock2");
    SetXDataString(record, "CellBlock2", "/only/one.xlsx", false);
    EXPECT_EQ(ReadCellBlockSource(*block, source), CellBlockKind::Invalid);
}

TEST_F(CellBlockTest, UnitsOneAndPointsOneMakeA65PointCell100UnitsAndA10PointText10Units) {
    CAutoTable t;
    EXPECT_NEAR(65 * t.CellUnitsPerPoint(), 100, 1e-12);
    EXPECT_DOUBLE_EQ(10 * t.UnitsPerPoint(), 10);
    Book([](xl::Worksheet& s) {
        ASSERT_TRUE(s.SetString(1, 1, "x"));
        s.SetRowHeight(1, 65);
    }, "A1");
    ASSERT_TRUE(Create("SCALE"));
    EXPECT_NEAR(table.m_rows[0][0].height, 100, 1e-9);
    EXPECT_DOUBLE_EQ(Definitions("SCALE")[0].Height(), 11);
}

TEST_F(CellBlockTest, ValuesEditedInTheSheetComeIntoEveryReferenceOfTheBlock) {
    Book(Sample, "B2:D3");
    ASSERT_TRUE(Create("ROOMS"));
    cad::BlockReference second =
        *arxutils::CurrentSpace(Db()).AddBlockReference(Db().FindBlock("ROOMS"), {500, 0, 0});
    backend.reset();
    {
        auto wb = xl::Workbook::Open(book);
        ASSERT_TRUE(wb);
        ASSERT_TRUE((*wb)->FindSheet("Data")->SetString(2, 4, "Floor area"));
        ASSERT_TRUE((*wb)->Save(book));
    }
    AttachSelection("A1");
    CellBlockUpdate update = UpdateCellBlockAtts({Reference(Db(), "ROOMS")});
    arxutils::ExcelUtils::Disconnect();
    EXPECT_EQ(update.references, 2);
    EXPECT_EQ(update.changed, 2);
    EXPECT_EQ(Reference(Db(), "ROOMS").FindAttribute("$D$2").TextString(), "Floor area");
    EXPECT_EQ(second.FindAttribute("$D$2").TextString(), "Floor area");
}

TEST_F(CellBlockTest, ValuesEditedInTheDrawingGoBackToTheirCellsAndNothingElseChanges) {
    Book(Sample, "B2:D3");
    ASSERT_TRUE(Create("ROOMS"));
    cad::BlockReference ref = Reference(Db(), "ROOMS");
    ref.FindAttribute("$B$3").SetValue("Kitchen");
    ref.FindAttribute("$D$2").SetValue("12.5");
    std::vector<CellWrite> writes;
    ui.QueueAnswer(host::BoxAnswer::Yes);
    ASSERT_TRUE(UpdateCellAttsToExcel(ref, true, writes));
    arxutils::ExcelUtils::Disconnect();
    ASSERT_TRUE(backend->Save());
    backend.reset();
    ASSERT_EQ(writes.size(), 2u);
    EXPECT_EQ(SheetText(book, 3, 2), "Kitchen");
    EXPECT_EQ(SheetText(book, 2, 4), "12.5");
    EXPECT_EQ(SheetText(book, 2, 2), "Room");
    EXPECT_EQ(SheetText(book, 5, 6), "outside");
}

TEST_F(CellBlockTest, UploadAnsweredNoWritesNothing) {
    Book(Sample, "B2:D3");
    ASSERT_TRUE(Create("ROOMS"));
    const std::string before = Slurp(book);
    cad::BlockReference ref = Reference(Db(), "ROOMS");
    ref.FindAttribute("$B$2").SetValue("Changed");
    std::vector<CellWrite> writes;
    ui.QueueAnswer(host::BoxAnswer::No);
    EXPECT_FALSE(UpdateCellAttsToExcel(ref, true, writes));
    arxutils::ExcelUtils::Disconnect();
    ASSERT_TRUE(backend->Save());
    EXPECT_TRUE(writes.empty());
    EXPECT_EQ(Slurp(book), before);
}

TEST_F(CellBlockTest, UploadOfABlockThatIsNoCellBlockSaysSo) {
    Book(Sample, "B2");
    auto block = Db().CreateBlock("PLAIN");
    ASSERT_TRUE(block);
    cad::BlockReference ref = *arxutils::CurrentSpace(Db()).AddBlockReference(*block, {0, 0, 0});
    std::vector<CellWrite> writes;
    EXPECT_FALSE(UpdateCellAttsToExcel(ref, true, writes));
    EXPECT_EQ(Boxes(), (std::vector<std::string>{"Invalid Cell Block."}));
}

TEST_F(CellBlockTest, UploadOfABlockWhoseWorkbookIsGonePrintsCannotFind) {
    Book(Sample, "B2");
    ASSERT_TRUE(Create("GONE"));
    backend.reset();
    std::filesystem::remove(book);
    std::vector<CellWrite> writes;
    EXPECT_FALSE(UpdateCellAttsToExcel(Reference(Db(), "GONE"), true, writes));
    EXPECT_NE(Printed().find("Cannot find " + book + "."), std::string::npos) << Printed();
}

TEST_F(CellBlockTest, DialogRefusesBadNamesAndScalesInOrder) {
    Book(Sample, "B2");
    const auto refusal = [&](const std::string& name, const std::string& layer, const std::string& textLayer,
                             const std::string& units, const std::string& points) {
        ui.Clear();
        CCreateAttributesFromExcelDialog dialog(Db());
        dialog.OnInitDialog();
        dialog.m_blockName = name;
        dialog.m_blockLayer = layer;
        dialog.m_textLayer = textLayer;
        dialog.m_drawingUnits = units;
        dialog.m_fontPoints = points;
        EXPECT_FALSE(dialog.OnOK());
        return Boxes().empty() ? std::string() : Boxes().front();
    };
    EXPECT_EQ(refusal("a<b", "", "", "1", "1"), "Invalid block name.");
    EXPECT_EQ(refusal("", "", "", "1", "1"), "Invalid block name.");
    EXPECT_EQ(refusal("ok", "bad|layer", "", "1", "1"), "Invalid block layer.");
    EXPECT_EQ(refusal("ok", "", "t?", "1", "1"), "Invalid attribute layer.");
    EXPECT_EQ(refusal("ok", "", "", "0", "1"), "Invalid drawing units.");
    EXPECT_EQ(refusal("ok", "", "", "1", "none"), "Invalid Excel font points.");
    EXPECT_FALSE(Db().FindBlock("ok"));
}

TEST_F(CellBlockTest, OkMakesTheLayersAndStoresTheScale) {
    Book(Sample, "B2");
    EXPECT_TRUE(arxutils::ExcelUtils::ConnectToExcel(false));
    CCreateAttributesFromExcelDialog dialog(Db());
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_workbook, book);
    EXPECT_EQ(dialog.m_worksheet, "Data");
    EXPECT_EQ(dialog.m_selection, "$B$2");
    EXPECT_EQ(dialog.m_drawingUnits, "1");
    dialog.m_blockName = "LAYERED";
    dialog.m_blockLayer = "CELL-BLOCKS";
    dialog.m_textLayer = "CELL-TEXT";
    dialog.m_drawingUnits = "2.5";
    dialog.m_fontPoints = "10";
    ASSERT_TRUE(dialog.OnOK());
    EXPECT_TRUE(Db().FindLayer("CELL-BLOCKS"));
    EXPECT_TRUE(Db().FindLayer("CELL-TEXT"));
    EXPECT_EQ(CRegistry::GetString("Velmar", "TextScaleDrawingUnits", ""), "2.5");
    EXPECT_EQ(CRegistry::GetString("Velmar", "TextScaleFontPoints", ""), "10");
    ASSERT_TRUE(CreateAttsFromExcel(Db(), dialog, cad::Point3{10, 20, 0}, table));
    arxutils::ExcelUtils::Disconnect();
    cad::BlockReference ref = Reference(Db(), "LAYERED");
    EXPECT_EQ(ref.LayerName(), "CELL-BLOCKS");
    EXPECT_EQ(ref.Position(), (cad::Point3{10, 20, 0}));
    EXPECT_EQ(Definitions("LAYERED")[0].LayerName(), "CELL-TEXT");
    EXPECT_DOUBLE_EQ(Definitions("LAYERED")[0].Height(), 11 * 0.25);
}

TEST(CellTagAddress, TakesAbsoluteAndPlainAddressesAndNothingElse) {
    EXPECT_EQ(CellTagAddress("$B$3"), "$B$3");
    EXPECT_EQ(CellTagAddress("B3"), "$B$3");
    EXPECT_EQ(CellTagAddress("ab12"), "$AB$12");
    EXPECT_EQ(CellTagAddress("NOTE"), "");
    EXPECT_EQ(CellTagAddress("B"), "");
    EXPECT_EQ(CellTagAddress("3B"), "");
    EXPECT_EQ(CellTagAddress("$B$3:$C$4"), "");
    EXPECT_EQ(CellTagAddress("ABC1"), "");
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST_F(CellBlockTest, WrappedCellTextBecomesAOneLineAttribute) {
    Book([](xl::Worksheet& s) { ASSERT_TRUE(s.SetString(1, 1, "two\nlines \r\n here")); }, "A1");
    ASSERT_TRUE(Create("WRAP"));
    EXPECT_EQ(Definitions("WRAP")[0].DefaultValue(), "two lines here");
    EXPECT_EQ(AttributeText(" a \n\n b "), "a b");
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST_F(CellBlockTest, UploadLeavesCellsWhoseAttributeWasNotEdited) {
    Book([](xl::Worksheet& s) {
        ASSERT_TRUE(s.SetString(1, 1, "two\nlines"));
        ASSERT_TRUE(s.SetString(1, 2, "padded  "));
    }, "A1:B1");
    ASSERT_TRUE(Create("KEEP"));
    std::vector<CellWrite> writes;
    ui.QueueAnswer(host::BoxAnswer::Yes);
    ASSERT_TRUE(UpdateCellAttsToExcel(Reference(Db(), "KEEP"), true, writes));
    arxutils::ExcelUtils::Disconnect();
    EXPECT_TRUE(writes.empty());
}

}  // namespace
}  // namespace attbat
