#pragma once
// `velmar dxf ...`: diagnostic commands over the drawing library for users who report a problem
// drawing (info, resave).

#include <string>
#include <vector>

namespace cli {

// Runs `velmar dxf <args...>`; returns the exit status (0 done, 1 failed, 2 bad usage).
int RunDxfTool(const std::vector<std::string>& args);

}  // namespace cli
