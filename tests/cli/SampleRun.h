#pragma once
// The sample drawing in a folder of its own, with a settings file, and velmar run on it as the
// program runs it, its printed lines captured.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "attbat/authoring/AuthoringCommands.h"
#include "attbat/export/ExportCommands.h"
#include "attbat/export/ExportTestSupport.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/import/ImportCommands.h"
#include "attbat/links/LinkCommands.h"
#include "cli/CommandLine.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

struct SampleRun {
    testing::TempFolder temp;
    std::string settings = temp / "settings.ini";
    std::string drawing = temp / "floor.dxf";
    std::string workbook = temp / "floor.xlsx";

    SampleRun() {
        std::filesystem::copy_file(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf", drawing);
        ImplementExportCommands(TheApp());
        ImplementImportCommands(TheApp());
        ImplementLinkCommands(TheApp());
        ImplementAuthoringCommands(TheApp());
    }
    ~SampleRun() {
        host::DocumentManager::Instance().CloseAll();
        host::CurrentPrinter().Capture(false);
    }
    // velmar with the settings file and the drawing, then `words`.
    int Run(std::vector<std::string> words) {
        std::vector<std::string> args = {"--settings", settings, "--drawing", drawing};
        args.insert(args.end(), words.begin(), words.end());
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        return cli::RunCommandLine(args, TheApp());
    }
    // What the last run printed, warnings after the lines.
    std::string Printed() const {
        return host::CurrentPrinter().Captured() + host::CurrentPrinter().CapturedWarnings();
    }
};

}  // namespace attbat
