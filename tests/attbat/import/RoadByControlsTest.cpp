// The export and the import by handle as any front end drives them, with no command line: the
// values of their dialogs' controls and a recording message box, run by the module as the host
// runs a command.

#include <gtest/gtest.h>

#include <filesystem>

#include "arxutils/ArxUtils.h"
#include "attbat/export/CExportOptionsDialog.h"
#include "attbat/export/CScheduleDialog.h"
#include "attbat/export/ExportCommands.h"
#include "../export/ExportTestSupport.h"
#include "ImportTestSupport.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandRun.h"
#include "attbat/import/CImportByHandleDialog.h"
#include "attbat/import/ImportCommands.h"
#include "base/File.h"
#include "base/Path.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

struct Road {
    testing::TempFolder temp;
    std::string drawing = temp / "plan.dxf";
    std::string workbook = temp / "plan.xlsx";
    host::RecordingUi ui;

    Road() {
        std::filesystem::copy_file(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf", drawing);
        ImplementExportCommands(TheApp());
        ImplementImportCommands(TheApp());
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
    }
    ~Road() { host::CurrentPrinter().Capture(false); }

    RunSetup Setup() const {
        RunSetup setup;
        setup.drawing = drawing;
        setup.settings = temp / "settings.ini";
        setup.log = temp / "Velmar.log";
        return setup;
    }
    CommandStatus Run(std::string_view command, CommandContext& context, const RunSetup& setup) {
        return RunCommand(TheApp(), *FindCommandEntry(command), context, setup, ui);
    }
};

using testing::AttText;

TEST(RoadByControls, EveryOptionOfExportAndImportIsAControlOfTheirDialogs) {
    for (const Control& control : CExportOptionsDialog::Controls()) {
        EXPECT_NE(FindControl(ExportControls(), control.key), nullptr) << control.key;
    }
    for (const Control& control : CImportByHandleDialog::Controls()) {
        EXPECT_NE(FindControl(ImportByHandleControls(), control.key), nullptr) << control.key;
    }
    // and the preview, and where a table goes (the drag of the host)
    EXPECT_EQ(ExportControls().size(), CScheduleDialog::Controls().size() + 2);
    EXPECT_EQ(ImportByHandleControls().size(), CImportByHandleDialog::Controls().size() + 1);  // and the dry run
}

TEST(RoadByControls, ExportThenImportByHandleThroughDialogValuesAlone) {
    Road road;
    // Export: only the doors, one sheet, into a new workbook.
    CommandContext exporting;
    exporting.values.SetText("block-wildcard", "DOOR");
    exporting.values.SetChoice("workbook-mode", 0);
    exporting.values.SetCheck("border", false);
    RunSetup setup = road.Setup();
    setup.workbooks.output = road.workbook;
    ASSERT_EQ(road.Run("VelmarOut", exporting, setup), CommandStatus::Done)
        << host::CurrentPrinter().CapturedWarnings();
    ASSERT_TRUE(base::FileExists(road.workbook));

    // The user edits the MARK cell of one door.
    std::string handle;
    {
        excel::FileBackendOptions options;
        options.workbook = road.workbook;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
        auto comments = ExcelUtils::Worksheet->GetComments();
        for (int i = 1; i <= comments->Count() && handle.empty(); ++i) {
            std::string text = comments->Item(i)->Text();
            std::size_t lt = text.find('<'), mark = text.find("_MARK>");
            if (lt == std::string::npos || mark == std::string::npos) continue;
            handle = text.substr(lt + 1, mark - lt - 1);
            comments->Item(i)->Parent()->SetValue(excel::Variant::String("D-EDITED"));
        }
        ASSERT_FALSE(handle.empty());
        ASSERT_TRUE(scope.Save());
    }

    // A dry run lists the change and writes nothing.
    const std::string before = *base::ReadFile(road.drawing);
    RunSetup importing = road.Setup();
    importing.workbooks.workbook = road.workbook;
    CommandContext dryRun;
    dryRun.values.Press("dry-run");
    dryRun.values.SetChoice("sheets", 1);
    ASSERT_EQ(road.Run("VelmarInByHandle", dryRun, importing), CommandStatus::Done)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(host::CurrentPrinter().Captured().find(handle + " MARK: "), std::string::npos)
        << host::CurrentPrinter().Captured();
    EXPECT_EQ(*base::ReadFile(road.drawing), before);

    // The import writes it, and nothing asked the user anything.
    CommandContext import;
    import.values.SetChoice("sheets", 1);
    import.values.SetCheck("save-link", false);
    ASSERT_EQ(road.Run("VelmarInByHandle", import, importing), CommandStatus::Done)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(AttText(road.drawing, handle, "MARK"), "D-EDITED");
    EXPECT_TRUE(road.ui.Shown().empty());
}

TEST(RoadByControls, AValueTheWizardRefusesEndsTheCommandAsBadInputBeforeAnythingIsWritten) {
    Road road;
    CommandContext exporting;
    exporting.values.SetList("column-order", {"Z"});
    RunSetup setup = road.Setup();
    setup.workbooks.output = road.workbook;
    EXPECT_EQ(road.Run("VelmarOut", exporting, setup), CommandStatus::BadInput);
    EXPECT_FALSE(base::FileExists(road.workbook));
}

}  // namespace
}  // namespace attbat
