#include "attbat/frame/CArxErrLog.h"

#include <regex>

#include "FrameFixture.h"
#include "base/Path.h"
#include "host/Ui.h"

namespace {

using attbat::debugOn;
using attbat::ErrLog;

class CArxErrLogTest : public FrameTest {};

TEST_F(CArxErrLogTest, WriteWithTheLogOffHasNoEffect) {
    ErrLog().Write("%s - Start.", "CAttBatch::ImportByAttHandle");
    EXPECT_EQ(ErrLog().Open(), 1);  // debug is off: nothing opens
    EXPECT_FALSE(ErrLog().IsOpen());
    ErrLog().Write("%s - %d", "CAttBatch::ImportByAttHandle", 120);
    EXPECT_FALSE(base::FileExists(File("Velmar.log")));
}

TEST_F(CArxErrLogTest, OpenWritesTheSessionHeadAndLinesEndInCrLf) {
    debugOn = 1;
    ASSERT_EQ(ErrLog().Open(), 1);
    ErrLog().Write("%s - Start.", "CAttBatch::ImportByAttHandle");
    ErrLog().Write("%s - %d", "CAttBatch::ImportByAttHandle", 120);
    ErrLog().Close();
    std::string text = Slurp(File("Velmar.log"));
    std::regex expected(
        "Product: Velmar\\.\r\nVersion 9\\.72\\.\r\nSession start: [A-Z][a-z]+ \\d\\d, \\d{4} "
        "\\d\\d:\\d\\d:\\d\\d\r\n"
        "CAttBatch::ImportByAttHandle - Start\\.\r\nCAttBatch::ImportByAttHandle - 120\r\n"
        "Session end: [A-Z][a-z]+ \\d\\d, \\d{4} \\d\\d:\\d\\d:\\d\\d\n");
    EXPECT_TRUE(std::regex_match(text, expected)) << text;
}

TEST_F(CArxErrLogTest, SessionsAccumulateInOneFile) {
    debugOn = 1;
    ErrLog().Open();
    ErrLog().Close();
    ErrLog().Open();
    ErrLog().Close();
    std::string text = Slurp(File("Velmar.log"));
    EXPECT_NE(text.find("Session start"), text.rfind("Session start"));
}

TEST_F(CArxErrLogTest, ALineOver2047CharactersIsCutThere) {
    debugOn = 1;
    ErrLog().Open();
    std::string longText;
    for (int i = 0; i < 3000; ++i) longText += "\xC3\xA9";  // two bytes, one character
    ErrLog().Write("%s", longText);
    ErrLog().Write("%s", std::string(2047, 'x'));
    ErrLog().Close();
    std::string text = Slurp(File("Velmar.log"));
    std::string cut;
    for (int i = 0; i < 2047; ++i) cut += "\xC3\xA9";
    EXPECT_NE(text.find("\r\n" + cut + "\r\n"), std::string::npos);
    EXPECT_NE(text.find("\r\n" + std::string(2047, 'x') + "\r\n"), std::string::npos);
}

TEST_F(CArxErrLogTest, TurningDebugOffLeavesTheFileOpenAndALaterWriteStillGoesIn) {
    debugOn = 1;
    ErrLog().Open();
    debugOn = 0;
    ErrLog().Write("%s - %d", "CAttBatch::UploadToExcel", 7);
    ErrLog().Close();
    EXPECT_NE(Slurp(File("Velmar.log")).find("CAttBatch::UploadToExcel - 7\r\n"), std::string::npos);
}

TEST_F(CArxErrLogTest, AFileThatWontOpenIsReportedAndGivesZero) {
    // A folder where the file should be.
    std::filesystem::create_directories(File("Velmar.log"));
    debugOn = 1;
    EXPECT_EQ(ErrLog().Open(), 0);
    EXPECT_FALSE(Warnings().empty());
}

TEST_F(CArxErrLogTest, ReportErrorPrintsOnlyFailures) {
    attbat::ReportError(base::Status::Ok(), "Reader.cpp", 10);
    attbat::ReportError(base::Status::Error("eKeyNotFound"), "Reader.cpp", 42);
    EXPECT_EQ(Printed(), "ARX ERROR: eKeyNotFound. Reader.cpp: 42");
}

TEST_F(CArxErrLogTest, ReportErrorBoxShowsAWarningTitledVelmar) {
    host::RecordingUi ui;
    host::SetCurrentUi(&ui);
    attbat::ReportErrorBox(base::Status::Error("eWasOpenForRead"), "Writer.cpp", 7);
    host::SetCurrentUi(nullptr);
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "ARX ERROR: eWasOpenForRead. Writer.cpp: 7");
    EXPECT_EQ(ui.Shown()[0].title, "Velmar");
    EXPECT_EQ(ui.Shown()[0].icon, host::BoxIcon::Warning);
}

}  // namespace
