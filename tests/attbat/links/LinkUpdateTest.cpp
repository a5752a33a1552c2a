// The update of a drawing from the workbooks its references are linked to: which comment lines
// count, which workbooks are read, what reaches the drawing, and the running spreadsheet left as
// it was found.

#include "attbat/links/LinkUpdate.h"

#include <filesystem>

#include "LinkFixture.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/links/CAttLinkDataCache.h"
#include "attbat/links/LinkCommands.h"
#include "host/WorkingDatabase.h"

namespace attbat {
namespace {

// Counts the text's occurrences of `part`.
int Count(const std::string& text, const std::string& part) {
    int n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

TEST_F(LinkTest, ADrawingWithoutLinkedReferencesLoadsWithoutTouchingTheSpreadsheet) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    CountingServer counting(*backend->backend);
    excel::SetCurrentServer(&counting);
    UpdateAttributesFromLink2();
    EXPECT_EQ(counting.reached, 0);
    EXPECT_EQ(Attribute("DE", "MARK"), "D01");
    EXPECT_FALSE(current->Database().IsModified());
}

TEST_F(LinkTest, TheLinkedWorkbooksValuesReachTheReferences) {
    Book({{"A2", "D99", Key("<DE_MARK>")}, {"B2", "1100", Key("<DE_WIDTH>")}, {"A3", "D77", Key("<E5_MARK>")}});
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    EXPECT_EQ(Attribute("DE", "WIDTH"), "1100");
    // Every key of the workbook counts, not only those of the linked references.
    EXPECT_EQ(Attribute("E5", "MARK"), "D77");
    EXPECT_EQ(Count(Told(), "Successfully update " + drawing + "."), 1);
}

TEST_F(LinkTest, WithIgnorePropertiesOnAPropertyLineIsPassedOverWhileAttributeLinesAreTaken) {
    Book({{"A2", "D99", Key("<DE_MARK>")}, {"B2", "A-WALL", Key("<DE:Layer>")}});
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    EXPECT_EQ(arxutils::LayerNameOf(Reference("DE")), "A-DOOR");
}

TEST_F(LinkTest, WithIgnorePropertiesOffAPropertyLineIsTakenToo) {
    CRegistry::SetInt("Velmar", "AutoUpdateIgnoreProp", 0);
    Book({{"A2", "D99", Key("<DE_MARK>")}, {"B2", "A-WALL", Key("<DE:Layer>")}});
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    EXPECT_EQ(arxutils::LayerNameOf(Reference("DE")), "A-WALL");
}

TEST_F(LinkTest, EverySheetOfTheWorkbookIsReadAndTheActiveOneStaysActive) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    ASSERT_TRUE(ExcelUtils::AddOrActivateSheet("Windows"));
    ExcelUtils::Worksheet->GetRange("A2")->SetValue(excel::Variant::String("W99"));
    ExcelUtils::SetComment("A2", Key("<101_MARK>"));
    ASSERT_TRUE(ExcelUtils::ActivateSheet("Doors"));
    ExcelUtils::Disconnect();
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    EXPECT_EQ(Attribute("101", "MARK"), "W99");
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), "Doors");
}

TEST_F(LinkTest, TwoLinksThatDifferOnlyInCaseOpenTheWorkbookTwice) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    // Where file names are compared without case, the two name one file.
    const std::string other = File("BOOK.xlsx");
    std::filesystem::create_symlink(book, other);
    Link({"DE"}, book);
    Link({"E5"}, other);
    UpdateAttributesFromLink2();
    EXPECT_EQ(Count(Told(), "Successfully update " + drawing + "."), 2);
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
}

TEST_F(LinkTest, AMissingWorkbookIsToldAndTheOthersFollow) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    const std::string gone = File("moved/book.xlsx");
    Link({"E5"}, gone);
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    EXPECT_NE(Printed().find("Cannot to find " + gone + "."), std::string::npos);
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
}

TEST_F(LinkTest, KeysOfAnotherDrawingAreSkippedWithoutAWord) {
    Book({{"A2", "D99", File("folder/other.dxf") + "<DE_MARK>"}});
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    EXPECT_EQ(Attribute("DE", "MARK"), "D01");
    EXPECT_EQ(Printed().find("Skip the attribute values"), std::string::npos);
}

