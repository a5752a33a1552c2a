#include "host/Editor.h"

#include <charconv>
#include <optional>

#include "base/Text.h"
#include "host/Console.h"
#include "host/Printer.h"

namespace host {

namespace {

std::vector<std::string> SplitKeywords(std::string_view keywords) {
    std::vector<std::string> list;
    std::size_t pos = 0;
    while (pos < keywords.size()) {
        std::size_t end = keywords.find(' ', pos);
        if (end == std::string_view::npos) end = keywords.size();
        if (end > pos) list.emplace_back(keywords.substr(pos, end - pos));
        pos = end + 1;
    }
    return list;
}

// How much of a keyword must be typed: its leading capitals (and digits), at least one letter.
std::size_t RequiredLength(std::string_view keyword) {
    std::size_t n = 0;
    while (n < keyword.size() &&
           ((keyword[n] >= 'A' && keyword[n] <= 'Z') || (keyword[n] >= '0' && keyword[n] <= '9'))) {
        ++n;
    }
    return n == 0 ? keyword.size() : n;
}

}  // namespace

int Editor::InitGet(int flags, std::string_view keywords) {
    pending_ = {flags, std::string(keywords)};
    return RTNORM;
}

Editor::Pending Editor::TakePending() {
    Pending taken = std::move(pending_);
    pending_ = {};
    return taken;
}

bool Editor::Ask(std::string_view prompt, std::string& line) {
    if (std::optional<std::string> given = console_.PresetAnswer(prompt)) {
        // An answer given in advance stands after its prompt, as if typed on the command line.
        CurrentPrinter().Print(prompt);
        CurrentPrinter().Print(*given + "\n");
        line = *given;
        return true;
    }
    if (console_.Interactive()) {
        // The terminal shows the prompt, and the cancel when there is one.
        std::optional<std::string> typed = console_.AskTerminal(prompt);
        if (typed) line = *typed;
        return typed.has_value();
    }
    CurrentPrinter().Print(prompt);
    CurrentPrinter().Print("*Cancel*\n");
    return false;
}

std::string Editor::MatchKeyword(std::string_view keywords, std::string_view input) {
    std::string typed = base::Trim(input);
    // A leading '_' asks for the keyword by its global name, which here is the same.
    if (!typed.empty() && typed.front() == '_') typed.erase(0, 1);
    if (typed.empty()) return {};
    std::vector<std::string> list = SplitKeywords(keywords);
    for (const std::string& keyword : list) {
        if (base::EqualNoCase(keyword, typed)) return keyword;
    }
    std::string found;
    for (const std::string& keyword : list) {
        std::size_t typedLength = base::Length(typed);
        if (typedLength < RequiredLength(keyword) || typedLength > base::Length(keyword)) continue;
        if (!base::EqualNoCase(base::Left(keyword, static_cast<long>(typedLength)), typed)) continue;
        if (!found.empty()) return {};
        found = keyword;
    }
    return found;
}

int Editor::GetKword(std::string_view prompt, std::string& result) {
    Pending pending = TakePending();
    std::string line;
    while (Ask(prompt, line)) {
        if (base::Trim(line).empty()) {
            if (pending.flags & RSG_NONULL) continue;
            result.clear();
            return RTNONE;
        }
        std::string keyword = MatchKeyword(pending.keywords, line);
        if (!keyword.empty()) {
            result = keyword;
            return RTNORM;
        }
        CurrentPrinter().Print("\nInvalid option keyword.");
    }
    return RTCAN;
}

int Editor::GetString(bool crAllowed, std::string_view prompt, std::string& result) {
    TakePending();
    std::string line;
    if (!Ask(prompt, line)) return RTCAN;
    if (!crAllowed) {
        std::string trimmed = base::TrimLeft(line);
        std::size_t blank = trimmed.find(' ');
        line = blank == std::string::npos ? trimmed : trimmed.substr(0, blank);
    }
    result = line;
    return RTNORM;
}

int Editor::GetInt(std::string_view prompt, int& result) {
    Pending pending = TakePending();
    std::string line;
    while (Ask(prompt, line)) {
        std::string typed = base::Trim(line);
        if (typed.empty()) {
            if (pending.flags & RSG_NONULL) continue;
            return RTNONE;
        }
        int value = 0;
        const char* first = typed.data() + (typed.front() == '+' ? 1 : 0);
        auto [end, error] = std::from_chars(first, typed.data() + typed.size(), value);
        if (error != std::errc() || end != typed.data() + typed.size()) {
            std::string keyword = MatchKeyword(pending.keywords, typed);
            if (!keyword.empty()) {
                lastKeyword_ = keyword;
                return RTKWORD;
            }
            CurrentPrinter().Print("\nRequires an integer value.");
            continue;
        }
        if ((pending.flags & RSG_NOZERO) && value == 0) {
            CurrentPrinter().Print("\nValue must be nonzero.");
            continue;
        }
        if ((pending.flags & RSG_NONEG) && value < 0) {
            CurrentPrinter().Print("\nValue must be positive.");
            continue;
        }
        result = value;
        return RTNORM;
    }
    return RTCAN;
}

int Editor::GetInput(std::string& keyword) const {
    keyword = lastKeyword_;
    return RTNORM;
}

Editor& CurrentEditor() {
    static Editor editor(CurrentConsole());
    return editor;
}

}  // namespace host
