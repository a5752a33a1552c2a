#include "host/Printer.h"

#include <cstdio>

namespace host {

namespace {

// The recording of this thread's output; null when it prints for itself.
thread_local PrintRecording* recording = nullptr;

}  // namespace

PrintRecording::Scope::Scope(PrintRecording& target) : previous_(recording) { recording = &target; }

PrintRecording::Scope::~Scope() { recording = previous_; }

void PrintRecording::Replay(Printer& printer) {
    for (Entry& entry : entries_) {
        switch (entry.kind) {
            case Kind::Print:
                printer.Print(entry.text);
                break;
            case Kind::Warn:
                printer.Warn(entry.text);
                break;
            case Kind::Hold:
                printer.Hold(entry.text);
                break;
            case Kind::HoldAction:
                printer.HoldAction(std::move(entry.action));
                break;
        }
    }
    entries_.clear();
}

void Printer::Hold(std::string_view text) {
    if (recording) {
        recording->entries_.push_back({PrintRecording::Kind::Hold, std::string(text), {}});
        return;
    }
    held_.push_back([this, line = std::string(text)] { Print(line); });
}

void Printer::HoldAction(std::function<void()> tell) {
    if (recording) {
        recording->entries_.push_back({PrintRecording::Kind::HoldAction, {}, std::move(tell)});
        return;
    }
    held_.push_back(std::move(tell));
}

void Printer::Print(std::string_view text) {
    if (recording) {
        recording->entries_.push_back({PrintRecording::Kind::Print, std::string(text), {}});
        return;
    }
    if (quiet_ || text.empty()) return;
    if (atLineStart_ && text.front() == '\n') text.remove_prefix(1);
    if (text.empty()) return;
    Emit(text);
    atLineStart_ = text.back() == '\n';
}

void Printer::FinishLine() {
    if (atLineStart_) return;
    if (!quiet_) Emit("\n");
    atLineStart_ = true;
}

void Printer::Warn(std::string_view text) {
    if (recording) {
        recording->entries_.push_back({PrintRecording::Kind::Warn, std::string(text), {}});
        return;
    }
    if (capturing_) {
        warnings_.append(text);
        warnings_.push_back('\n');
        return;
    }
    FinishLine();
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

void Printer::ReleaseHeld(bool saved) {
    std::vector<std::function<void()>> held = std::move(held_);
    held_.clear();
    if (!saved)
        return;
    for (const auto& tell : held)
        tell();
}

void Printer::Capture(bool capture) {
    if (!capturing_ && !capture) return;
    if (!capturing_) std::fflush(stdout);
    capturing_ = capture;
    captured_.clear();
    warnings_.clear();
    held_.clear();
    atLineStart_ = true;
}

void Printer::Emit(std::string_view text) {
    if (capturing_) {
        captured_.append(text);
        return;
    }
    std::FILE* stream = toStderr_ ? stderr : stdout;
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

Printer& CurrentPrinter() {
    static Printer printer;
    return printer;
}

std::string StatusText(const base::Status& status) {
    std::string text = status.Message();
    while (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

}  // namespace host
