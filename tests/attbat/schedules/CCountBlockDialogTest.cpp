#include "attbat/schedules/CCountBlockDialog.h"

#include <gtest/gtest.h>

#include <fstream>

#include "ScheduleFixture.h"
#include "attbat/frame/CRegistry.h"

namespace attbat {

namespace {

class CountBlockTest : public ScheduleTest {
protected:
    void SetUp() override {
        ScheduleTest::SetUp();
        drawing = OpenCurrent("chairs.dxf");
    }
    std::string Count(const CCountBlockDialog& dialog, std::string_view formula) {
        return dialog.EvaluateFormula(formula);
    }
    std::string drawing;
};

TEST_F(CountBlockTest, BlockCountCountsAllReferencesOnAnyLayer) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.EvaluateFormula("BlockCount(CHAIR,Walls)"), "5");
    EXPECT_EQ(dialog.EvaluateFormula("BlockCount(chair,NoSuchLayer)"), "5");
}

TEST_F(CountBlockTest, AttCountWithAllLayersAndWithAnEmptyLayerCountTheSame) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.EvaluateFormula("AttCount(CHAIR,*All*,COLOR,red)"), "2");
    EXPECT_EQ(dialog.EvaluateFormula("AttCount(CHAIR,,COLOR,red)"), "2");
    EXPECT_EQ(dialog.EvaluateFormula("AttCount(CHAIR,walls,COLOR,red)"), "1");
    // Tag and value compare exactly: "Red" is another value.
    EXPECT_EQ(dialog.EvaluateFormula("AttCount(CHAIR,,COLOR,Red)"), "1");
}

TEST_F(CountBlockTest, AValueWithACommaCountsItsFirstPiece) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    dialog.m_blockName = "CHAIR";
    dialog.m_tag = "COLOR";
    dialog.m_value = "red,blue";
    Book({{"Sheet1", "A1", "", ""}}, "B2");
    CCountBlockDialog::Result result;
    ASSERT_TRUE(dialog.InsertFormula(true, result));
    EXPECT_EQ(result.after, "2");
    EXPECT_EQ(Comment("Sheet1", "B2"), "AttCount(CHAIR,,COLOR,red,blue)");
}

TEST_F(CountBlockTest, TheCurrentDrawingAlsoListedCountsOnceWhenIncluded) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    ASSERT_EQ(dialog.m_includeCurrent, 1);
    ASSERT_TRUE(dialog.AddPaths({drawing}));
    EXPECT_EQ(dialog.EvaluateFormula("BlockCount(CHAIR,)"), "5");
}

TEST_F(CountBlockTest, TheCurrentDrawingAlsoListedCountsOnceFromTheListWhenNotIncluded) {
    CRegistry::SetInt("Velmar", "IncludeCurrentDrawing", 0);
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    ASSERT_EQ(dialog.m_includeCurrent, 0);
    EXPECT_TRUE(dialog.m_currentBlocks.IsEmpty());
    ASSERT_TRUE(dialog.AddPaths({drawing}));
    EXPECT_EQ(dialog.EvaluateFormula("BlockCount(CHAIR,)"), "5");
}

TEST_F(CountBlockTest, AnotherListedDrawingAddsToTheCurrentOne) {
    const std::string other = Copy("chairs.dxf", "other.dxf");
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    ASSERT_TRUE(dialog.AddPaths({other}));
    // Adding again reads the list again without counting it twice.
    ASSERT_TRUE(dialog.AddPaths({other}));
    EXPECT_EQ(dialog.EvaluateFormula("BlockCount(CHAIR,)"), "10");
    dialog.m_drawingList.Select(other);
    dialog.Remove();
    EXPECT_EQ(dialog.EvaluateFormula("BlockCount(CHAIR,)"), "5");
}

TEST_F(CountBlockTest, AMissingFileIsPassedOverWithoutAWord) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.AddPaths({File("missing.dxf")}));
    EXPECT_EQ(dialog.m_drawingList.Paths().GetSize(), 0);
    EXPECT_TRUE(Boxes().empty());
}

TEST_F(CountBlockTest, ADrawingThatFailsToReadSaysSoAndKeepsTheButtonsDisabled) {
    const std::string bad = File("bad.dxf");
    std::ofstream(bad) << "0\nSECTION\n2\nENTITIES\n0\nLINE\n10\nnot a number";
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    EXPECT_FALSE(dialog.AddPaths({bad}));
    ASSERT_EQ(Boxes().size(), 1u);
    EXPECT_EQ(Boxes()[0].rfind("Failed to read " + bad + ": ", 0), 0u) << Boxes()[0];
    EXPECT_EQ(ui.Shown()[0].title, "Orvane Velmar");
    EXPECT_FALSE(dialog.buttonsEnabled);
}

