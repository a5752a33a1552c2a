#include "cli/GlobalOptions.h"

#include "cli/LiveSpreadsheet.h"

namespace cli {

namespace {

constexpr GlobalOptionInfo globalOptions[] = {
    {"drawing", "FILE", "the current drawing (.dxf); saved in place, keeping FILE.bak"},
    {"workbook", "FILE", "the active workbook (.xlsx, .xlsm)"},
    {"sheet", "NAME", "the active sheet of the workbook"},
    {"selection", "RANGE", "the selected range of the sheet, e.g. A2:F40"},
    {"active-cell", "CELL", "the active cell of the sheet, e.g. B3"},
    {"output", "FILE", "where a new workbook or file is written"},
    {"settings", "FILE", "the settings file (default $XDG_CONFIG_HOME/velmar/settings.ini)"},
    {"log", "FILE", "the session log (default $XDG_STATE_HOME/velmar/Velmar.log)"},
    {"answers", "FILE", "answers to prompts and questions, given in advance"},
    {"spreadsheet", "file|calc", "work on workbook files, or on the documents of a running LibreOffice Calc (kept)"},
    {"calc-connect", "CONN", "where Calc accepts connections, e.g. socket,host=localhost,port=2002 or pipe,name=velmar (kept)"},
    {"calc-start", "", "start a headless Calc accepting there when none answers"},
    {"dwg-converter", "CMD", "read .dwg drawings through your converter, 'COMMAND {in} {out}' (kept)"},
    {"dxf-to-dwg-converter", "CMD", "write changed .dwg drawings back through one (kept; else refused)"},
    {"yes", "", "answer Yes (or OK) to every question"},
    {"no", "", "answer No (or Cancel) to every question"},
    {"json", "", "print one machine-readable summary on standard output"},
    {"quiet", "", "print nothing but warnings and errors"},
    {"debug", "", "turn the session log on for this run"},
    {"force", "", "allow --output to replace an existing file"},
    {"help", "", "show this help (after a command: the command's options)"},
    {"version", "", "show the version"},
};

}  // namespace

std::span<const GlobalOptionInfo> GlobalOptionTable() { return globalOptions; }

const GlobalOptionInfo* FindGlobalOption(std::string_view name) {
    for (const GlobalOptionInfo& option : globalOptions) {
        if (option.name == name) return &option;
    }
    return nullptr;
}

OptionWord SplitOptionWord(std::string_view word) {
    if (word.substr(0, 2) == "--") word.remove_prefix(2);
    const std::size_t eq = word.find('=');
    if (eq == std::string_view::npos) return {std::string(word), std::nullopt};
    return {std::string(word.substr(0, eq)), std::string(word.substr(eq + 1))};
}

void SetGlobalOption(GlobalOptions& global, std::string_view name, const std::string& value) {
    if (name == "drawing") global.drawing = value;
    else if (name == "workbook") global.workbook = value;
    else if (name == "sheet") global.sheet = value;
    else if (name == "selection") global.selection = value;
    else if (name == "active-cell") global.activeCell = value;
    else if (name == "output") global.output = value;
    else if (name == "settings") global.settings = value;
    else if (name == "log") global.log = value;
    else if (name == "answers") global.answers = value;
    else if (name == "dwg-converter") global.dwgConverter = value;
    else if (name == "dxf-to-dwg-converter") global.dxfToDwgConverter = value;
    else if (name == "spreadsheet") global.spreadsheet = value;
    else if (name == "calc-connect") global.calcConnect = value;
    else if (name == "calc-start") global.calcStart = true;
    else if (name == "yes") global.yes = true;
    else if (name == "no") global.no = true;
    else if (name == "json") global.json = true;
    else if (name == "quiet") global.quiet = true;
    else if (name == "debug") global.debug = true;
    else if (name == "force") global.force = true;
}

attbat::RunSetup MakeRunSetup(const GlobalOptions& global) {
    attbat::RunSetup setup;
    setup.drawing = global.drawing;
    setup.workbooks = {global.workbook, global.sheet, global.selection, global.activeCell,
                       global.output, global.force, global.drawing};
    setup.settings = global.settings;
    setup.log = global.log;
    setup.quiet = global.quiet;
    setup.printToStandardError = global.json;
    setup.debug = global.debug;
    setup.dwgConverter = global.dwgConverter;
    setup.dxfToDwgConverter = global.dxfToDwgConverter;
    setup.spreadsheet = global.spreadsheet;
    setup.calcConnection = global.calcConnect;
    setup.calcStart = global.calcStart;
    setup.liveServer = LiveServerFactory();
    return setup;
}

}  // namespace cli
