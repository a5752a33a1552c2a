#include "attbat/frame/CArxErrLog.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "base/Path.h"
#include "base/Text.h"
#include "host/Locations.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

int debugOn = 0;

namespace {

constexpr long maxLine = 2047;

std::string Now() {
    std::time_t now = std::time(nullptr);
    std::tm local {};
    localtime_r(&now, &local);
    char text[128];
    std::size_t n = std::strftime(text, sizeof text, "%B %d, %Y %H:%M:%S", &local);
    return std::string(text, n);
}

}  // namespace

CArxErrLog::~CArxErrLog() { Close(); }

std::string CArxErrLog::LogFilePath() { return host::LogFilePath(); }

int CArxErrLog::Open() {
    if (debugOn == 0) return 1;
    if (file_) return 1;
    std::string path = LogFilePath();
    if (path.empty()) {
        host::CurrentPrinter().Warn("The log folder can't be found: neither XDG_STATE_HOME nor HOME is set.");
        return 0;
    }
    std::error_code ignored;
    std::string folder = base::Folder(path);
    if (!folder.empty()) std::filesystem::create_directories(folder, ignored);
    file_ = std::fopen(path.c_str(), "ab");
    if (!file_) {
        host::CurrentPrinter().Warn(
            base::Sprintf("Cannot open the log file \"%s\": %s.", path, std::strerror(errno)));
        return 0;
    }
    std::string head = base::Sprintf("Product: %s.\r\nVersion %s.\r\nSession start: %s\r\n",
                                     "Velmar", "9.72", Now());
    std::fwrite(head.data(), 1, head.size(), file_);
    std::fflush(file_);
    return 1;
}

void CArxErrLog::Close() {
    if (!file_) return;
    std::string end = base::Sprintf("Session end: %s\n", Now());
    std::fwrite(end.data(), 1, end.size(), file_);
    std::fclose(file_);
    file_ = nullptr;
}

void CArxErrLog::WriteLine(std::string_view line) {
    std::string cut = base::Left(line, maxLine);
    cut += "\r\n";
    // A failing write is swallowed: nothing in logging stops a command.
    std::fwrite(cut.data(), 1, cut.size(), file_);
    std::fflush(file_);
}

CArxErrLog& ErrLog() {
    static CArxErrLog log;
    return log;
}

std::string StatusText(const base::Status& status) {
    return status.IsOk() ? "eOk" : status.Message();
}

void ReportError(const base::Status& status, std::string_view file, int line) {
    if (status.IsOk()) return;
    host::Printf("\nARX ERROR: %s. %s: %d", StatusText(status), file, line);
}

void ReportErrorBox(const base::Status& status, std::string_view file, int line) {
    if (status.IsOk()) return;
    host::ShowMessage(base::Sprintf("ARX ERROR: %s. %s: %d", StatusText(status), file, line),
                      "Velmar", host::BoxIcon::Warning);
}

}  // namespace attbat
