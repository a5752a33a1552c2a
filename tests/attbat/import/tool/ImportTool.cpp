// velmar with the export and import commands in place, for the interop checks and the
// side-by-side timing until the program's start-up registers the import too.

#include <string>
#include <vector>

#include "attbat/export/ExportCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandLine.h"
#include "attbat/import/ImportCommands.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    attbat::ImplementExportCommands(attbat::TheApp());
    attbat::ImplementImportCommands(attbat::TheApp());
    return attbat::RunCommandLine(args, attbat::TheApp());
}
