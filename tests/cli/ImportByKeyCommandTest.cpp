// `velmar import-by-key` driven as the program is: options into the dialog, Start, the import.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "attbat/export/ExportTestSupport.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/import/ImportCommands.h"
#include "attbat/import/ImportTestSupport.h"
#include "base/Path.h"
#include "cli/CommandLine.h"
#include "cli/ExitCodes.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {
namespace {

using cli::exitFailed;
using cli::exitOk;

const std::string kSample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";
const std::string kDoors = std::string(VELMAR_SOURCE_DIR) + "/tests/data/import/doors.xlsx";

struct KeyCommand {
    testing::TempFolder temp;
    std::string settings = temp / "settings.ini";
    std::string drawing = temp / "plan.dxf";
    std::string book = temp / "doors.xlsx";

    KeyCommand() {
        std::filesystem::copy_file(kSample, drawing);
        std::filesystem::copy_file(kDoors, book);
        ImplementImportCommands(TheApp());
    }
    ~KeyCommand() {
        host::DocumentManager::Instance().CloseAll();
        host::CurrentPrinter().Capture(false);
    }
    int Run(std::vector<std::string> words) {
        words.insert(words.begin(), {"--settings", settings, "--workbook", book});
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        return cli::RunCommandLine(words, TheApp());
    }
    std::string Warnings() const { return host::CurrentPrinter().CapturedWarnings(); }
    std::string Printed() const { return host::CurrentPrinter().Captured(); }
};

TEST(ImportByKeyCommand, AMissingHeaderRowIsSaidWithTheOptionThatGivesIt) {
    KeyCommand f;
    EXPECT_EQ(f.Run({"--drawing", f.drawing, "import-by-key", "--tags-from", "header-row", "--key", "MARK",
                     "--block", "DOOR"}),
              exitFailed);
    EXPECT_NE(f.Printed().find("Header Row is invalid."), std::string::npos) << f.Printed();
    EXPECT_NE(f.Warnings().find("--header-row N"), std::string::npos) << f.Warnings();
}

TEST(ImportByKeyCommand, ColumnsModeWithoutColumnsSaysHowToGiveThemOrAHeaderRow) {
    KeyCommand f;
    EXPECT_EQ(f.Run({"--drawing", f.drawing, "import-by-key", "--key", "MARK", "--block", "DOOR"}), exitFailed);
    EXPECT_NE(f.Printed().find("Cannot find the column for the key attribute ."), std::string::npos);
    EXPECT_NE(f.Warnings().find("--column C=TAG"), std::string::npos) << f.Warnings();
}

TEST(ImportByKeyCommand, DrawingsAfterTheCommandAreUpdatedAndStoredWithFullPaths) {
    KeyCommand f;
    std::filesystem::path here = std::filesystem::current_path();
    std::filesystem::current_path(f.temp.path);
    int code = f.Run({"import-by-key", "--tags-from", "header-row", "--header-row", "1", "--key", "MARK",
                      "--block", "DOOR", "plan.dxf"});
    std::filesystem::current_path(here);
    ASSERT_EQ(code, exitOk) << f.Warnings();
    EXPECT_EQ(testing::AttText(f.drawing, "DE", "WIDTH"), "950");
    EXPECT_EQ(CRegistry::GetList("DrawingList"), std::vector<std::string>{f.drawing});
    EXPECT_NE(f.Printed().find("Successfully update " + f.drawing + "."), std::string::npos) << f.Printed();
}

TEST(ImportByKeyCommand, TheStoredChoicesServeTheNextRun) {
    KeyCommand f;
    ASSERT_EQ(f.Run({"--drawing", f.drawing, "import-by-key", "--tags-from", "header-row", "--header-row", "1",
                     "--key", "MARK", "--block", "DOOR", "--dry-run"}),
              exitOk)
        << f.Warnings();
    // The header row is no stored setting; the mode, key and blocks are.
    ASSERT_EQ(f.Run({"--drawing", f.drawing, "import-by-key", "--header-row", "1"}), exitOk) << f.Warnings();
    EXPECT_EQ(host::CurrentPrinter().Captured(), "Successfully import Doors.\nSuccessfully import the attribute values.\n");
}

}  // namespace
}  // namespace attbat
