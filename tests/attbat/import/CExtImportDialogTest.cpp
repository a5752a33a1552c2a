// The dialog of the import by key attribute, driven as a front end drives it: the sample floor
// plan as the current drawing, small drawings of its own for the drawing list, workbooks through
// the file backend, and a recording message box.

#include "attbat/import/CExtImportDialog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fmt/format.h>

#include "../export/ExportTestSupport.h"
#include "../frame/FrameFixture.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/frame/CRegistry.h"
#include "base/File.h"
#include "base/Path.h"
#include "host/Document.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"
#include "xl/Workbook.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

const std::string kSample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";
constexpr const char* kBox = "Orvane Velmar";

struct BlockSpec {
    std::string name;
    std::vector<std::string> tags;
};

// A drawing of these blocks, each with its attribute definitions and one reference.
std::string SmallDrawing(const std::vector<BlockSpec>& blocks) {
    std::string dxf = "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$HANDSEED\n5\nFFFFFF\n0\nENDSEC\n"
                      "0\nSECTION\n2\nBLOCKS\n";
    int handle = 0x100;
    auto next = [&handle] { return fmt::format("{:X}", ++handle); };
    for (const BlockSpec& block : blocks) {
        dxf += fmt::format("0\nBLOCK\n5\n{}\n8\n0\n2\n{}\n70\n2\n10\n0\n20\n0\n30\n0\n3\n{}\n", next(), block.name,
                           block.name);
        int x = 0;
        for (const std::string& tag : block.tags) {
            dxf += fmt::format("0\nATTDEF\n5\n{}\n8\n0\n10\n{}\n20\n0\n30\n0\n40\n1\n1\nx\n3\n{}?\n2\n{}\n70\n0\n",
                               next(), ++x, tag, tag);
        }
        dxf += fmt::format("0\nENDBLK\n5\n{}\n8\n0\n", next());
    }
    dxf += "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n";
    for (const BlockSpec& block : blocks) {
        dxf += fmt::format("0\nINSERT\n5\n{}\n8\n0\n2\n{}\n10\n0\n20\n0\n30\n0\n", next(), block.name);
    }
    return dxf + "0\nENDSEC\n0\nEOF\n";
}

// A message box that asks Ctrl-C's question: pressing it while a meter runs is its "Cancel".
class CancellingUi : public host::RecordingUi {
public:
    host::BoxAnswer MessageBox(const host::ShownBox& box) override {
        if (cancelOnBox) std::raise(SIGINT);
        return RecordingUi::MessageBox(box);
    }
    bool cancelOnBox = false;
};

class CExtImportDialogTest : public FrameTest {
protected:
    testing::TempFolder temp;
    CancellingUi ui;
    std::string current = temp / "floor.dxf";

    void SetUp() override {
        FrameTest::SetUp();
        host::SetCurrentUi(&ui);
        host::DocumentManager::Instance().CloseAll();
        std::filesystem::copy_file(kSample, current);
        CExtImportDialog::LastDrawingFolder().clear();
    }
    void TearDown() override {
        host::DocumentManager::Instance().CloseAll();
        ExcelUtils::Disconnect();
        host::SetCurrentUi(nullptr);
        host::ProgressMeter::ResetCancel();
        FrameTest::TearDown();
    }
    // Makes the sample copy the current drawing.
    void OpenCurrent() {
        auto opened = host::DocumentManager::Instance().OpenCurrent(current);
        ASSERT_TRUE(opened) << opened.GetStatus().Message();
    }
    // A drawing file of these blocks in the test's folder.
    std::string Drawing(const std::string& name, const std::vector<BlockSpec>& blocks) {
        std::string path = temp / name;
        EXPECT_TRUE(base::WriteFileAtomic(path, SmallDrawing(blocks)));
        return path;
    }
    // A workbook whose sheets are `sheets`, the one at `active` active.
    std::string Workbook(const std::string& name, const std::vector<std::string>& sheets, int active) {
        std::string path = temp / name;
        auto book = xl::Workbook::Create();
        EXPECT_TRUE(book->RenameSheet(*book->Sheet(0), sheets[0]));
        for (std::size_t i = 1; i < sheets.size(); ++i) EXPECT_TRUE(book->AddSheet(sheets[i]));
        book->Activate(active);
        EXPECT_TRUE(book->Save(path));
        return path;
    }
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const host::ShownBox& box : ui.Shown()) texts.push_back(box.text);
        return texts;
    }
    static std::vector<std::string> BlockNames(const CExtImportDialog& dialog) {
        std::vector<std::string> names;
        for (const auto& row : dialog.m_blockList) names.push_back(row.name);
        return names;
    }
    static bool Listed(const std::vector<std::string>& list, const std::string& text) {
        return std::find(list.begin(), list.end(), text) != list.end();
    }
    // A dialog that passes every check in header mode: an existing workbook, a sheet, row 1, DOOR
    // ticked and the key MARK.
    void MakeValid(CExtImportDialog& dialog) {
        dialog.m_options.Workbook = Workbook("valid.xlsx", {"Sheet1"}, 0);
        dialog.m_options.Worksheet = "Sheet1";
        dialog.SetAttTagOption(0);
        dialog.m_options.HeaderRow = 1;
        dialog.TickBlocks({"DOOR"}, true);
        dialog.m_options.KeyTag = "MARK";
    }
};

// --- Controls ---

