#include "cli/LiveSpreadsheet.h"

#ifdef VELMAR_HAVE_CALC
#include "arxutils/calc/CalcBackend.h"
#endif

namespace cli {

attbat::LiveServerFactory LiveServerFactory() {
#ifdef VELMAR_HAVE_CALC
    return [](const std::string& connection, bool start,
              const arxutils::excel::FileBackendOptions& workbooks) -> std::unique_ptr<arxutils::excel::ExcelServer> {
        arxutils::calc::CalcBackendOptions options;
        options.connection = connection;
        options.start = start;
        options.workbook = workbooks.workbook;
        options.sheet = workbooks.sheet;
        options.selection = workbooks.selection;
        options.activeCell = workbooks.activeCell;
        return arxutils::calc::CalcBackend::Create(options);
    };
#else
    return {};
#endif
}

}  // namespace cli