TEST_F(LinkTest, AWorkbookThatAgreesWithTheDrawingChangesNothing) {
    Book({{"A2", "D01", Key("<DE_MARK>")}, {"B2", "900", Key("<DE_WIDTH>")}});
    Link({"DE"}, book);
    Reopen();
    const std::string before = Slurp(drawing);
    UpdateAttributesFromLink2();
    EXPECT_FALSE(current->Database().IsModified());
    ASSERT_TRUE(host::DocumentManager::Instance().SaveAll());
    EXPECT_EQ(Slurp(drawing), before);
    EXPECT_FALSE(std::filesystem::exists(File("folder/plan.bak")));
}

TEST_F(LinkTest, TheRunningSpreadsheetKeepsItsActiveWorkbookAndClosesWhatTheUpdateOpened) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    const std::string linked = book;
    const std::string given = File("given.xlsx");
    std::filesystem::copy_file(linked, given);
    backend.reset();
    excel::FileBackendOptions options;
    options.workbook = given;
    backend = std::make_unique<testing::BackendScope>(options);
    Link({"DE"}, linked);
    UpdateAttributesFromLink2();
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    EXPECT_EQ(ExcelUtils::Workbook->FullName(), given);
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 1);
    EXPECT_FALSE(backend->backend->HasChanges());
}

TEST_F(LinkTest, AnInstanceTheUpdateStartedIsEndedAgain) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    NoInstance();
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    EXPECT_FALSE(ExcelUtils::ConnectToExcel(false));
}

TEST_F(LinkTest, ASpreadsheetThatCannotBeStartedIsSaidInABox) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    NoInstance();
    CountingServer counting(*backend->backend);
    counting.refuseToStart = true;
    excel::SetCurrentServer(&counting);
    Link({"DE"}, book);
    UpdateAttributesFromLink2();
    ASSERT_FALSE(ui.Shown().empty());
    EXPECT_EQ(ui.Shown().back().text, "Cannot start Excel.");
    EXPECT_EQ(Attribute("DE", "MARK"), "D01");
}

TEST_F(LinkTest, TheLoadOfADrawingUpdatesOnlyWhileAutoUpdateAttIsSet) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    Link({"DE"}, book);
    ImplementLinkCommands(TheApp());
    TheApp().uploadAtLoad = false;
    TheApp().updateAtLoad = true;
    TheApp().EntryPoint(kLoadDwgMsg, nullptr);
    EXPECT_EQ(Attribute("DE", "MARK"), "D01");
    CRegistry::SetInt("Velmar", "AutoUpdateAtt", 1);
    TheApp().EntryPoint(kLoadDwgMsg, nullptr);
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    // A run that never writes the drawing takes nothing at its load.
    SetAttribute("DE", "MARK", "D01");
    TheApp().updateAtLoad = false;
    TheApp().EntryPoint(kLoadDwgMsg, nullptr);
    EXPECT_EQ(Attribute("DE", "MARK"), "D01");
    TheApp().updateAtLoad = true;
    TheApp().uploadAtLoad = true;
}

// A comment whose lines name no attribute or property never asks for its cell.
class CountingComment : public excel::Comment {
public:
    explicit CountingComment(std::string text) : text_(std::move(text)) {}
    std::string Text() override { return text_; }
    std::unique_ptr<excel::Range> Parent() override {
        ++parents;
        throw excel::AutomationError(excel::kErrException, "the cell was read");
    }
    void Delete() override {}
    int parents = 0;

private:
    std::string text_;
};

TEST(LinkCommentLinesTest, ACommentWhoseLinesAllFailTheTestsReadsNoCell) {
    CountingComment comment("_DE\n:Layer\nplain words\n\n");
    arxutils::KeyLines map;
    ExcelUtils::AddKeyLines(comment, map, false);
    EXPECT_EQ(comment.parents, 0);
    EXPECT_TRUE(map.empty());
    CountingComment property("plan.dxf<DE:Layer>");
    EXPECT_NO_THROW(ExcelUtils::AddKeyLines(property, map, true));
    EXPECT_EQ(property.parents, 0);
}