TEST(CExtImportDialogControls, EveryControlHasItsKeyKindLabelAndValueName) {
    struct Expected {
        const char* key;
        ControlKind kind;
        const char* label;
        std::vector<std::string> choices;
        const char* valueName;
        bool repeatable;
    };
    const std::vector<Expected> expected = {
        {"workbook", ControlKind::Text, "Workbook:", {}, "FILE", false},
        {"worksheet", ControlKind::Text, "Worksheet:", {}, "NAME", false},
        {"all-worksheets", ControlKind::Check, "All Worksheets", {}, "", false},
        {"selected-rows-only", ControlKind::Check, "Selected Rows Only", {}, "", false},
        {"tags-from", ControlKind::Choice, "Header Row for Attribute Tags: / Specify Columns for Attribute Tags",
         {"header-row", "columns"}, "", false},
        {"header-row", ControlKind::Text, "Header Row for Attribute Tags: the row number (1 to 675)", {}, "N", false},
        {"column", ControlKind::List, "Column: / Att Tag: / Add: a column and the attribute tag it holds, e.g. C=MARK",
         {}, "COLUMN=TAG", true},
        {"remove-column", ControlKind::List, "Remove: columns to take off the column list", {}, "COLUMNS", true},
        {"block", ControlKind::List, "Block: the blocks to tick, names or wildcards (\"*\": all)", {}, "NAMES", true},
        {"untick-block", ControlKind::List, "Block: the blocks to untick, names or wildcards", {}, "NAMES", true},
        {"key", ControlKind::Text, "Key Attribute Tag:", {}, "TAG", false},
        {"use-wildcards", ControlKind::Check, "Use wildcards in key attribute value.", {}, "", false},
        {"drawings-from", ControlKind::Choice, "Current Drawing / Select Drawings", {"current", "selected"}, "", false},
        {"add-drawings", ControlKind::List, "Add: drawings for the drawing list", {}, "FILES", true},
        {"remove-drawings", ControlKind::List, "Remove: drawings to take off the drawing list", {}, "FILES", true},
        {"list", ControlKind::Text, "the drawing list from a .lst file (one path a line)", {}, "FILE.lst", false},
        {"save-as-current-version", ControlKind::Check, "Save as current dwg version", {}, "", false},
        {"options", ControlKind::Text, "Load Settings from File", {}, "FILE.vlo", false},
        {"save-options", ControlKind::Text, "Save Settings to File", {}, "FILE.vlo", false},
    };
    const std::vector<Control>& controls = CExtImportDialog::Controls();
    ASSERT_EQ(controls.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i].key);
        EXPECT_EQ(controls[i].key, expected[i].key);
        EXPECT_EQ(controls[i].kind, expected[i].kind);
        EXPECT_EQ(controls[i].label, expected[i].label);
        EXPECT_EQ(controls[i].choices, expected[i].choices);
        EXPECT_EQ(controls[i].valueName, expected[i].valueName);
        EXPECT_EQ(controls[i].repeatable, expected[i].repeatable);
    }
    EXPECT_EQ(CExtImportDialog::title, "Import Attribute Values by Key Attribute");
}

// --- Initialisation ---

TEST_F(CExtImportDialogTest, TheColumnPickerOffersTheLettersOfColumnsOneTo675) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    ASSERT_EQ(dialog.m_columnChoices.size(), 675u);
    EXPECT_EQ(dialog.m_columnChoices.front(), "A");
    EXPECT_EQ(dialog.m_columnChoices[25], "Z");
    EXPECT_EQ(dialog.m_columnChoices[26], "AA");
    EXPECT_EQ(dialog.m_columnChoices.back(), "YY");
}

TEST_F(CExtImportDialogTest, TheTagPickerHoldsEveryTagOfTheCurrentDrawingThenDwgFile) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    ASSERT_TRUE(dialog.CurrentReadStatus()) << dialog.CurrentReadStatus().Message();
    for (const char* tag : {"MARK", "WIDTH", "GLAZING", "ASSET_ID", "SEAT_NO", "NUMBER", "PROJECT"}) {
        EXPECT_TRUE(Listed(dialog.m_attTagChoices, tag)) << tag;
    }
    EXPECT_EQ(dialog.m_attTagChoices.back(), "DWG File");
    EXPECT_EQ(std::count(dialog.m_attTagChoices.begin(), dialog.m_attTagChoices.end(), "MARK"), 1);
}

TEST_F(CExtImportDialogTest, TheBlockListHoldsTheCurrentDrawingsBlocksTickedFromTheStoredNames) {
    CRegistry::SetString("Velmar", std::string_view("ExtImportBlockName"), std::string_view("door;WINDOW;GONE;"));
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    std::vector<std::string> names = BlockNames(dialog);
    for (const char* block : {"DOOR", "WINDOW", "EQUIPMENT", "CHAIR", "DESK_SET", "ROOMTAG", "TITLEBLOCK"}) {
        EXPECT_TRUE(Listed(names, block)) << block;
    }
    EXPECT_FALSE(Listed(names, "GONE"));
    // In the order of the list, which is the reader's.
    EXPECT_EQ(dialog.CheckedBlocks(), (std::vector<std::string>{"WINDOW", "DOOR"}));
}

TEST_F(CExtImportDialogTest, WithoutACurrentDrawingTheListsHoldNoneOfItsBlocks) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.CurrentReadStatus());
    EXPECT_TRUE(dialog.m_blockList.empty());
    EXPECT_EQ(dialog.m_attTagChoices, std::vector<std::string>{"DWG File"});
    EXPECT_EQ(dialog.KeyTagChoices(), std::vector<std::string>{"DWG File"});
}

TEST_F(CExtImportDialogTest, OpeningLoadsTheStoredOptionsAndLists) {
    CImportByKeyAttOpt stored;
    stored.KeyTag = "MARK";
    stored.AttTagOption = 0;
    stored.DrawingOption = 1;
    stored.UseWildcardInKeyAttTag = 1;
    stored.Drawings = {"/plans/a.dxf"};
    stored.ColumnToTag = {{"C", "MARK"}, {"D", "WIDTH"}};
    ASSERT_TRUE(stored.SaveSettings());
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_options.KeyTag, "MARK");
    EXPECT_EQ(dialog.m_options.AttTagOption, 0);
    EXPECT_EQ(dialog.m_options.DrawingOption, 1);
    EXPECT_EQ(dialog.m_options.UseWildcardInKeyAttTag, 1);
    ASSERT_EQ(dialog.m_drawingList.size(), 1u);
    EXPECT_EQ(dialog.m_drawingList[0].drawing, "a.dxf");
    EXPECT_EQ(dialog.m_drawingList[0].folder, "/plans/");
    ASSERT_EQ(dialog.m_columnList.size(), 2u);
    EXPECT_EQ(dialog.m_columnList[1].column, "D");
    EXPECT_EQ(dialog.m_columnList[1].tag, "WIDTH");
}

