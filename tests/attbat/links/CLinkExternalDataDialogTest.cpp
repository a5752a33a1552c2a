// "Link External Data": a preview list and its comment table matched against a sheet of a
// workbook through the file backend, the boxes recorded.

#include "attbat/links/CLinkExternalDataDialog.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../export/ExportTestSupport.h"
#include "../frame/FrameFixture.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/model/ScheduleRows.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

// One cell of the sheet made for a test: its value and its comment ("" for none).
struct Cell {
    std::string address;
    std::string value;
    std::string comment = {};
};

// The key comment of a drawing cell, as the export writes it.
std::string Key(const std::string& handle, const std::string& tag) {
    return "C:\\a.dxf<" + handle + "_" + tag + ">";
}

class LinkExternalDataTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        host::SetCurrentUi(&ui);
        view.includeHeader = 0;
    }
    void TearDown() override {
        host::CurrentPrinter().ReleaseHeld(false);
        backend.reset();
        host::SetCurrentUi(nullptr);
        FrameTest::TearDown();
    }

    // A list row: its texts by column as built and the comment of each cell.
    void Row(tables::CStringArrayEx cells, tables::CStringArrayEx comments = {}) {
        texts.push_back(std::make_unique<tables::PackedRow>(cells));
        comments_.emplace_back(comments);
    }
    // A data row of a DOOR reference: block name, MARK and WIDTH, with their keys.
    void Door(const std::string& handle, const std::string& mark,
              const std::string& width = "900") {
        Row({"DOOR", mark, width}, {"", Key(handle, "MARK"), Key(handle, "WIDTH")});
    }
    // The preview list over the rows given, in that order, columns as built.
    CLinkExternalDataDialog::PreviewList List(std::vector<int> order = {}) {
        CLinkExternalDataDialog::PreviewList list;
        for (std::size_t r = 0; r < texts.size(); ++r) {
            list.rows.push_back({texts[r].get(), static_cast<int>(r)});
            list.columnCount = std::max(list.columnCount, texts[r]->GetSize());
        }
        if (order.empty()) {
            for (int c = 0; c < list.columnCount; ++c)
                order.push_back(c);
        }
        list.columnOrder = std::move(order);
        return list;
    }

    // Writes a workbook of `cells` on sheets "Cover" and "Doors" ("Doors" active) and attaches
    // it as the running one.
    void Book(const std::vector<Cell>& cells) {
        book = File("book.xlsx");
        {
            excel::FileBackendOptions made;
            made.output = book;
            made.force = true;
            testing::BackendScope scope(made);
            ASSERT_TRUE(ExcelUtils::StartExcel(false) && ExcelUtils::AddWorkbook());
            ExcelUtils::Worksheet->SetName("Cover");
            ExcelUtils::Worksheet->GetRange("A1")->SetValue(
                excel::Variant::String("Door schedule"));
            ExcelUtils::Worksheet = ExcelUtils::Workbook->GetWorksheets()->Add();
            ExcelUtils::Worksheet->SetName("Doors");
            for (const Cell& cell : cells) {
                ExcelUtils::Worksheet->GetRange(cell.address)
                    ->SetValue(excel::Variant::String(cell.value));
                if (!cell.comment.empty())
                    ExcelUtils::SetComment(cell.address, cell.comment);
            }
            ExcelUtils::Disconnect();
            ASSERT_TRUE(scope.Save());
        }
        excel::FileBackendOptions attach;
        attach.workbook = book;
        backend = std::make_unique<testing::BackendScope>(attach);
    }
    // A sheet of door marks in column B under a header, with a width column beside them.
    void DoorBook() {
        Book({{"A1", "Width"},
              {"B1", "Door"},
              {"A2", "900"},
              {"B2", "D01"},
              {"A3", "1000"},
              {"B3", "D02"},
              {"A4", "900"},
              {"B4", "D03"}});
    }

    // The dialog over the rows given, opened, with the columns set as a user picks them.
    CLinkExternalDataDialog& Open(const std::string& drawingColumn = "B",
                                  const std::string& externalColumn = "B") {
        list = List();
        dialog = std::make_unique<CLinkExternalDataDialog>(&list, &comments_, view);
        dialog->OnInitDialog();
        dialog->m_drawingColumn = drawingColumn;
        dialog->m_externalColumn = externalColumn;
        return *dialog;
    }

    // The comment of a cell of the attached workbook's sheet; "" for none.
    std::string CommentAt(const std::string& address, const std::string& sheet = "Doors") {
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        auto note =
            ExcelUtils::Workbook->GetWorksheets()->Item(sheet)->GetRange(address)->GetComment();
        std::string text = note ? note->Text() : std::string();
        ExcelUtils::Disconnect();
        return text;
    }
    // The texts of the boxes shown so far.
    std::vector<std::string> Boxes() const {
        std::vector<std::string> shown;
        for (const host::ShownBox& box : ui.Shown())
            shown.push_back(box.text);
        return shown;
    }
    // OK refused with exactly the box `text`, titled "Velmar", the dialog staying open.
    void ExpectRefused(const std::string& text) {
        ui.Clear();
        EXPECT_FALSE(dialog->OnOK());
        ASSERT_EQ(Boxes(), std::vector<std::string>{text});
        EXPECT_EQ(ui.Shown()[0].title, "Velmar");
        EXPECT_FALSE(dialog->Linked());
        EXPECT_FALSE(backend && backend->backend->HasChanges());
    }

    host::RecordingUi ui;
    AcadBlockView view;
    std::vector<std::unique_ptr<tables::PackedRow>> texts;
    std::vector<tables::PackedRow> comments_;
    CLinkExternalDataDialog::PreviewList list;
    std::unique_ptr<CLinkExternalDataDialog> dialog;
    std::string book;
    std::unique_ptr<testing::BackendScope> backend;
};

