#include "cli/DxfTool.h"

#include <cstdio>

namespace cli {

int RunDxfTool(const std::vector<std::string>& args) {
    (void)args;
    std::fprintf(stderr, "velmar dxf: the dxf diagnostics are not built yet\n");
    return 1;
}

}  // namespace cli
