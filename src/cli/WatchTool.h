#pragma once
// `velmar watch --drawing FILE --workbook BOOK`: uploads the changes another program saves into
// the drawing, until Ctrl-C.
#include <string>
#include <vector>

namespace attbat {
class CAttBatApp;
}

namespace cli {

// The words after the program name but for "watch": global options and the watch's own.
int RunWatchTool(const std::vector<std::string>& args, attbat::CAttBatApp& app);
// Its usage text.
std::string WatchUsageText();

}  // namespace cli