TEST_F(CExtImportDialogTest, OpeningTakesTheAttachedWorkbookAndSheetAndLetsGoOfThem) {
    std::string book = Workbook("rooms.xlsx", {"Rooms", "Doors"}, 1);
    excel::FileBackendOptions options;
    options.workbook = book;
    testing::BackendScope scope(options);
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_options.Workbook, book);
    EXPECT_EQ(dialog.m_options.Worksheet, "Doors");
    EXPECT_FALSE(ExcelUtils::Application);
    EXPECT_FALSE(ExcelUtils::Workbook);
}

TEST_F(CExtImportDialogTest, WithNoSpreadsheetRunningTheWorkbookFieldsStayEmpty) {
    excel::FileBackendOptions options;
    testing::BackendScope scope(options);
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_options.Workbook, "");
    EXPECT_EQ(dialog.m_options.Worksheet, "");
    EXPECT_TRUE(ui.Shown().empty());
}

// --- Enabling ---

TEST_F(CExtImportDialogTest, AllWorksheetsTurnsSelectedRowsOnlyAndTheSheetFieldOff) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.SelectedRowsOnlyEnabled());
    EXPECT_TRUE(dialog.WorksheetEnabled());
    ASSERT_TRUE(dialog.SetAllWorksheets(true));
    EXPECT_FALSE(dialog.SelectedRowsOnlyEnabled());
    EXPECT_FALSE(dialog.WorksheetEnabled());
    EXPECT_TRUE(dialog.AllWorksheetsEnabled());
    EXPECT_FALSE(dialog.SetSelectedRowsOnly(true));
    EXPECT_EQ(dialog.m_options.SelectedRowsOnly, 0);
    ASSERT_TRUE(dialog.SetAllWorksheets(false));
    EXPECT_TRUE(dialog.SelectedRowsOnlyEnabled());
    EXPECT_TRUE(dialog.WorksheetEnabled());
}

TEST_F(CExtImportDialogTest, SelectedRowsOnlyTurnsAllWorksheetsOff) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    ASSERT_TRUE(dialog.SetSelectedRowsOnly(true));
    EXPECT_FALSE(dialog.AllWorksheetsEnabled());
    EXPECT_TRUE(dialog.WorksheetEnabled());
    EXPECT_FALSE(dialog.SetAllWorksheets(true));
    EXPECT_EQ(dialog.m_options.AllWorksheets, 0);
    EXPECT_TRUE(dialog.SetAllWorksheets(false));  // no change is no refusal
    ASSERT_TRUE(dialog.SetSelectedRowsOnly(false));
    EXPECT_TRUE(dialog.AllWorksheetsEnabled());
}

TEST_F(CExtImportDialogTest, TheHeaderPickerIsOnInHeaderModeAndTheColumnControlsInColumnMode) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    ASSERT_TRUE(dialog.SetAttTagOption(0));
    EXPECT_TRUE(dialog.HeaderRowEnabled());
    EXPECT_FALSE(dialog.ColumnControlsEnabled());
    ASSERT_TRUE(dialog.SetAttTagOption(1));
    EXPECT_FALSE(dialog.HeaderRowEnabled());
    EXPECT_TRUE(dialog.ColumnControlsEnabled());
    EXPECT_FALSE(dialog.SetAttTagOption(2));
    EXPECT_EQ(dialog.m_options.AttTagOption, 1);
}

TEST_F(CExtImportDialogTest, TheDrawingListItsButtonsAndRefreshAreOnOnlyForSelectedDrawings) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    ASSERT_TRUE(dialog.SetDrawingOption(0));
    EXPECT_FALSE(dialog.DrawingListEnabled());
    EXPECT_FALSE(dialog.RefreshEnabled());
    ASSERT_TRUE(dialog.SetDrawingOption(1));
    EXPECT_TRUE(dialog.DrawingListEnabled());
    EXPECT_TRUE(dialog.RefreshEnabled());
    EXPECT_FALSE(dialog.SetDrawingOption(-1));
    EXPECT_EQ(dialog.m_options.DrawingOption, 1);
}

// --- Browse ---

TEST_F(CExtImportDialogTest, BrowsingOpensTheWorkbookAndItsActiveSheetFillsTheSheetField) {
    std::string book = Workbook("browse.xlsx", {"Rooms", "Doors", "Windows"}, 2);
    excel::FileBackendOptions options;
    testing::BackendScope scope(options);
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.BrowseWorkbook(book));
    EXPECT_EQ(dialog.m_options.Workbook, book);
    EXPECT_EQ(dialog.m_options.Worksheet, "Windows");
    EXPECT_FALSE(ExcelUtils::Application);
}

TEST_F(CExtImportDialogTest, BrowsingTakesTheWorkbookFromTheRunningInstanceWhenItRuns) {
    std::string running = Workbook("running.xlsx", {"Sheet1"}, 0);
    std::string book = Workbook("other.xlsx", {"Rooms", "Doors"}, 1);
    excel::FileBackendOptions options;
    options.workbook = running;
    testing::BackendScope scope(options);
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.BrowseWorkbook(book));
    EXPECT_EQ(dialog.m_options.Workbook, book);
    EXPECT_EQ(dialog.m_options.Worksheet, "Doors");
    EXPECT_FALSE(ExcelUtils::Workbook);
}

// --- The drawing list ---