// Each test's sample: three doors of the drawing, matched by their marks in column B.
class LinkDoorsTest : public LinkExternalDataTest {
protected:
    void SetUp() override {
        LinkExternalDataTest::SetUp();
        Door("1A0", "D01");
        Door("1A1", "D02");
        Door("1A2", "D03");
        DoorBook();
    }
};

TEST_F(LinkDoorsTest, MatchedRowsGetTheKeyCommentsAndSuccessIsToldOnceSaved) {
    CLinkExternalDataDialog& d = Open();
    EXPECT_TRUE(d.OnOK());
    EXPECT_TRUE(d.Linked());
    EXPECT_EQ(d.Matched(), 3);
    EXPECT_EQ(d.CommentsWritten(), 3);
    EXPECT_TRUE(d.UnmatchedKeys().empty());
    EXPECT_TRUE(ui.Shown().empty()) << "the success waits for the save";
    host::CurrentPrinter().ReleaseHeld(true);
    EXPECT_EQ(Boxes(), std::vector<std::string>{"Link the external data successfully."});
    EXPECT_EQ(ui.Shown()[0].title, "Velmar");
    EXPECT_EQ(CommentAt("B2"), Key("1A0", "MARK"));
    EXPECT_EQ(CommentAt("B3"), Key("1A1", "MARK"));
    EXPECT_EQ(CommentAt("B4"), Key("1A2", "MARK"));
    EXPECT_EQ(CommentAt("A2"), "");
    EXPECT_EQ(CommentAt("B1"), "");
}

TEST_F(LinkDoorsTest, OpeningTakesOverTheRunningWorkbookAndItsSheetsWithTheActiveOneChosen) {
    CLinkExternalDataDialog& d = Open();
    EXPECT_EQ(d.workbookPath, book);
    EXPECT_EQ(d.m_worksheets, (std::vector<std::string>{"Doors", "Cover"}));
    EXPECT_EQ(d.m_worksheet, "Doors");
    EXPECT_EQ(d.m_drawingColumns, (std::vector<std::string>{"A", "B", "C"}));
    ASSERT_EQ(d.m_externalColumns.size(), 675u);
    EXPECT_EQ(d.m_externalColumns.back(), "YY");
    EXPECT_EQ(d.caseSensitive, 0);
    EXPECT_EQ(d.ignoreFirstRow, 0);
}

TEST_F(LinkExternalDataTest, OpeningWithoutARunningWorkbookLeavesTheWorkbookFieldsEmpty) {
    Door("1A0", "D01");
    testing::BackendScope none(excel::FileBackendOptions{});
    CLinkExternalDataDialog& d = Open();
    EXPECT_EQ(d.workbookPath, "");
    EXPECT_TRUE(d.m_worksheets.empty());
    EXPECT_EQ(d.m_worksheet, "");
}

TEST_F(LinkExternalDataTest, BrowseOpensTheWorkbookAndFillsTheSheetListAnew) {
    Door("1A0", "D01");
    DoorBook();
    // No spreadsheet runs: the workbook is only a file now.
    backend.reset();
    backend = std::make_unique<testing::BackendScope>(excel::FileBackendOptions{});
    CLinkExternalDataDialog& d = Open();
    ASSERT_TRUE(d.m_worksheets.empty());
    EXPECT_TRUE(d.Browse(book));
    EXPECT_EQ(d.workbookPath, book);
    EXPECT_EQ(d.m_worksheets, (std::vector<std::string>{"Doors", "Cover"}));
    EXPECT_EQ(d.m_worksheet, "Doors");
    EXPECT_TRUE(d.OnOK());
    EXPECT_EQ(CommentAt("B2"), Key("1A0", "MARK"));
}

