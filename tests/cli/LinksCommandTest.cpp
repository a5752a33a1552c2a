// `velmar links` end to end, and the automatic update every command's drawing load runs while it
// is on: the sample exported, imported with its link saved, the workbook edited, and the links
// listed, moved and broken.

#include "attbat/links/LinksCommand.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "arxutils/ArxUtils.h"
#include "SampleRun.h"
#include "base/File.h"
#include "cad/BlockReference.h"
#include "cad/Text.h"
#include "cli/ExitCodes.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

// The doors exported, and imported again with their link saved: each door is linked.
struct LinksFixture : SampleRun {
    LinksFixture() {
        EXPECT_EQ(Run({"--output", workbook, "export", "--block-wildcard", "DOOR"}), cli::exitOk) << Printed();
        EXPECT_EQ(Run({"--workbook", workbook, "import-by-handle", "--save-link", "on"}), cli::exitOk) << Printed();
    }
    // The user edits the cell that shows `value` and saves the workbook `path`.
    void Edit(const std::string& path, const std::string& value, const std::string& edited) {
        excel::FileBackendOptions options;
        options.workbook = path;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
        auto found = ExcelUtils::Worksheet->UsedRange()->Find(value, nullptr, excel::xlByRows, excel::xlNext);
        ASSERT_TRUE(found) << value;
        found->SetValue(excel::Variant::String(edited));
        ExcelUtils::Disconnect();
        ASSERT_TRUE(scope.Save());
    }
    std::string Mark(const std::string& handle) {
        auto db = cad::Database::Open(drawing);
        EXPECT_TRUE(db);
        if (!db) return {};
        cad::Object object = arxutils::HandleToId(**db, handle);
        return cad::BlockReference(object.GetDatabase(), object.Index()).FindAttribute("MARK").TextString();
    }
};

std::string Bytes(const std::string& path) { return base::ReadFile(path).Value(); }

TEST(LinksCommand, TheImportsSavedLinksAreListedWithTheirReferences) {
    LinksFixture f;
    ASSERT_EQ(f.Run({"links"}), cli::exitOk) << f.Printed();
    EXPECT_NE(f.Printed().find("Workbooks linked from " + f.drawing + ":"), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find(f.workbook + "  (5 references)"), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("opening the drawing: off"), std::string::npos);
}

TEST(LinksCommand, WithAutoUpdateOnAnyCommandBringsTheEditedValuesIn) {
    LinksFixture f;
    f.Edit(f.workbook, "D02", "D02-EDITED");
    ASSERT_EQ(f.Run({"find", "E5"}), cli::exitOk) << f.Printed();
    EXPECT_EQ(f.Mark("E5"), "D02");
    ASSERT_EQ(f.Run({"links", "--auto-update", "on"}), cli::exitOk) << f.Printed();
    // The dialog's own run loaded the drawing before its OK stored the option.
    EXPECT_EQ(f.Mark("E5"), "D02");
    ASSERT_EQ(f.Run({"find", "E5"}), cli::exitOk) << f.Printed();
    EXPECT_EQ(f.Mark("E5"), "D02-EDITED");
    EXPECT_TRUE(std::filesystem::exists(f.temp / "floor.bak"));
}

TEST(LinksCommand, AnUpdateThatChangesNothingLeavesTheDrawingAsItWas) {
    LinksFixture f;
    ASSERT_EQ(f.Run({"links", "--auto-update", "on"}), cli::exitOk);
    const std::string before = Bytes(f.drawing);
    // The list alone changes nothing, so whatever changed came from the update at the load.
    ASSERT_EQ(f.Run({"links"}), cli::exitOk) << f.Printed();
    EXPECT_TRUE(Bytes(f.drawing) == before);
}