TEST_F(CExtImportDialogTest, AddedDrawingsShowFileAndFolderAndAreStoredAtOnce) {
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    std::string b = Drawing("b.dxf", {{"VALVE", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.AddDrawings({a, b});
    EXPECT_TRUE(ui.Shown().empty());
    ASSERT_EQ(dialog.m_drawingList.size(), 2u);
    EXPECT_EQ(dialog.m_drawingList[0].drawing, "a.dxf");
    EXPECT_EQ(dialog.m_drawingList[0].folder + dialog.m_drawingList[0].drawing, a);
    EXPECT_EQ(dialog.m_drawingList[1].drawing, "b.dxf");
    EXPECT_EQ(CRegistry::GetList("DrawingList"), (std::vector<std::string>{a, b}));
    EXPECT_EQ(dialog.FindDrawingRow(b), 1);
    EXPECT_EQ(dialog.FindDrawingRow(temp / "c.dxf"), -1);
    EXPECT_EQ(CExtImportDialog::LastDrawingFolder(), temp.path.string() + "/");
}

TEST_F(CExtImportDialogTest, APathListedAlreadyIsPassedOver) {
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.AddDrawings({a});
    dialog.AddDrawings({a, a});
    EXPECT_EQ(dialog.m_drawingList.size(), 1u);
    EXPECT_EQ(dialog.m_options.Drawings.GetSize(), 1);
}

TEST_F(CExtImportDialogTest, ADrawingTheReaderCantReadIsSaidAndLeftOut) {
    std::string missing = temp / "missing.dxf";
    std::string good = Drawing("good.dxf", {{"PUMP", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.AddDrawings({missing, good});
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].title, kBox);
    EXPECT_EQ(ui.Shown()[0].text.rfind("Failed to read " + missing + ": ", 0), 0u) << ui.Shown()[0].text;
    EXPECT_EQ(dialog.m_options.Drawings, tables::CStringArrayEx{good});
}

TEST_F(CExtImportDialogTest, ADwgDrawingIsRefusedWithWhatToDo) {
    std::string dwg = temp / "old.dwg";
    ASSERT_TRUE(base::WriteFileAtomic(dwg, "AC1032 binary"));
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.AddDrawings({dwg});
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_NE(ui.Shown()[0].text.find("Failed to read " + dwg + ": "), std::string::npos);
    EXPECT_NE(ui.Shown()[0].text.find("convert the drawing to DXF"), std::string::npos) << ui.Shown()[0].text;
    EXPECT_TRUE(dialog.m_drawingList.empty());
}

TEST_F(CExtImportDialogTest, RemovingDrawingsAsksFirstAndNoKeepsThem) {
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    std::string b = Drawing("b.dxf", {{"VALVE", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.AddDrawings({a, b});
    ui.QueueAnswer(host::BoxAnswer::No);
    EXPECT_FALSE(dialog.RemoveDrawings({0}));
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "Are you sure you want to remove the drawing(s) from the drawing list?");
    EXPECT_EQ(ui.Shown()[0].title, kBox);
    EXPECT_EQ(ui.Shown()[0].buttons, host::BoxButtons::YesNo);
    EXPECT_EQ(dialog.m_drawingList.size(), 2u);

    ui.QueueAnswer(host::BoxAnswer::Yes);
    EXPECT_TRUE(dialog.RemoveDrawings({0}));
    ASSERT_EQ(dialog.m_drawingList.size(), 1u);
    EXPECT_EQ(dialog.m_drawingList[0].drawing, "b.dxf");
    EXPECT_EQ(dialog.m_options.Drawings, tables::CStringArrayEx{b});
    EXPECT_EQ(CRegistry::GetList("DrawingList"), std::vector<std::string>{b});
}

TEST_F(CExtImportDialogTest, RemovingNoRowsAsksNothing) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_FALSE(dialog.RemoveDrawings({}));
    EXPECT_FALSE(dialog.RemoveDrawings({3, -1}));
    EXPECT_TRUE(ui.Shown().empty());
}

TEST_F(CExtImportDialogTest, RemovingSeveralDrawingsAsksOnceAndTakesTheirBlocksAlong) {
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    std::string b = Drawing("b.dxf", {{"VALVE", {"TAG"}}});
    std::string c = Drawing("c.dxf", {{"TANK", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetDrawingOption(1);
    dialog.AddDrawings({a, b, c});
    EXPECT_EQ(BlockNames(dialog), (std::vector<std::string>{"PUMP", "VALVE", "TANK"}));
    EXPECT_TRUE(dialog.RemoveDrawings({2, 0, 2}));
    EXPECT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(dialog.m_options.Drawings, tables::CStringArrayEx{b});
    EXPECT_EQ(BlockNames(dialog), std::vector<std::string>{"VALVE"});
}

TEST_F(CExtImportDialogTest, TheBlocksOfAddedDrawingsJoinTheBlockListOnlyForSelectedDrawings) {
    OpenCurrent();
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetDrawingOption(0);
    dialog.AddDrawings({a});
    EXPECT_FALSE(Listed(BlockNames(dialog), "PUMP"));
    EXPECT_TRUE(Listed(BlockNames(dialog), "DOOR"));
    std::string b = Drawing("b.dxf", {{"VALVE", {"TAG"}}});
    dialog.SetDrawingOption(1);
    dialog.AddDrawings({b});
    EXPECT_TRUE(Listed(BlockNames(dialog), "PUMP"));
    EXPECT_TRUE(Listed(BlockNames(dialog), "VALVE"));
    EXPECT_TRUE(Listed(BlockNames(dialog), "DOOR"));
}

TEST_F(CExtImportDialogTest, ADrawingListFileReplacesTheList) {
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    std::string b = Drawing("b.dxf", {{"VALVE", {"TAG"}}});
    std::string lst = temp / "plans.lst";
    ASSERT_TRUE(base::WriteFileAtomic(lst, a + "\r\r\n\r\n  " + b + "  \r\n"));
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.AddDrawings({Drawing("old.dxf", {{"OLD", {"TAG"}}})});
    ASSERT_TRUE(dialog.LoadDrawingList(lst));
    EXPECT_EQ(dialog.m_options.Drawings, (tables::CStringArrayEx{a, b}));
    EXPECT_EQ(CRegistry::GetList("DrawingList"), (std::vector<std::string>{a, b}));

    base::Status missing = dialog.LoadDrawingList(temp / "none.lst");
    EXPECT_FALSE(missing);
    EXPECT_NE(missing.Message().find("none.lst"), std::string::npos);
    EXPECT_EQ(dialog.m_options.Drawings, (tables::CStringArrayEx{a, b}));
}

// --- The column list ---

TEST_F(CExtImportDialogTest, AddingAColumnPairRefusesAnEmptyTagABadColumnAndOneTwice) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_FALSE(dialog.AddColumn("C", ""));
    EXPECT_FALSE(dialog.AddColumn("  ", "MARK"));
    EXPECT_FALSE(dialog.AddColumn("-2", "MARK"));
    EXPECT_TRUE(dialog.AddColumn("  C ", "MARK"));
    EXPECT_FALSE(dialog.AddColumn("C", "WIDTH"));
    EXPECT_TRUE(dialog.AddColumn("3", "WIDTH"));  // another text, though the same column
    EXPECT_EQ(Texts(), (std::vector<std::string>{"Attribute tag is invalid.", "Column is invalid.",
                                                 "Column is invalid.", "Column C already exists."}));
    for (const host::ShownBox& box : ui.Shown()) EXPECT_EQ(box.title, kBox);
    ASSERT_EQ(dialog.m_columnList.size(), 2u);
    EXPECT_EQ(dialog.m_columnList[0].column, "C");
    EXPECT_EQ(dialog.m_columnList[0].tag, "MARK");
    EXPECT_EQ(dialog.m_options.ColumnToTag,
              (std::map<std::string, std::string>{{"3", "WIDTH"}, {"C", "MARK"}}));
    std::vector<std::string> columns, tags;
    CRegistry::GetMap("Col2TagMap", columns, tags);
    EXPECT_EQ(columns.size(), 2u);
    EXPECT_EQ(dialog.FindColumnRow("3"), 1);
}

TEST_F(CExtImportDialogTest, RemovingAColumnAsksFirstAndIsStoredAtOnce) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    ASSERT_TRUE(dialog.AddColumn("C", "MARK"));
    ASSERT_TRUE(dialog.AddColumn("D", "WIDTH"));
    ui.QueueAnswer(host::BoxAnswer::No);
    EXPECT_FALSE(dialog.RemoveColumns({0}));
    EXPECT_EQ(dialog.m_columnList.size(), 2u);
    ui.QueueAnswer(host::BoxAnswer::Yes);
    EXPECT_TRUE(dialog.RemoveColumns({dialog.FindColumnRow("C")}));
    EXPECT_EQ(Texts(), std::vector<std::string>(
                           2, "Are you sure you want to remove the column from the column list for the attribute tags?"));
    EXPECT_EQ(ui.Shown()[0].title, kBox);
    ASSERT_EQ(dialog.m_columnList.size(), 1u);
    EXPECT_EQ(dialog.m_columnList[0].column, "D");
    EXPECT_EQ(dialog.m_options.ColumnToTag, (std::map<std::string, std::string>{{"D", "WIDTH"}}));
    std::vector<std::string> columns, tags;
    CRegistry::GetMap("Col2TagMap", columns, tags);
    EXPECT_EQ(columns, std::vector<std::string>{"D"});
}

// --- Refresh ---

TEST_F(CExtImportDialogTest, RefreshListsTheCurrentBlocksAndThoseOfTheListedDrawingsByExactNameOnce) {
    OpenCurrent();
    std::string a = Drawing("a.dxf", {{"DOOR", {"MARK", "LEAF"}}, {"PUMP", {"TAG"}}, {"door", {"MARK"}}});
    std::string b = Drawing("b.dxf", {{"PUMP", {"TAG", "FLOW"}}, {"TANK", {"TAG"}}});
    CImportByKeyAttOpt stored;
    stored.Drawings = {a, b};
    stored.DrawingOption = 1;
    ASSERT_TRUE(stored.SaveSettings());
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    std::vector<std::string> before = BlockNames(dialog);
    EXPECT_FALSE(Listed(before, "PUMP"));  // the listed drawings wait for "Refresh"
    dialog.RefreshBlockList();
    std::vector<std::string> after = BlockNames(dialog);
    EXPECT_EQ(std::vector<std::string>(after.begin(), after.begin() + before.size()), before);
    EXPECT_EQ(std::count(after.begin(), after.end(), "DOOR"), 1);
    EXPECT_EQ(std::count(after.begin(), after.end(), "PUMP"), 1);
    EXPECT_TRUE(Listed(after, "door"));
    EXPECT_TRUE(Listed(after, "TANK"));

    dialog.SetDrawingOption(0);
    dialog.RefreshBlockList();
    EXPECT_EQ(BlockNames(dialog), before);
}

TEST_F(CExtImportDialogTest, RefreshKeepsTheTicksOfTheRowsThatStay) {
    OpenCurrent();
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetDrawingOption(1);
    dialog.AddDrawings({a});
    dialog.TickBlocks({"PUMP", "WINDOW"}, true);
    dialog.RefreshBlockList();
    EXPECT_EQ(dialog.CheckedBlocks(), (std::vector<std::string>{"WINDOW", "PUMP"}));
}

TEST_F(CExtImportDialogTest, RefreshPassesOverAGoneDrawingAndSaysAnUnreadableOne) {
    std::string gone = Drawing("gone.dxf", {{"GONE", {"TAG"}}});
    std::string broken = Drawing("broken.dxf", {{"BROKEN", {"TAG"}}});
    std::string good = Drawing("good.dxf", {{"PUMP", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetDrawingOption(1);
    dialog.AddDrawings({gone, broken, good});
    std::filesystem::remove(gone);
    ASSERT_TRUE(base::WriteFileAtomic(broken, "0\nSECTION\n2\nENTITIES\n0\nINSERT\n"));
    dialog.RefreshBlockList();
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text.rfind("Failed to read " + broken + ": ", 0), 0u) << ui.Shown()[0].text;
    EXPECT_EQ(ui.Shown()[0].title, kBox);
    EXPECT_EQ(BlockNames(dialog), std::vector<std::string>{"PUMP"});
    EXPECT_EQ(dialog.m_options.Drawings.GetSize(), 3);  // the list itself stays
}

TEST_F(CExtImportDialogTest, CancellingTheRefreshKeepsWhatWasReadSoFar) {
    std::string first = Drawing("first.dxf", {{"PUMP", {"TAG"}}});
    std::string broken = Drawing("broken.dxf", {{"BROKEN", {"TAG"}}});
    std::string last = Drawing("last.dxf", {{"TANK", {"TAG"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetDrawingOption(1);
    dialog.AddDrawings({first, broken, last});
    ASSERT_TRUE(base::WriteFileAtomic(broken, "not a drawing"));
    // Ctrl-C while the box of the second drawing is up, with the meter running.
    ui.cancelOnBox = true;
    dialog.RefreshBlockList();
    ui.cancelOnBox = false;
    EXPECT_EQ(BlockNames(dialog), std::vector<std::string>{"PUMP"});
    EXPECT_FALSE(host::ProgressMeter::Cancelled());  // the cancel was this reading's alone
    dialog.RefreshBlockList();
    EXPECT_EQ(BlockNames(dialog), (std::vector<std::string>{"PUMP", "TANK"}));
}

// --- Ticks and the key tag picker ---

TEST_F(CExtImportDialogTest, BlocksAreTickedAndUntickedByNameOrWildcard) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.TickBlocks({"*"}, true), static_cast<int>(dialog.m_blockList.size()));
    EXPECT_EQ(dialog.CheckedBlocks().size(), dialog.m_blockList.size());
    EXPECT_EQ(dialog.TickBlocks({"*"}, false), static_cast<int>(dialog.m_blockList.size()));
    EXPECT_EQ(dialog.TickBlocks({"door", "WIN*"}, true), 2);
    EXPECT_EQ(dialog.CheckedBlocks(), (std::vector<std::string>{"WINDOW", "DOOR"}));
    EXPECT_EQ(dialog.TickBlocks({"D?OR"}, false), 1);
    EXPECT_EQ(dialog.CheckedBlocks(), std::vector<std::string>{"WINDOW"});
    EXPECT_EQ(dialog.TickBlocks({"NOSUCH"}, true), 0);
}

TEST_F(CExtImportDialogTest, TheKeyTagPickerHoldsTheTagsOfTheTickedBlocksOfTheCurrentDrawingThenDwgFile) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetDrawingOption(0);
    EXPECT_EQ(dialog.KeyTagChoices(), std::vector<std::string>{"DWG File"});
    dialog.TickBlocks({"WINDOW"}, true);
    EXPECT_EQ(dialog.KeyTagChoices(), (std::vector<std::string>{"MARK", "WIDTH", "GLAZING", "DWG File"}));
    // Refilled each time it opens.
    dialog.TickBlocks({"ROOMTAG"}, true);
    dialog.TickBlocks({"WINDOW"}, false);
    EXPECT_EQ(dialog.KeyTagChoices(), (std::vector<std::string>{"NUMBER", "NAME", "DWG File"}));
    EXPECT_EQ(dialog.m_keyTagChoices, (std::vector<std::string>{"NUMBER", "NAME", "DWG File"}));
}

TEST_F(CExtImportDialogTest, ForSelectedDrawingsTheKeyTagPickerHoldsTheTagsOfTheDrawingsRead) {
    OpenCurrent();
    std::string a = Drawing("a.dxf", {{"WINDOW", {"MARK", "FRAME"}}, {"PUMP", {"TAG"}}});
    std::string b = Drawing("b.dxf", {{"WINDOW", {"SILL"}}});
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetDrawingOption(1);
    dialog.AddDrawings({a, b});
    dialog.TickBlocks({"WINDOW"}, true);
    // Not GLAZING nor WIDTH: those are the current drawing's window.
    EXPECT_EQ(dialog.KeyTagChoices(), (std::vector<std::string>{"MARK", "FRAME", "SILL", "DWG File"}));
}

// --- Validation, Start and the option file ---

TEST_F(CExtImportDialogTest, StartChecksEachFieldInOrderWithItsOwnMessage) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetAttTagOption(0);
    EXPECT_FALSE(dialog.OnStart());
    dialog.m_options.Workbook = "   ";
    EXPECT_FALSE(dialog.OnStart());
    dialog.m_options.Workbook = temp / "unsaved.xlsx";
    EXPECT_FALSE(dialog.OnStart());
    dialog.m_options.Workbook = "  " + Workbook("saved.xlsx", {"Sheet1"}, 0) + " ";
    EXPECT_FALSE(dialog.OnStart());
    dialog.m_options.Worksheet = " Sheet1 ";
    EXPECT_FALSE(dialog.OnStart());
    dialog.m_options.HeaderRow = 1;
    EXPECT_FALSE(dialog.OnStart());
    dialog.TickBlocks({"DOOR", "WINDOW"}, true);
    dialog.m_options.KeyTag = "  ";
    EXPECT_FALSE(dialog.OnStart());
    dialog.m_options.KeyTag = " mark ";
    EXPECT_TRUE(dialog.OnStart());
    EXPECT_EQ(Texts(), (std::vector<std::string>{"Invalid workbook.", "Invalid workbook.",
                                                 "Please save the workbook first.", "Invalid worksheet.",
                                                 "Header Row is invalid.",
                                                 "Invalid block name.", "Invalid Key Attribute Tag."}));
    for (const host::ShownBox& box : ui.Shown()) EXPECT_EQ(box.title, kBox);
    EXPECT_EQ(dialog.m_options.Workbook, temp / "saved.xlsx");
    EXPECT_EQ(dialog.m_options.Worksheet, "Sheet1");
    EXPECT_EQ(dialog.m_options.KeyTag, "mark");
    EXPECT_EQ(dialog.m_options.BlockNames, "WINDOW;DOOR;");  // list order

    // Column mode: the key's column comes from the pair whose tag is the key, case aside.
    ui.Clear();
    dialog.SetAttTagOption(1);
    dialog.m_options.HeaderRow = 0;  // not looked at in this mode
    EXPECT_FALSE(dialog.OnStart());
    ASSERT_TRUE(dialog.AddColumn("C", "WIDTH"));
    ASSERT_TRUE(dialog.AddColumn("AB", "MARK"));
    EXPECT_TRUE(dialog.OnStart());
    EXPECT_EQ(dialog.m_options.KeyColumn, 28);
    // A pair that came from elsewhere with a column that is none.
    dialog.m_options.ColumnToTag = {{"-4", "MARK"}};
    dialog.m_columnList = {{"-4", "MARK", false}};
    EXPECT_FALSE(dialog.OnStart());
    EXPECT_EQ(Texts(), (std::vector<std::string>{"Cannot find the column for the key attribute .",
                                                 "Invalid column for the key attribute."}));
}

TEST_F(CExtImportDialogTest, AWorkbookOnTheWebNeedsNoFileHere) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    MakeValid(dialog);
    dialog.m_options.Workbook = "https://example.sharepoint.com/sites/plans/Doors.xlsx";
    EXPECT_TRUE(dialog.Validate());
    dialog.m_options.Workbook = "http://example.com/Doors.xlsx";
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(Texts(), std::vector<std::string>{"Please save the workbook first."});
}

TEST_F(CExtImportDialogTest, StartStoresTheSettingsAndAFailedStartStoresNothing) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    MakeValid(dialog);
    dialog.m_options.Worksheet = "";
    EXPECT_FALSE(dialog.OnStart());
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExtImportKeyAttTag", "none"), "none");
    dialog.m_options.Worksheet = "Sheet1";
    dialog.m_options.UseWildcardInKeyAttTag = 1;
    dialog.m_options.SaveAsCurrentDwgVersion = 1;
    EXPECT_TRUE(dialog.OnStart());
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExtImportKeyAttTag", "none"), "MARK");
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExtImportBlockName", "none"), "DOOR;");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExtImportAttTagOpt", -1), 0);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UseWildcardInKeyAttTag", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "SaveAsCurrentDwgVersion", -1), 1);
}

TEST_F(CExtImportDialogTest, KeyColumnSavedAsZeroInHeaderModeIsRecomputedOnlyInColumnMode) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    MakeValid(dialog);
    dialog.m_options.KeyColumn = 0;
    ASSERT_TRUE(dialog.AddColumn("D", "MARK"));
    std::string file = temp / "header.vlo";
    ASSERT_TRUE(dialog.SaveOptionFile(file));

    CExtImportDialog loaded;
    loaded.OnInitDialog();
    loaded.m_options.KeyColumn = 9;
    ASSERT_TRUE(loaded.LoadOptionFile(file));
    EXPECT_EQ(loaded.m_options.KeyColumn, 0);
    EXPECT_TRUE(loaded.Validate());
    EXPECT_EQ(loaded.m_options.KeyColumn, 0);
    loaded.SetAttTagOption(1);
    EXPECT_TRUE(loaded.Validate());
    EXPECT_EQ(loaded.m_options.KeyColumn, 4);
}

TEST_F(CExtImportDialogTest, SavingToAFileChecksFirstThenWritesTheMagicAndTheOptions) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    std::string file = temp / "Untitled.vlo";
    EXPECT_FALSE(dialog.SaveOptionFile(file));
    EXPECT_EQ(Texts(), std::vector<std::string>{"Invalid workbook."});
    EXPECT_FALSE(base::FileExists(file));

    MakeValid(dialog);
    ASSERT_TRUE(dialog.SaveOptionFile(file));
    auto bytes = base::ReadFile(file);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, dialog.m_options.OptionFileBytes());
    EXPECT_EQ(bytes->substr(0, 4), std::string("\xFF\xFE\xFF\x24", 4));
    EXPECT_EQ(dialog.m_options.BlockNames, "DOOR;");
    // Saving a file stores no settings.
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExtImportKeyAttTag", "none"), "none");
}

TEST_F(CExtImportDialogTest, AFileThatCantBeWrittenIsSaid) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    MakeValid(dialog);
    ui.Clear();
    EXPECT_FALSE(dialog.SaveOptionFile(temp / "no-such-folder/x.vlo"));
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_NE(ui.Shown()[0].text.find("x.vlo"), std::string::npos) << ui.Shown()[0].text;
}

