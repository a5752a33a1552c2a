#pragma once
// The optional session log "Velmar.log": off until Velmar_Debug (or --debug) turns it on, then
// one file where sessions accumulate. Every Write is safe with the log off, so the long commands
// log their steps unconditionally.

#include <cstdio>
#include <string>
#include <string_view>

#include "base/Format.h"
#include "base/Status.h"

namespace attbat {

// The switch of the log; memory only, never saved in the settings. 0 at start.
extern int debugOn;

class CArxErrLog {
public:
    CArxErrLog() = default;
    // Writes the session end line and closes the file when it is open.
    ~CArxErrLog();
    CArxErrLog(const CArxErrLog&) = delete;
    CArxErrLog& operator=(const CArxErrLog&) = delete;

    // 1 without doing anything when debugOn is 0. Otherwise opens the log for appending (making
    // its folder) and writes the session head; 0, after reporting why, when it won't open.
    int Open();
    // Formats the line (cut at 2,047 characters), writes it with "\r\n" and flushes; nothing
    // when the file isn't open, whatever debugOn says.
    template <class... Args>
    void Write(std::string_view format, const Args&... args) {
        if (file_) WriteLine(base::Sprintf(format, args...));
    }
    // Writes the session end and closes; nothing when closed.
    void Close();
    bool IsOpen() const { return file_ != nullptr; }
    // The log's path, "" when its folder can't be found.
    static std::string LogFilePath();

private:
    void WriteLine(std::string_view line);
    std::FILE* file_ = nullptr;
};

// The one log of the module.
CArxErrLog& ErrLog();

// The host's text of a failed status.
std::string StatusText(const base::Status& status);
// For a failed status prints "\nARX ERROR: %s. %s: %d" with its text, the source file and line.
void ReportError(const base::Status& status, std::string_view file, int line);
// The same text without the line break, in a box titled "Velmar" with the warning icon.
void ReportErrorBox(const base::Status& status, std::string_view file, int line);

}  // namespace attbat