TEST_F(LinkTest, TheLinesOfASheetComeInKeyOrderWithTheLastCellOfARepeatedKey) {
    Book({{"A2", "first", Key("<DE_WIDTH>")}, {"A3", "D99", Key("<DE_MARK>")}, {"A4", "second", Key("<DE_WIDTH>")}});
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    ImportMap map;
    EXPECT_TRUE(ReadCommentAndText(map, true));
    ASSERT_EQ(map.size(), 2u);
    EXPECT_EQ(map[0].value, "D99");
    EXPECT_EQ(map[1].value, "second");
}

TEST_F(LinkTest, ASheetWhoseCommentsCannotBeHadIsSaidInABox) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    ImportMap map;
    EXPECT_TRUE(ReadCommentAndText(map, true));
    EXPECT_EQ(map.size(), 1u);
    ExcelUtils::Worksheet.reset();
    EXPECT_FALSE(ReadCommentAndText(map, true));
    ASSERT_FALSE(ui.Shown().empty());
    EXPECT_EQ(ui.Shown().back().text, "Unknown error in ReadCommentAndText");
}

class DrawingLinkCacheTest : public LinkTest {
protected:
    void SetUp() override {
        LinkTest::SetUp();
        LinkDataCache().RemoveAll();
        lastCachedUpdate = 0;
    }
    void TearDown() override {
        LinkDataCache().RemoveAll();
        lastCachedUpdate = 0;
        LinkTest::TearDown();
    }
    // Rewrites one cell of the workbook file, as another program's save would.
    void Rewrite(const std::string& value) {
        backend.reset();
        excel::FileBackendOptions options;
        options.workbook = book;
        {
            testing::BackendScope scope(options);
            ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
            ExcelUtils::Worksheet->GetRange("A2")->SetValue(excel::Variant::String(value));
            ExcelUtils::Disconnect();
            ASSERT_TRUE(scope.Save());
        }
        Attach();
    }
};

TEST_F(DrawingLinkCacheTest, AnUnchangedWorkbookIsNotReadAgain) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    ASSERT_TRUE(SaveLinkToDrawing(&current->Database(), book));
    UpdateAttributesFromLink();
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    ASSERT_EQ(LinkDataCache().GetSize(), 1);
    SetAttribute("DE", "MARK", "D01");
    CountingServer counting(*backend->backend);
    excel::SetCurrentServer(&counting);
    UpdateAttributesFromLink();
    EXPECT_EQ(counting.reached, 0);
    EXPECT_EQ(Attribute("DE", "MARK"), "D99");
    EXPECT_EQ(LinkDataCache().GetSize(), 1);
}

TEST_F(DrawingLinkCacheTest, AChangedWorkbookIsReadAgain) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    ASSERT_TRUE(SaveLinkToDrawing(&current->Database(), book));
    UpdateAttributesFromLink();
    Rewrite("D98-changed");
    UpdateAttributesFromLink();
    EXPECT_EQ(Attribute("DE", "MARK"), "D98-changed");
}

TEST_F(DrawingLinkCacheTest, TheCacheIsDroppedWhenItsIntervalHasPassed) {
    Book({{"A2", "D99", Key("<DE_MARK>")}});
    ASSERT_TRUE(SaveLinkToDrawing(&current->Database(), book));
    UpdateAttributesFromLink();
    CAttLinkDataCache* kept = LinkDataCache().Find(book);
    ASSERT_NE(kept, nullptr);
    kept->values.clear();  // what a dropped cache would no longer hold
    lastCachedUpdate -= 6 * 60;
    CountingServer counting(*backend->backend);
    excel::SetCurrentServer(&counting);
    UpdateAttributesFromLink();
    EXPECT_GT(counting.reached, 0);
    EXPECT_EQ(LinkDataCache().Find(book)->values.size(), 1u);
}

TEST_F(DrawingLinkCacheTest, AMissingWorkbookIsToldAndNothingIsKept) {
    ASSERT_TRUE(SaveLinkToDrawing(&current->Database(), File("gone.xlsx")));
    UpdateAttributesFromLink();
    EXPECT_NE(Printed().find("Failed to find " + File("gone.xlsx") + "."), std::string::npos);
    EXPECT_EQ(LinkDataCache().GetSize(), 0);
}

TEST_F(DrawingLinkCacheTest, ADrawingWithoutADrawingLinkDoesNothing) {
    UpdateAttributesFromLink();
    EXPECT_EQ(LinkDataCache().GetSize(), 0);
    EXPECT_EQ(lastCachedUpdate, 0);
}

}  // namespace
}  // namespace attbat