TEST_F(LinkExternalDataTest, BrowseOfAFileThatIsNotThereSaysSoAndListsNoSheets) {
    Door("1A0", "D01");
    backend = std::make_unique<testing::BackendScope>(excel::FileBackendOptions{});
    CLinkExternalDataDialog& d = Open();
    EXPECT_FALSE(d.Browse(File("missing.xlsx")));
    EXPECT_TRUE(d.m_worksheets.empty());
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_NE(ui.Shown()[0].text.find("missing.xlsx"), std::string::npos) << ui.Shown()[0].text;
}

TEST_F(LinkExternalDataTest, TwoEmptyDrawingKeysAndTwoEmptySheetCellsAreAllowed) {
    Door("1A0", "D01");
    Door("1A1", "");
    Door("1A2", " ");
    Door("1A3", "D03");
    Book({{"B1", "D01"}, {"A2", "x"}, {"A3", "y"}, {"B4", "D03"}});
    CLinkExternalDataDialog& d = Open();
    EXPECT_TRUE(d.OnOK());
    EXPECT_TRUE(d.Linked());
    EXPECT_EQ(d.Matched(), 2);
    EXPECT_TRUE(d.UnmatchedKeys().empty());
    EXPECT_EQ(CommentAt("B1"), Key("1A0", "MARK"));
    EXPECT_EQ(CommentAt("B2"), "");
    EXPECT_EQ(CommentAt("B3"), "");
    EXPECT_EQ(CommentAt("B4"), Key("1A3", "MARK"));
}

TEST_F(LinkDoorsTest, KeysOfNoSheetRowAreAskedAboutOnceAllListed) {
    Door("1A3", "D09");
    Door("1A4", "D10");
    CLinkExternalDataDialog& d = Open();
    EXPECT_TRUE(d.OnOK());
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(
        ui.Shown()[0].text,
        "The following data cannot be matched. Do you want to link the other data?\nD09\nD10\n");
    EXPECT_EQ(ui.Shown()[0].title, "Velmar");
    EXPECT_EQ(ui.Shown()[0].buttons, host::BoxButtons::YesNo);
    EXPECT_EQ(d.UnmatchedKeys(), (std::vector<std::string>{"D09", "D10"}));
    EXPECT_EQ(d.Matched(), 3);
    EXPECT_EQ(d.CommentsWritten(), 3);
    EXPECT_TRUE(d.Linked());
}

TEST_F(LinkDoorsTest, AnsweringNoKeepsTheDialogOpenWithNothingWritten) {
    Door("1A3", "D09");
    CLinkExternalDataDialog& d = Open();
    ui.QueueAnswer(host::BoxAnswer::No);
    EXPECT_FALSE(d.OnOK());
    EXPECT_TRUE(d.Declined());
    EXPECT_FALSE(d.Linked());
    EXPECT_EQ(d.CommentsWritten(), 0);
    EXPECT_FALSE(backend->backend->HasChanges());
    host::CurrentPrinter().ReleaseHeld(true);
    EXPECT_EQ(ui.Shown().size(), 1u) << "no success told";
    // Still open: the user can answer Yes the next time.
    EXPECT_TRUE(d.OnOK());
    EXPECT_EQ(CommentAt("B2"), Key("1A0", "MARK"));
}

TEST_F(LinkDoorsTest, IgnoringTheFirstRowPutsTheCommentsOneRowHigher) {
    CLinkExternalDataDialog& d = Open();
    d.ignoreFirstRow = 1;
    EXPECT_TRUE(d.OnOK());
    EXPECT_EQ(CommentAt("B1"), Key("1A0", "MARK"));
    EXPECT_EQ(CommentAt("B2"), Key("1A1", "MARK"));
    EXPECT_EQ(CommentAt("B3"), Key("1A2", "MARK"));
    EXPECT_EQ(CommentAt("B4"), "");
}

TEST_F(LinkDoorsTest, IgnoringTheFirstRowLeavesAKeyInRowOneUnmatched) {
    texts.clear();
    comments_.clear();
    Door("1A0", "Door");
    Door("1A1", "D01");
    CLinkExternalDataDialog& d = Open();
    d.ignoreFirstRow = 1;
    EXPECT_TRUE(d.OnOK());
    EXPECT_EQ(d.UnmatchedKeys(), std::vector<std::string>{"Door"});
    EXPECT_EQ(CommentAt("B1"), Key("1A1", "MARK"));
}

