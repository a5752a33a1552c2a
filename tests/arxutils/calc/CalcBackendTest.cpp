// The object model over a running LibreOffice Calc, against the test program's own headless
// soffice (HeadlessOffice: a free port, a profile of its own, ended with the program).

#include "arxutils/calc/CalcBackend.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelObjects.h"
#include "calc/HeadlessOffice.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"
#include "tables/CStringTable.h"

namespace {

namespace fs = std::filesystem;
using arxutils::calc::CalcBackend;
using arxutils::calc::CalcBackendOptions;
using arxutils::excel::AutomationError;
using arxutils::excel::Variant;
using arxutils::excel::VariantArray;
using arxutils::excel::VarType;

using velmar_test::HeadlessOffice;

// Options that start a soffice of the test's own on a free port, with a profile made beforehand
// in the suite's profile folder plus `suffix`.
CalcBackendOptions StartingOptions(const std::string& suffix) {
    const std::string profile = HeadlessOffice::Profile() + suffix;
    EXPECT_TRUE(HeadlessOffice::MakeProfile(profile)) << profile;
    CalcBackendOptions options;
    options.connection = HeadlessOffice::SocketConnection(HeadlessOffice::FreePort());
    options.start = true;
    options.profileUrl = "file://" + profile;
    return options;
}

class CalcBackendTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!HeadlessOffice::Installed())
            GTEST_SKIP() << "LibreOffice is not installed (" << HeadlessOffice::Program() << " is missing)";
        connection_ = HeadlessOffice::Connection();
        profile_ = HeadlessOffice::Profile();
        ASSERT_FALSE(connection_.empty()) << "the headless soffice did not start";
        backend_ = CalcBackend::Create(velmar_test::ConnectTo(connection_));
        ASSERT_EQ(backend_->GetActiveObject(application_), 0) << backend_->NoInstanceText(0);
        host::CurrentPrinter().Capture(true);
        host::ProgressMeter::SetVisible(false);
    }
    void TearDown() override {
        // Every test leaves the instance without documents for the next one.
        if (application_) {
            try {
                auto books = application_->GetWorkbooks();
                while (books->Count() > 0) books->Item(1)->Close();
            } catch (const AutomationError&) {
            }
        }
        arxutils::ExcelUtils::Disconnect();
        arxutils::excel::SetCurrentServer(nullptr);
        host::CurrentPrinter().Capture(false);
    }

    static Variant Text(std::string text) { return Variant::String(std::move(text)); }

    std::string connection_;
    std::string profile_;
    std::unique_ptr<CalcBackend> backend_;
    std::unique_ptr<arxutils::excel::Application> application_;
};

TEST_F(CalcBackendTest, AttachesToARunningSofficeAndReadsItsVersion) {
    EXPECT_FALSE(application_->Version().empty());
    EXPECT_EQ(application_->Hwnd(), 0);
}

TEST_F(CalcBackendTest, RefusedConnectionIsAnUnavailableAutomationErrorSayingWhere) {
    const std::string nobody = HeadlessOffice::SocketConnection(HeadlessOffice::FreePort());
    auto backend = CalcBackend::Create(velmar_test::ConnectTo(nobody));
    std::unique_ptr<arxutils::excel::Application> application;
    EXPECT_EQ(backend->GetActiveObject(application), arxutils::excel::kErrUnavailable);
    EXPECT_EQ(application, nullptr);
    EXPECT_NE(backend->NoInstanceText(0).find(nobody), std::string::npos) << backend->NoInstanceText(0);
    try {
        backend->CreateApplication();
        FAIL() << "no error for a refused connection";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Code(), arxutils::excel::kErrUnavailable);
        EXPECT_NE(error.Description().find("No LibreOffice accepts connections at \"" + nobody + "\""), std::string::npos)
            << error.Description();
        EXPECT_NE(error.Description().find("--calc-start"), std::string::npos) << error.Description();
    }
}

TEST_F(CalcBackendTest, MalformedConnectionIsRefusedWithItsText) {
    auto backend = CalcBackend::Create(velmar_test::ConnectTo("carrier-pigeon,name=x"));
    std::unique_ptr<arxutils::excel::Application> application;
    EXPECT_EQ(backend->GetActiveObject(application), arxutils::excel::kErrUnavailable);
    EXPECT_NE(backend->NoInstanceText(0).find("carrier-pigeon,name=x"), std::string::npos) << backend->NoInstanceText(0);
}

