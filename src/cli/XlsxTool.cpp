#include "cli/XlsxTool.h"

#include <cstdio>

namespace cli {

int RunXlsxTool(const std::vector<std::string>& args) {
    (void)args;
    std::fprintf(stderr, "velmar xlsx: the xlsx diagnostics are not built yet\n");
    return 1;
}

}  // namespace cli