TEST_F(LinkDoorsTest, EmptyWorksheetIsRefused) {
    Open().m_worksheet.clear();
    ExpectRefused("Invalid worksheet.");
}

TEST_F(LinkDoorsTest, AWorksheetTheWorkbookDoesNotHoldIsRefused) {
    Open().m_worksheet = "Windows";
    ExpectRefused("Invalid worksheet.");
}

TEST_F(LinkDoorsTest, EmptyDrawingColumnIsRefused) {
    Open("");
    ExpectRefused("Drawing data column is empty.");
}

TEST_F(LinkDoorsTest, DrawingColumnOutsideTheListIsRefused) {
    Open("D");
    ExpectRefused("Invalid drawing data column.");
    dialog->m_drawingColumn = "-";
    ExpectRefused("Invalid drawing data column.");
}

TEST_F(LinkDoorsTest, EmptyExternalColumnIsRefused) {
    Open("B", "");
    ExpectRefused("External data column is empty.");
}

TEST_F(LinkDoorsTest, ExternalColumnThatIsNoColumnIsRefused) {
    Open("B", "?");
    ExpectRefused("Invalid external data column.");
}

TEST_F(LinkDoorsTest, NoListIsRefusedAsInvalidDrawingData) {
    dialog = std::make_unique<CLinkExternalDataDialog>(nullptr, &comments_, view);
    dialog->OnInitDialog();
    EXPECT_TRUE(dialog->m_drawingColumns.empty());
    dialog->m_drawingColumn = "B";
    dialog->m_externalColumn = "B";
    ExpectRefused("Invalid drawing data.");
}

TEST_F(LinkDoorsTest, TheChecksComeInTheirOrder) {
    Open("", "");
    dialog->m_worksheet.clear();
    ExpectRefused("Invalid worksheet.");
    dialog->m_worksheet = "Doors";
    ExpectRefused("Drawing data column is empty.");
    dialog->m_drawingColumn = "B";
    ExpectRefused("External data column is empty.");
}

TEST_F(LinkDoorsTest, RepeatedDrawingKeyIsRefused) {
    Door("1A3", "D02");
    Open();
    ExpectRefused("The data column in the drawing data does not contain unique values.");
}

TEST_F(LinkExternalDataTest, RepeatedSheetKeyIsRefused) {
    Door("1A0", "D01");
    Book({{"B1", "D01"}, {"B2", "D02"}, {"B3", " D02 "}});
    Open();
    ExpectRefused("The data column in the external data does not contain unique values.");
}

TEST_F(LinkExternalDataTest, KeysCompareExactlyWhateverCaseSensitiveSays) {
    Door("1A0", "d01");
    Door("1A1", "D02");
    Book({{"B1", "D01"}, {"B2", "D02"}});
    CLinkExternalDataDialog& d = Open();
    d.caseSensitive = 0;
    EXPECT_TRUE(d.OnOK());
    EXPECT_EQ(d.UnmatchedKeys(), std::vector<std::string>{"d01"});
    EXPECT_EQ(CommentAt("B1"), "");
    EXPECT_EQ(CommentAt("B2"), Key("1A1", "MARK"));
}

TEST_F(LinkExternalDataTest, TheBlockNameMarkAndEmptyCommentsArePassedOver) {
    Row({"DOOR", "D01"}, {"", std::string(BlockColumnMark)});
    Row({"DOOR", "D02"}, {"", "089153e6-b97a-470C-8974-e302e7f9bff2"});
    Row({"DOOR", "D03"}, {"", ""});  // a constant attribute's cell has no key
    Row({"DOOR", "D04"});            // nor has a cell past its row's comments
    Row({"DOOR", "D05"}, {"", Key("1A4", "MARK")});
    Book({{"B1", "D01"}, {"B2", "D02"}, {"B3", "D03"}, {"B4", "D04"}, {"B5", "D05"}});
    CLinkExternalDataDialog& d = Open();
    EXPECT_TRUE(d.OnOK());
    EXPECT_TRUE(d.Linked());
    EXPECT_EQ(d.Matched(), 5);
    EXPECT_EQ(d.CommentsWritten(), 1);
    for (const char* cell : {"B1", "B2", "B3", "B4"})
        EXPECT_EQ(CommentAt(cell), "") << cell;
    EXPECT_EQ(CommentAt("B5"), Key("1A4", "MARK"));
}

