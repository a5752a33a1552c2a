#pragma once
// Settings a run takes from its command line or else from the settings file (section "Velmar"):
// a value given for the run is stored first, as a dialog's OK would, and holds from then on.

#include <optional>
#include <string>
#include <string_view>

#include "base/Status.h"

namespace attbat {

// The value `given` for the run (stored; an empty one removes the setting), or else the stored
// one ("" when none). A value that can't be stored is said and holds for this run.
std::string GivenOrStored(std::string_view name, const std::optional<std::string>& given);

// Which spreadsheet the commands of a run talk to.
struct SpreadsheetChoice {
    bool live = false;       // a running LibreOffice Calc; else the workbook files
    std::string connection;  // where Calc accepts connections; "" for the default
};

// The choice of --spreadsheet and --calc-connect (kept as Spreadsheet and CalcConnection); the
// error names a stored or given value that is neither "file" nor "calc".
base::Result<SpreadsheetChoice> ChooseSpreadsheet(const std::optional<std::string>& spreadsheet,
                                                  const std::optional<std::string>& connection);

}  // namespace attbat