TEST_F(CalcBackendTest, StartsAHeadlessSofficeWhenAskedAndItKeepsRunning) {
    const std::string profile = profile_ + "-started";
    const CalcBackendOptions options = StartingOptions("-started");
    auto backend = CalcBackend::Create(options);
    std::unique_ptr<arxutils::excel::Application> application = backend->CreateApplication();
    pid_t started = backend->StartedOffice();
    ASSERT_GT(started, 0);
    EXPECT_FALSE(application->Version().empty());
    backend.reset();
    // Another command finds it where it was started.
    auto later = CalcBackend::Create(velmar_test::ConnectTo(options.connection));
    std::unique_ptr<arxutils::excel::Application> again;
    EXPECT_EQ(later->GetActiveObject(again), 0) << later->NoInstanceText(0);
    HeadlessOffice::End(started);
    fs::remove_all(profile);
}

TEST_F(CalcBackendTest, TheInstanceWithoutDocumentsHasNoActiveWorkbook) {
    EXPECT_EQ(application_->GetWorkbooks()->Count(), 0);
    EXPECT_EQ(application_->ActiveWorkbook(), nullptr);
    EXPECT_EQ(application_->ActiveSheet(), nullptr);
}

TEST_F(CalcBackendTest, SpreadsheetDocumentsOfTheDesktopAreTheWorkbooks) {
    auto books = application_->GetWorkbooks();
    auto first = books->Add();
    auto second = books->Add();
    EXPECT_EQ(books->Count(), 2);
    EXPECT_EQ(application_->ActiveWorkbook()->FullName(), second->FullName());
    EXPECT_NE(first->FullName(), second->FullName());
    EXPECT_EQ(second->Path(), "");  // never saved
    first->Activate();
    EXPECT_EQ(application_->ActiveWorkbook()->FullName(), first->FullName());
    try {
        books->Item(3);
        FAIL() << "no error for a workbook index past the end";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Code(), arxutils::excel::kErrBadIndex);
    }
}

TEST_F(CalcBackendTest, WorksheetsByIndexAndByNameWithoutRegardToCase) {
    auto book = application_->GetWorkbooks()->Add();
    auto sheets = book->GetWorksheets();
    ASSERT_GE(sheets->Count(), 1);
    auto first = sheets->Item(1);
    first->SetName("Schedule");
    EXPECT_EQ(sheets->Item("sCHEDULE")->GetName(), "Schedule");
    auto added = sheets->Add();
    EXPECT_EQ(sheets->Count(), 2);
    EXPECT_EQ(book->ActiveSheet()->GetName(), added->GetName());
    first->Activate();
    EXPECT_EQ(application_->ActiveSheet()->GetName(), "Schedule");
    EXPECT_THROW(sheets->Item("Nowhere"), AutomationError);
}

TEST_F(CalcBackendTest, OpenLoadsAWorkbookFileIntoTheInstance) {
    const std::string path = (fs::temp_directory_path() / ("velmar-calc-open-" + std::to_string(getpid()) + ".xlsx")).string();
    fs::copy_file(std::string(VELMAR_CORPUS) + "/xlsx/libreoffice72-charts-images-merges.xlsx", path, fs::copy_options::overwrite_existing);
    auto book = application_->GetWorkbooks()->Open(path, 1, 0);
    EXPECT_EQ(book->FullName(), path);
    EXPECT_EQ(book->Name(), fs::path(path).filename().string());
    EXPECT_EQ(book->Path(), fs::path(path).parent_path().string());
    std::vector<std::string> names;
    ASSERT_TRUE(backend_->RunningObjects(names));
    EXPECT_EQ(names.front(), arxutils::excel::kInstanceMoniker);
    EXPECT_NE(std::find(names.begin(), names.end(), path), names.end());
    EXPECT_NE(backend_->GetRunningWorkbook(path), nullptr);
    book->Close();
    fs::remove(path);
}

TEST_F(CalcBackendTest, OpeningAMissingFileFailsWithItsName) {
    try {
        application_->GetWorkbooks()->Open("/nonexistent/velmar.xlsx", 1, 0);
        FAIL() << "no error for a missing file";
    } catch (const AutomationError& error) {
        EXPECT_NE(error.Description().find("/nonexistent/velmar.xlsx"), std::string::npos) << error.Description();
    }
}