TEST_F(CExtImportDialogTest, LoadingAFileReplacesTheListsAndTicksButNotTheCheckBoxes) {
    OpenCurrent();
    std::string a = Drawing("a.dxf", {{"PUMP", {"TAG"}}});
    CImportByKeyAttOpt filed;
    filed.Workbook = "/books/pumps.xlsx";
    filed.Worksheet = "Pumps";
    filed.BlockNames = "PUMP;WINDOW;";
    filed.KeyTag = "TAG";
    filed.AttTagOption = 1;
    filed.DrawingOption = 1;
    filed.KeyColumn = 2;
    filed.Drawings = {a};
    filed.ColumnToTag = {{"B", "TAG"}, {"C", "FLOW"}};
    std::string file = temp / "pumps.vlo";
    ASSERT_TRUE(base::WriteFileAtomic(file, filed.OptionFileBytes()));

    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.SetSelectedRowsOnly(true);
    dialog.m_options.UseWildcardInKeyAttTag = 1;
    dialog.m_options.SaveAsCurrentDwgVersion = 1;
    dialog.m_options.IgnoreDwgFolder = 1;
    ASSERT_TRUE(dialog.AddColumn("Z", "OLD"));
    dialog.TickBlocks({"DOOR"}, true);
    ASSERT_TRUE(dialog.LoadOptionFile(file));
    EXPECT_TRUE(ui.Shown().empty());
    EXPECT_EQ(dialog.m_options.Workbook, "/books/pumps.xlsx");
    EXPECT_EQ(dialog.m_options.Worksheet, "Pumps");
    EXPECT_EQ(dialog.m_options.KeyTag, "TAG");
    EXPECT_EQ(dialog.m_options.DrawingOption, 1);
    ASSERT_EQ(dialog.m_columnList.size(), 2u);
    EXPECT_EQ(dialog.m_columnList[0].column, "B");
    EXPECT_EQ(dialog.m_options.ColumnToTag, filed.ColumnToTag);
    ASSERT_EQ(dialog.m_drawingList.size(), 1u);
    EXPECT_EQ(dialog.m_drawingList[0].drawing, "a.dxf");
    EXPECT_TRUE(Listed(BlockNames(dialog), "PUMP"));
    EXPECT_EQ(dialog.CheckedBlocks(), (std::vector<std::string>{"WINDOW", "PUMP"}));
    EXPECT_EQ(dialog.m_options.SelectedRowsOnly, 1);
    EXPECT_EQ(dialog.m_options.AllWorksheets, 0);
    EXPECT_EQ(dialog.m_options.UseWildcardInKeyAttTag, 1);
    EXPECT_EQ(dialog.m_options.SaveAsCurrentDwgVersion, 1);
    EXPECT_EQ(dialog.m_options.IgnoreDwgFolder, 1);
}

