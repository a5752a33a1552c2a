#include "arxutils/calc/CalcModule.h"

extern "C" arxutils::excel::ExcelServer* velmar_calc_backend(
    const arxutils::calc::CalcBackendOptions& options) {
    return arxutils::calc::CalcBackend::Create(options).release();
}