TEST_F(CalcBackendTest, RangeArrayWriteAndReadRoundTrip) {
    auto sheet = application_->GetWorkbooks()->Add()->ActiveSheet();
    auto array = std::make_shared<VariantArray>(2, 3);
    array->At(0, 0) = Text("TAG");
    array->At(0, 1) = Text("12.5");  // a plain number goes in as one
    array->At(0, 2) = Text("007");   // a leading zero keeps it text
    array->At(1, 0) = Variant::Number(3);
    array->At(1, 1) = Text("=1+1");  // never a formula
    sheet->GetRange("B2:D3")->SetValue(Variant::Array(array));

    Variant read = sheet->GetRange("B2:D3")->GetValue();
    ASSERT_EQ(read.type, VarType::Array);
    ASSERT_EQ(read.array->rows, 2);
    ASSERT_EQ(read.array->columns, 3);
    EXPECT_EQ(read.array->At(0, 0).text, "TAG");
    EXPECT_EQ(read.array->At(0, 1).type, VarType::Number);
    EXPECT_DOUBLE_EQ(read.array->At(0, 1).number, 12.5);
    EXPECT_EQ(read.array->At(0, 2).type, VarType::String);
    EXPECT_EQ(read.array->At(0, 2).text, "007");
    EXPECT_DOUBLE_EQ(read.array->At(1, 0).number, 3);
    EXPECT_EQ(read.array->At(1, 1).text, "=1+1");
    EXPECT_TRUE(read.array->At(1, 2).IsEmpty());

    auto texts = sheet->GetRange("B2:D3")->Texts();
    EXPECT_EQ(texts[0][1], "12.5");
    EXPECT_EQ(texts[1][0], "3");
    EXPECT_EQ(texts[1][2], "");
    EXPECT_EQ(sheet->UsedRange()->Address(), "$B$2:$D$3");
}

TEST_F(CalcBackendTest, OneValueFillsEveryCellAndOneCellReadsAsAValue) {
    auto sheet = application_->GetWorkbooks()->Add()->ActiveSheet();
    sheet->GetRange("A1:B2")->SetValue(Text("x"));
    EXPECT_EQ(sheet->GetRange("B2")->GetValue().text, "x");
    EXPECT_EQ(sheet->GetRange("A1:B2")->Text().text, "x");
    sheet->Cells()->SetItem(5, 3, Variant::Number(0.25));
    EXPECT_EQ(sheet->GetRange("C5")->Text().text, "0.25");
    EXPECT_TRUE(sheet->GetRange("Z99")->GetValue().IsEmpty());
}

TEST_F(CalcBackendTest, CommentsRoundTripThroughSheetAnnotations) {
    auto sheet = application_->GetWorkbooks()->Add()->ActiveSheet();
    EXPECT_EQ(sheet->GetRange("C4")->GetComment(), nullptr);
    sheet->GetRange("C4")->AddComment("Velmar_CurrentDrawing");
    sheet->GetRange("A2")->AddComment("TAG_1\nhandle:<1F>");
    EXPECT_THROW(sheet->GetRange("C4")->AddComment("again"), AutomationError);

    auto comments = sheet->GetComments();
    ASSERT_EQ(comments->Count(), 2);
    std::map<std::string, std::string> byCell;
    for (int i = 1; i <= comments->Count(); ++i) {
        auto comment = comments->Item(i);
        byCell[comment->Parent()->Address()] = comment->Text();
    }
    EXPECT_EQ(byCell["$C$4"], "Velmar_CurrentDrawing");
    EXPECT_EQ(byCell["$A$2"], "TAG_1\nhandle:<1F>");

    sheet->GetRange("C4")->GetComment()->Delete();
    EXPECT_EQ(sheet->GetComments()->Count(), 1);
    sheet->GetRange("A1:B9")->ClearComments();
    EXPECT_EQ(sheet->GetComments()->Count(), 0);
}

TEST_F(CalcBackendTest, AClosedDocumentGivesTheAutomationError) {
    auto book = application_->GetWorkbooks()->Add();
    auto range = book->ActiveSheet()->GetRange("A1");
    range->SetValue(Text("before"));
    book->Close();
    try {
        range->GetValue();
        FAIL() << "no error from a closed document";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Code(), arxutils::excel::kErrUnavailable);
        EXPECT_NE(error.Description().find("LibreOffice Calc closed the document"), std::string::npos)
            << error.Description();
    }
}

TEST_F(CalcBackendTest, CalcEndingMidCommandIsAnAutomationErrorThatTheBridgeReports) {
    const std::string profile = profile_ + "-ended";
    const CalcBackendOptions options = StartingOptions("-ended");
    auto backend = CalcBackend::Create(options);
    arxutils::excel::SetCurrentServer(backend.get());
    ASSERT_TRUE(arxutils::ExcelUtils::StartExcel(false));
    pid_t started = backend->StartedOffice();
    ASSERT_GT(started, 0);
    ASSERT_TRUE(arxutils::ExcelUtils::AddWorkbook());
    ASSERT_TRUE(arxutils::ExcelUtils::SetCellValue(1, 1, "written"));
    // The office goes away in the middle of the command (with soffice.bin, in its session).
    HeadlessOffice::End(started);
    host::RecordingUi ui;
    host::SetCurrentUi(&ui);
    EXPECT_FALSE(arxutils::ExcelUtils::SetCellValue(1, 2, "lost"));
    tables::CStringTable table;
    EXPECT_FALSE(arxutils::ExcelUtils::ReadValues(table, "A1:B1"));
    host::SetCurrentUi(nullptr);
    ASSERT_FALSE(ui.Shown().empty());
    EXPECT_NE(ui.Shown().back().text.find("connection to it was lost"), std::string::npos) << ui.Shown().back().text;
    try {
        arxutils::ExcelUtils::Worksheet->GetRange("A1")->GetValue();
        FAIL() << "no error from an office that ended";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Code(), arxutils::excel::kErrUnavailable);
    }
    arxutils::ExcelUtils::Disconnect();
    arxutils::excel::SetCurrentServer(nullptr);
    fs::remove_all(profile);
}