TEST(LinksCommand, ABrokenLinkBringsNothingIn) {
    LinksFixture f;
    ASSERT_EQ(f.Run({"--yes", "links", "--link", "floor.xlsx", "--break-link", "--auto-update", "on"}),
              cli::exitOk)
        << f.Printed();
    EXPECT_NE(f.Printed().find("The link of 5 reference(s) to " + f.workbook + " was broken."), std::string::npos)
        << f.Printed();
    EXPECT_NE(f.Printed().find("are linked to no workbook."), std::string::npos);
    f.Edit(f.workbook, "D02", "D02-EDITED");
    ASSERT_EQ(f.Run({"find", "E5"}), cli::exitOk);
    EXPECT_EQ(f.Mark("E5"), "D02");
}

TEST(LinksCommand, NoToBreakLinkKeepsTheLinksAndIsACancel) {
    LinksFixture f;
    const std::string before = Bytes(f.drawing);
    EXPECT_EQ(f.Run({"--no", "links", "--link", "floor.xlsx", "--break-link"}), cli::exitFailed);
    EXPECT_TRUE(Bytes(f.drawing) == before);
}

TEST(LinksCommand, AWorkbookMovedElsewhereIsReportedUntilTheLinkIsUpdated) {
    LinksFixture f;
    ASSERT_EQ(f.Run({"links", "--auto-update", "on"}), cli::exitOk);
    std::filesystem::create_directories(f.temp / "shared");
    const std::string moved = f.temp / "shared/floor.xlsx";
    std::filesystem::rename(f.workbook, moved);
    f.Edit(moved, "D02", "D02-MOVED");
    ASSERT_EQ(f.Run({"find", "E5"}), cli::exitOk);
    EXPECT_NE(f.Printed().find("Cannot to find " + f.workbook + "."), std::string::npos) << f.Printed();
    EXPECT_EQ(f.Mark("E5"), "D02");
    ASSERT_EQ(f.Run({"--yes", "links", "--link", f.workbook, "--excel-workbook", moved, "--update-link"}),
              cli::exitOk)
        << f.Printed();
    EXPECT_NE(f.Printed().find(moved + "  (5 references)"), std::string::npos) << f.Printed();
    ASSERT_EQ(f.Run({"find", "E5"}), cli::exitOk);
    EXPECT_EQ(f.Mark("E5"), "D02-MOVED");
}

TEST(LinksCommand, AButtonWithoutItsValuesIsBadUsage) {
    LinksFixture f;
    EXPECT_EQ(f.Run({"links", "--break-link"}), cli::exitUsage);
    EXPECT_EQ(f.Run({"links", "--link", "floor.xlsx", "--update-link"}), cli::exitUsage);
    EXPECT_EQ(f.Run({"links", "--link", "other.xlsx", "--break-link"}), cli::exitUsage);
    EXPECT_NE(f.Printed().find("are not linked to 'other.xlsx'"), std::string::npos) << f.Printed();
    EXPECT_EQ(f.Run({"links", "--link", "floor.xlsx", "--break-link", "--update-link"}), cli::exitUsage);
}

TEST(LinksCommand, AnUpdateToAMissingFileSaysInvalidWorkbookPath) {
    LinksFixture f;
    EXPECT_EQ(f.Run({"--yes", "links", "--link", "floor.xlsx", "--excel-workbook", "nowhere.xlsx", "--update-link"}),
              cli::exitFailed);
    EXPECT_NE(f.Printed().find("Invalid workbook path."), std::string::npos) << f.Printed();
}

TEST(LinksCommand, WithoutADrawingItSaysWhatToGive) {
    LinksFixture f;
    std::vector<std::string> args = {"--settings", f.settings, "links"};
    host::CurrentPrinter().Capture(true);
    host::CurrentPrinter().ClearCaptured();
    EXPECT_EQ(cli::RunCommandLine(args, TheApp()), cli::exitUsage);
    EXPECT_NE(f.Printed().find("--drawing FILE"), std::string::npos);
}

}  // namespace
}  // namespace attbat
