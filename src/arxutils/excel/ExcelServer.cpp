#include "arxutils/excel/ExcelServer.h"

#include "arxutils/excel/FileBackend.h"
#include "base/Format.h"

namespace arxutils::excel {

namespace {

ExcelServer* installed = nullptr;

// Until the program installs one, no instance runs and a started one has no files.
ExcelServer& BuiltinServer() {
    static std::unique_ptr<FileBackend> builtin = std::move(FileBackend::Create({}).Value());
    return *builtin;
}

}  // namespace

std::string ExcelServer::NoInstanceText(std::int32_t code) {
    return base::Sprintf("%s: Can't get active Excel: %X", std::string(kApplicationClassId), static_cast<std::uint32_t>(code));
}

ExcelServer& CurrentServer() { return installed ? *installed : BuiltinServer(); }

void SetCurrentServer(ExcelServer* server) { installed = server; }

}  // namespace arxutils::excel
