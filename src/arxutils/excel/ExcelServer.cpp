#include "arxutils/excel/ExcelServer.h"

#include "arxutils/excel/FileBackend.h"

namespace arxutils::excel {

namespace {

ExcelServer* installed = nullptr;

// Until the program installs one, no instance runs and a started one has no files.
ExcelServer& BuiltinServer() {
    static std::unique_ptr<FileBackend> builtin = std::move(FileBackend::Create({}).Value());
    return *builtin;
}

}  // namespace

ExcelServer& CurrentServer() { return installed ? *installed : BuiltinServer(); }

void SetCurrentServer(ExcelServer* server) { installed = server; }

}  // namespace arxutils::excel