TEST_F(LinkExternalDataTest, ACellWithACommentAlreadyEndsTheLoopWithTheErrorShown) {
    Door("1A0", "D01");
    Door("1A1", "D02");
    Door("1A2", "D03");
    Book({{"B1", "D01"}, {"B2", "D02", "checked by J."}, {"B3", "D03"}});
    CLinkExternalDataDialog& d = Open();
    EXPECT_TRUE(d.OnOK()) << "the dialog closes";
    EXPECT_FALSE(d.Linked());
    EXPECT_EQ(d.CommentsWritten(), 1);
    EXPECT_EQ(Boxes(), std::vector<std::string>{"Application-defined or object-defined error"});
    EXPECT_EQ(ui.Shown()[0].title, "Velmar");
    host::CurrentPrinter().ReleaseHeld(true);
    EXPECT_EQ(ui.Shown().size(), 1u) << "no success told";
    EXPECT_EQ(CommentAt("B1"), Key("1A0", "MARK"));
    EXPECT_EQ(CommentAt("B2"), "checked by J.");
    EXPECT_EQ(CommentAt("B3"), "");
}

TEST_F(LinkDoorsTest, NoCommentTableIsSaidAndTheDialogCloses) {
    list = List();
    dialog = std::make_unique<CLinkExternalDataDialog>(&list, nullptr, view);
    dialog->OnInitDialog();
    dialog->m_drawingColumn = "B";
    dialog->m_externalColumn = "B";
    EXPECT_TRUE(dialog->OnOK());
    EXPECT_FALSE(dialog->Linked());
    EXPECT_EQ(Boxes(), std::vector<std::string>{"Invalid commend table."});
    EXPECT_FALSE(backend->backend->HasChanges());
}

TEST_F(LinkExternalDataTest, TheDraggedColumnOrderNamesTheDrawingColumn) {
    // Built as block name, WIDTH, MARK; shown as block name, MARK, WIDTH.
    Row({"DOOR", "900", "D01"}, {"", Key("1A0", "WIDTH"), Key("1A0", "MARK")});
    Row({"DOOR", "1000", "D02"}, {"", Key("1A1", "WIDTH"), Key("1A1", "MARK")});
    Book({{"C5", "D02"}, {"C6", "D01"}});
    list = List({0, 2, 1});
    dialog = std::make_unique<CLinkExternalDataDialog>(&list, &comments_, view);
    dialog->OnInitDialog();
    dialog->m_drawingColumn = "B";
    dialog->m_externalColumn = "C";
    EXPECT_TRUE(dialog->OnOK());
    EXPECT_EQ(dialog->Matched(), 2);
    EXPECT_EQ(CommentAt("C5"), Key("1A1", "MARK"));
    EXPECT_EQ(CommentAt("C6"), Key("1A0", "MARK"));
}

TEST_F(LinkExternalDataTest, WithTheHeaderOnListRowZeroIsLeftOut) {
    view.includeHeader = 1;
    // The header's comment cell is given a key to show it is never written.
    Row({"Block Name", "MARK"}, {std::string(BlockColumnMark), Key("1FF", "MARK")});
    Door("1A0", "D01");
    Book({{"B1", "MARK"}, {"B2", "D01"}});
    CLinkExternalDataDialog& d = Open();
    EXPECT_TRUE(d.OnOK());
    EXPECT_EQ(d.Matched(), 1);
    EXPECT_EQ(CommentAt("B1"), "");
    EXPECT_EQ(CommentAt("B2"), Key("1A0", "MARK"));
}

TEST_F(LinkExternalDataTest, ASortedListTakesEachRowsOwnComments) {
    Door("1A0", "D02");
    Door("1A1", "D01");
    Book({{"B1", "D01"}, {"B2", "D02"}});
    // The list sorted by mark: row 1 of the comment table shows first.
    list = List();
    std::swap(list.rows[0], list.rows[1]);
    dialog = std::make_unique<CLinkExternalDataDialog>(&list, &comments_, view);
    dialog->OnInitDialog();
    dialog->m_drawingColumn = "B";
    dialog->m_externalColumn = "B";
    EXPECT_TRUE(dialog->OnOK());
    EXPECT_EQ(CommentAt("B1"), Key("1A1", "MARK"));
    EXPECT_EQ(CommentAt("B2"), Key("1A0", "MARK"));
}

TEST_F(LinkExternalDataTest, CancelWritesNothing) {
    Door("1A0", "D01");
    DoorBook();
    Open().OnCancel();
    EXPECT_FALSE(ExcelUtils::Application);
    EXPECT_FALSE(backend->backend->HasChanges());
}

}  // namespace
}  // namespace attbat