// The dialog's state that a refused file must leave alone.
struct Snapshot {
    std::string bytes;
    std::vector<std::string> blocks, checked, columns, drawings;
    explicit Snapshot(CExtImportDialog& dialog) {
        bytes = dialog.m_options.OptionFileBytes();
        for (const auto& row : dialog.m_blockList) blocks.push_back(row.name);
        checked = dialog.CheckedBlocks();
        for (const auto& row : dialog.m_columnList) columns.push_back(row.column + "=" + row.tag);
        for (const auto& row : dialog.m_drawingList) drawings.push_back(row.folder + row.drawing);
    }
    bool operator==(const Snapshot&) const = default;
};

TEST_F(CExtImportDialogTest, AFileFromAnotherProgramFailsTheMagicTestAndTheDialogKeepsItsContents) {
    OpenCurrent();
    std::string template_ = temp / "schedule.vlt";
    std::string signature = "D947AC3F-6E41-49e9-8CB6-A508362E9A4C";
    std::string bytes("\xFF\xFE\xFF\x24", 4);
    for (char c : signature) bytes += std::string{c, '\0'};
    ASSERT_TRUE(base::WriteFileAtomic(template_, bytes + std::string(64, '\0')));
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    dialog.m_options.Workbook = "/books/mine.xlsx";
    dialog.TickBlocks({"DOOR"}, true);
    ASSERT_TRUE(dialog.AddColumn("C", "MARK"));
    dialog.AddDrawings({Drawing("a.dxf", {{"PUMP", {"TAG"}}})});
    Snapshot before(dialog);
    ui.Clear();
    EXPECT_FALSE(dialog.LoadOptionFile(template_));
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "Invalid Velmar option file: 1.");
    EXPECT_TRUE(Snapshot(dialog) == before);
}

