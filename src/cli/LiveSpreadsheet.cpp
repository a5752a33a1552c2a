#include "cli/LiveSpreadsheet.h"

#ifdef VELMAR_HAVE_CALC
#include "arxutils/calc/CalcBackend.h"
#endif

namespace cli {

attbat::LiveServerFactory LiveServerFactory() {
#ifdef VELMAR_HAVE_CALC
    return [](const std::string& connection, bool start) -> std::unique_ptr<arxutils::excel::ExcelServer> {
        arxutils::calc::CalcBackendOptions options;
        options.connection = connection;
        options.start = start;
        return arxutils::calc::CalcBackend::Create(options);
    };
#else
    return {};
#endif
}

}  // namespace cli