TEST_F(CalcBackendTest, WorkbookSheetAndSelectionOptionsAreMadeActiveOnFirstContact) {
    const std::string path = profile_ + "-choice/Parts.xlsx";
    fs::create_directories(fs::path(path).parent_path());
    {
        auto book = application_->GetWorkbooks()->Add();
        book->GetWorksheets()->Add();
        backend_->StoreActiveCopy(path);
        book->Close();
    }
    CalcBackendOptions options;
    options.connection = connection_;
    options.workbook = path;
    options.sheet = "sheet2";
    options.selection = "b2:c3";
    auto chosen = CalcBackend::Create(options);
    arxutils::excel::SetCurrentServer(chosen.get());
    ASSERT_TRUE(arxutils::ExcelUtils::ConnectToExcel(true)) << arxutils::ExcelUtils::LastError;
    EXPECT_EQ(arxutils::ExcelUtils::Workbook->FullName(), path);
    EXPECT_EQ(arxutils::ExcelUtils::Worksheet->GetName(), "Sheet2");
    EXPECT_EQ(arxutils::ExcelUtils::SelectionAddress(), "$B$2:$C$3");
    arxutils::ExcelUtils::Disconnect();
    // Open already: made active again, not opened twice.
    auto again = CalcBackend::Create(options);
    arxutils::excel::SetCurrentServer(again.get());
    ASSERT_TRUE(arxutils::ExcelUtils::ConnectToExcel(true));
    EXPECT_EQ(application_->GetWorkbooks()->Count(), 1);
    arxutils::ExcelUtils::Disconnect();
    options.sheet = "Nowhere";
    auto wrong = CalcBackend::Create(options);
    std::unique_ptr<arxutils::excel::Application> application;
    EXPECT_EQ(wrong->GetActiveObject(application), arxutils::excel::kErrUnavailable);
    EXPECT_NE(wrong->NoInstanceText(0).find("has no sheet \"Nowhere\""), std::string::npos) << wrong->NoInstanceText(0);
    arxutils::excel::SetCurrentServer(nullptr);
    fs::remove_all(fs::path(path).parent_path());
}

TEST_F(CalcBackendTest, TheChooserListsCalcDocumentsToo) {
    EXPECT_TRUE(backend_->AlsoListed("/w/Parts.ods"));
    EXPECT_TRUE(backend_->AlsoListed("/w/PARTS.ODS"));
    EXPECT_FALSE(backend_->AlsoListed("/w/Parts.odt"));
    EXPECT_FALSE(backend_->AlsoListed(".ods"));
}

TEST_F(CalcBackendTest, ExcelUtilsWritesAStagedBlockAndItsCommentsIntoTheActiveDocument) {
    arxutils::excel::SetCurrentServer(backend_.get());
    auto book = application_->GetWorkbooks()->Add();
    ASSERT_TRUE(arxutils::ExcelUtils::ConnectToExcel(true, {}, 1, 0));
    ASSERT_TRUE(arxutils::ExcelUtils::EnsureWorkbook());
    ASSERT_TRUE(arxutils::ExcelUtils::CreateStagingArray(2, 2));
    arxutils::ExcelUtils::PutStagedCell("Handle", 0, 0);
    arxutils::ExcelUtils::PutStagedCell("TAG", 0, 1);
    arxutils::ExcelUtils::PutStagedCell("'1F", 1, 0);
    arxutils::ExcelUtils::PutStagedCell("V-101", 1, 1);
    arxutils::ExcelUtils::FlushStaging("A1", true, true);
    arxutils::ExcelUtils::SetComment("B1", "TAG_1");
    arxutils::ExcelUtils::Disconnect();

    auto sheet = book->ActiveSheet();
    EXPECT_EQ(sheet->GetRange("B2")->GetValue().text, "V-101");
    EXPECT_EQ(sheet->GetRange("B1")->GetComment()->Text(), "TAG_1");
}

}  // namespace