TEST_F(CExtImportDialogTest, ADamagedFileSaysSoAndTheDialogKeepsItsContents) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    MakeValid(dialog);
    ASSERT_TRUE(dialog.AddColumn("C", "MARK"));
    std::string whole = dialog.m_options.OptionFileBytes();
    std::string file = temp / "cut.vlo";
    ASSERT_TRUE(base::WriteFileAtomic(file, whole.substr(0, whole.size() - 3)));
    dialog.m_options.KeyTag = "OTHER";
    dialog.TickBlocks({"WINDOW"}, true);
    Snapshot before(dialog);
    ui.Clear();
    EXPECT_FALSE(dialog.LoadOptionFile(file));
    EXPECT_EQ(Texts(), std::vector<std::string>{"Invalid Velmar option file: 3."});
    EXPECT_TRUE(Snapshot(dialog) == before);
}

TEST_F(CExtImportDialogTest, AFileThatCantBeOpenedShowsTheFileError) {
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    EXPECT_FALSE(dialog.LoadOptionFile(temp / "absent.vlo"));
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_NE(ui.Shown()[0].text.find("absent.vlo"), std::string::npos) << ui.Shown()[0].text;
}

TEST_F(CExtImportDialogTest, AFileSavedByTheDialogLoadsBackIntoAnother) {
    OpenCurrent();
    CExtImportDialog dialog;
    dialog.OnInitDialog();
    MakeValid(dialog);
    dialog.SetAttTagOption(1);
    ASSERT_TRUE(dialog.AddColumn("E", "mark"));
    dialog.TickBlocks({"WINDOW"}, true);
    std::string file = temp / "round.vlo";
    ASSERT_TRUE(dialog.SaveOptionFile(file));

    CExtImportDialog other;
    other.OnInitDialog();
    ASSERT_TRUE(other.LoadOptionFile(file));
    EXPECT_EQ(other.m_options.OptionFileBytes(), dialog.m_options.OptionFileBytes());
    EXPECT_EQ(other.CheckedBlocks(), (std::vector<std::string>{"WINDOW", "DOOR"}));
    EXPECT_EQ(other.m_options.KeyColumn, 5);
}

}  // namespace
}  // namespace attbat
