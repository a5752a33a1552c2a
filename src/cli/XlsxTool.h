#pragma once
// `velmar xlsx ...`: diagnostic commands over the workbook library (info, resave).

#include <string>
#include <vector>

namespace cli {

// Runs `velmar xlsx <args...>`; returns the exit status (0 done, 1 failed, 2 bad usage).
int RunXlsxTool(const std::vector<std::string>& args);

}  // namespace cli
