#pragma once
// The command-line printer, where the system's acutPrintf lines go: each text as it stands, a
// leading "\n" starting a new line. Standard output by default; --quiet silences it and tests
// capture it.

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Format.h"
#include "base/Status.h"

namespace host {

class Printer;

// What one thread printed, kept to be told later in its place: work shared out over several
// threads comes out in the order one thread doing it all would have given.
class PrintRecording {
public:
    // From its construction to its end, what this thread prints goes into `recording`.
    class Scope {
    public:
        explicit Scope(PrintRecording& recording);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        PrintRecording* previous_;
    };

    // Tells what was recorded to `printer`, in the order it was printed, and forgets it.
    void Replay(Printer& printer);

private:
    friend class Printer;
    enum class Kind { Print, Warn, Hold, HoldAction };
    struct Entry {
        Kind kind;
        std::string text;
        std::function<void()> action;  // HoldAction only
    };
    std::vector<Entry> entries_;
};

// Where printed text ends up: standard output, or a string for tests.
class Printer {
public:
    // Writes `text` as it stands; a "\n" at the very start of the output, or right after a line
    // end, is absorbed because the line it asks for is already new.
    void Print(std::string_view text);
    // Ends the current line if something is on it; the program calls it before it exits.
    void FinishLine();
    // A warning on its own line on standard error, never silenced (captured with the rest).
    void Warn(std::string_view text);
    // Nothing reaches the output while quiet (captured text neither).
    void SetQuiet(bool quiet) { quiet_ = quiet; }
    bool Quiet() const { return quiet_; }
    // Sends the text to standard error instead (so that --json keeps standard output clean).
    void SetToStandardError(bool toStderr) { toStderr_ = toStderr; }
    // Captures into a string instead of standard output (true), or stops capturing (false).
    void Capture(bool capture);
    // The text captured so far; "" when not capturing.
    const std::string& Captured() const { return captured_; }
    void ClearCaptured() { captured_.clear(); warnings_.clear(); }
    // The warnings captured so far.
    const std::string& CapturedWarnings() const { return warnings_; }
    // Keeps a line that tells of a success which depends on a save still to come (a changed
    // current drawing or workbook is written when the command ends); see ReleaseHeld.
    void Hold(std::string_view text);
    // Keeps `tell` (a message box, say) in order with the held lines: done when they are
    // printed, forgotten when they are.
    void HoldAction(std::function<void()> tell);
    // Prints the held lines once the saves succeeded (`saved`), or forgets them when one failed,
    // so that no success is told of a file that wasn't written.
    void ReleaseHeld(bool saved);

private:
    void Emit(std::string_view text);

    bool quiet_ = false;
    bool capturing_ = false;
    bool toStderr_ = false;
    bool atLineStart_ = true;
    std::string captured_;
    std::string warnings_;
    std::vector<std::function<void()>> held_;
};

// The printer of this run.
Printer& CurrentPrinter();

// A failure as it stands in one of the system's lines ("Failed to open %s: %s."), where the
// host's error text would: its message without the closing period the line brings.
std::string StatusText(const base::Status& status);

// acutPrintf: formats the system's format string and prints it on the command line.
template <class... Args>
void Printf(std::string_view format, const Args&... args) {
    CurrentPrinter().Print(base::Sprintf(format, args...));
}

// Like Printf, for a success line that may be told only once the saves at the end of the command
// have succeeded.
template <class... Args>
void PrintfOnceSaved(std::string_view format, const Args&... args) {
    CurrentPrinter().Hold(base::Sprintf(format, args...));
}

}  // namespace host