TEST_F(CountBlockTest, IncludeCurrentDrawingIsStoredAtOnceAndReadsNothing) {
    CRegistry::SetInt("Velmar", "IncludeCurrentDrawing", 0);
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    dialog.OnIncludeCurrent(true);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "IncludeCurrentDrawing", 0), 1);
    dialog.FillCombos();
    // The current drawing is read only when the dialog opens.
    EXPECT_EQ(dialog.EvaluateFormula("BlockCount(CHAIR,)"), "0");
    ASSERT_EQ(dialog.m_layers.GetSize(), 1);
    EXPECT_EQ(dialog.m_layers[0], "*All*");
}

TEST_F(CountBlockTest, TheComboBoxesListNamesLayersTagsAndValues) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    EXPECT_GE(dialog.m_blockNames.FindString("CHAIR", false), 0);
    EXPECT_GE(dialog.m_blockNames.FindString("TABLE", false), 0);
    EXPECT_EQ(dialog.m_layers[dialog.m_layers.GetUpperBound()], "*All*");
    EXPECT_GE(dialog.m_layers.FindString("Walls", false), 0);
    dialog.OnDropDownTag();
    EXPECT_TRUE(dialog.m_tags.IsEmpty());
    dialog.m_blockName = "chair";
    dialog.OnDropDownTag();
    EXPECT_EQ(dialog.m_tags.GetSize(), 2);
    dialog.OnDropDownValue();
    EXPECT_TRUE(dialog.m_values.IsEmpty());
    dialog.m_tag = "COLOR";
    dialog.OnDropDownValue();
    EXPECT_EQ(dialog.m_values.GetSize(), 4);
}

TEST_F(CountBlockTest, AnEmptyBlockNameIsRefused) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    CCountBlockDialog::Result result;
    EXPECT_FALSE(dialog.InsertFormula(true, result));
    EXPECT_EQ(Boxes(), std::vector<std::string>{"Invalid block name."});
}

TEST_F(CountBlockTest, NoWorkbookSaysToOpenOneFirst) {
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    dialog.m_blockName = "CHAIR";
    CCountBlockDialog::Result result;
    EXPECT_FALSE(dialog.InsertFormula(true, result));
    std::vector<CCountBlockDialog::Result> results;
    EXPECT_FALSE(dialog.UpdateResults(true, results));
    EXPECT_EQ(Boxes(), (std::vector<std::string>{"Please open a workbook first.", "Please open a workbook first."}));
    EXPECT_TRUE(dialog.buttonsEnabled);
}

TEST_F(CountBlockTest, TheFormulaGoesIntoTheActiveCellsCommentAndItsCountIntoItsValue) {
    Book({{"Counts", "A1", "Chairs", ""}}, "C3");
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    dialog.m_blockName = "CHAIR";
    dialog.m_layer = "Walls";
    CCountBlockDialog::Result result;
    ASSERT_TRUE(dialog.InsertFormula(true, result));
    EXPECT_EQ(result.sheet, "Counts");
    EXPECT_EQ(result.address, "$C$3");
    EXPECT_EQ(Value("Counts", "C3"), "5");
    EXPECT_EQ(Comment("Counts", "C3"), "BlockCount(CHAIR,Walls)");
    EXPECT_TRUE(dialog.buttonsEnabled);
}

TEST_F(CountBlockTest, ACellThatAlreadyHasACommentGetsItReplaced) {
    Book({{"Counts", "B2", "7", "an old note"}}, "B2");
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    dialog.m_blockName = "TABLE";
    CCountBlockDialog::Result result;
    ASSERT_TRUE(dialog.InsertFormula(true, result));
    EXPECT_EQ(result.before, "7");
    EXPECT_EQ(Comment("Counts", "B2"), "BlockCount(TABLE,)");
    EXPECT_EQ(Value("Counts", "B2"), "1");
}

TEST_F(CountBlockTest, ADryRunWritesNothing) {
    Book({{"Counts", "B2", "7", "an old note"}}, "B2");
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    dialog.m_blockName = "TABLE";
    CCountBlockDialog::Result result;
    ASSERT_TRUE(dialog.InsertFormula(false, result));
    EXPECT_EQ(result.after, "1");
    EXPECT_EQ(Comment("Counts", "B2"), "an old note");
    EXPECT_EQ(Value("Counts", "B2"), "7");
}

TEST_F(CountBlockTest, ACommentThatIsNoFormulaTurnsItsCellIntoZeroOnUpdate) {
    Book({{"Counts", "A1", "old", "BlockCount(CHAIR,)"},
          {"Counts", "A2", "keep me", "just a note"},
          {"More", "D4", "", "AttCount(CHAIR,Furniture,COLOR,red)"}},
         "A1");
    CCountBlockDialog dialog;
    dialog.OnInitDialog();
    std::vector<CCountBlockDialog::Result> results;
    ASSERT_TRUE(dialog.UpdateResults(true, results));
    EXPECT_EQ(results.size(), 3u);
    // The sheet active before stays active.
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), "Counts");
    ExcelUtils::Disconnect();
    EXPECT_EQ(Value("Counts", "A1"), "5");
    EXPECT_EQ(Value("Counts", "A2"), "0");
    EXPECT_EQ(Value("More", "D4"), "1");
}

}  // namespace

}  // namespace attbat
