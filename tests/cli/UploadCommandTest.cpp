// `velmar upload` end to end: the sample exported, its drawing changed as another program would,
// and the workbook brought up to date by the command.

#include "attbat/links/UploadCommand.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "SampleRun.h"
#include "arxutils/ArxUtils.h"
#include "base/File.h"
#include "cad/BlockReference.h"
#include "cad/Text.h"
#include "cli/ExitCodes.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

struct UploadFixture : SampleRun {
    UploadFixture() {
        EXPECT_EQ(Run({"--output", workbook, "export", "--block-wildcard", "DOOR"}), cli::exitOk) << Printed();
    }
    int Upload(std::vector<std::string> options) {
        std::vector<std::string> args = {"--workbook", workbook};
        args.insert(args.end(), options.begin(), options.end());
        return Run(args);
    }
    // Another program sets an attribute and saves the drawing.
    void SetMark(const std::string& handle, const std::string& value) {
        auto db = cad::Database::Open(drawing);
        ASSERT_TRUE(db);
        cad::Object object = arxutils::HandleToId(**db, handle);
        cad::BlockReference(object.GetDatabase(), object.Index()).FindAttribute("MARK").SetValue(value);
        ASSERT_TRUE((*db)->Save(drawing));
    }
    void Erase(const std::string& handle) {
        auto db = cad::Database::Open(drawing);
        ASSERT_TRUE(db);
        arxutils::HandleToId(**db, handle).Erase();
        ASSERT_TRUE((*db)->Save(drawing));
    }
    // Every cell text of the workbook's first sheet, row by row.
    std::vector<std::string> Cells() {
        excel::FileBackendOptions options;
        options.workbook = workbook;
        testing::BackendScope scope(options);
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        std::vector<std::string> out;
        auto used = ExcelUtils::Worksheet->UsedRange();
        for (int r = 1; r <= used->Rows()->Count(); ++r)
            for (int c = 1; c <= used->Columns()->Count(); ++c) out.push_back(used->Item(r, c)->Text().text);
        return out;
    }
};

std::string Bytes(const std::string& path) { return base::ReadFile(path).Value(); }

TEST(UploadCommand, ChangedAttributesAreWrittenAndNothingElse) {
    UploadFixture f;
    std::vector<std::string> before = f.Cells();
    f.SetMark("E5", "D02-REVISED");
    ASSERT_EQ(f.Upload({"--yes", "upload", "--remove-deleted-rows", "no"}), cli::exitOk) << f.Printed();
    std::vector<std::string> after = f.Cells();
    ASSERT_EQ(after.size(), before.size());
    int changed = 0;
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (after[i] == before[i]) continue;
        ++changed;
        EXPECT_EQ(before[i], "D02");
        EXPECT_EQ(after[i], "D02-REVISED");
    }
    EXPECT_EQ(changed, 1);
    EXPECT_NE(f.Printed().find("Upload the attributes and properties of the block references to floor.xlsx "
                               "successfully."),
              std::string::npos);
}

TEST(UploadCommand, ASecondUploadWritesNothing) {
    UploadFixture f;
    f.SetMark("E5", "D02-REVISED");
    ASSERT_EQ(f.Upload({"--yes", "upload"}), cli::exitOk);
    const std::string once = Bytes(f.workbook);
    ASSERT_EQ(f.Upload({"--yes", "upload"}), cli::exitOk);
    EXPECT_EQ(Bytes(f.workbook), once);
}

TEST(UploadCommand, NoToTheQuestionWritesNothingAndIsACancel) {
    UploadFixture f;
    const std::string original = Bytes(f.workbook);
    f.SetMark("E5", "D02-REVISED");
    EXPECT_EQ(f.Upload({"--no", "upload"}), cli::exitFailed);
    EXPECT_EQ(Bytes(f.workbook), original);
}

TEST(UploadCommand, ADryRunListsTheCellsAndTheRowsAndWritesNothing) {
    UploadFixture f;
    const std::string original = Bytes(f.workbook);
    f.SetMark("E5", "D02-REVISED");
    f.Erase("EC");
    ASSERT_EQ(f.Upload({"upload", "--dry-run"}), cli::exitOk) << f.Printed();
    EXPECT_NE(f.Printed().find("Sheet1:$C$4: 'D02' -> 'D02-REVISED'"), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("Rows of deleted blocks that would be offered for removal: "), std::string::npos);
    EXPECT_NE(f.Printed().find("nothing was written."), std::string::npos);
    EXPECT_EQ(Bytes(f.workbook), original);
}

TEST(UploadCommand, AnErasedReferencesRowIsRemovedWhenTheAnswerIsYes) {
    UploadFixture f;
    const std::size_t cells = f.Cells().size();
    f.Erase("EC");
    ASSERT_EQ(f.Upload({"--yes", "upload", "--remove-deleted-rows", "yes"}), cli::exitOk) << f.Printed();
    EXPECT_NE(f.Printed().find("containing the deleted blocks?[Yes/No]<Yes>:Yes"), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("successfully."), std::string::npos);
    EXPECT_LT(f.Cells().size(), cells);
}

TEST(UploadCommand, WithoutAWorkbookItSaysWhatToGive) {
    UploadFixture f;
    EXPECT_EQ(f.Run({"upload"}), cli::exitFailed);
    EXPECT_NE(f.Printed().find("Please start Excel and open the exported workbook first."), std::string::npos)
        << f.Printed();
    EXPECT_NE(f.Printed().find("--workbook FILE"), std::string::npos);
}

TEST(UploadCommand, WithoutADrawingItIsBadUsage) {
    UploadFixture f;
    host::CurrentPrinter().Capture(true);
    EXPECT_EQ(cli::RunCommandLine({"--settings", f.settings, "--workbook", f.workbook, "upload"}, TheApp()),
              cli::exitUsage);
    EXPECT_NE(f.Printed().find("with --drawing FILE"), std::string::npos);
}

}  // namespace
}  // namespace attbat
