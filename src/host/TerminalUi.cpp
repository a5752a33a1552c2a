#include "host/TerminalUi.h"

#include <cstdio>
#include <optional>
#include <string>

#include "base/Text.h"
#include "host/Console.h"
#include "host/Printer.h"

namespace host {

namespace {

bool HasButton(BoxButtons buttons, BoxAnswer answer) {
    switch (answer) {
    case BoxAnswer::Ok: return buttons == BoxButtons::Ok || buttons == BoxButtons::OkCancel;
    case BoxAnswer::Cancel:
        return buttons == BoxButtons::OkCancel || buttons == BoxButtons::YesNoCancel;
    case BoxAnswer::Yes:
    case BoxAnswer::No: return buttons == BoxButtons::YesNo || buttons == BoxButtons::YesNoCancel;
    }
    return false;
}

const char* Choices(BoxButtons buttons) {
    switch (buttons) {
    case BoxButtons::Ok: return "";
    case BoxButtons::OkCancel: return "[O]k/[C]ancel:";
    case BoxButtons::YesNo: return "[Y]es/[N]o:";
    case BoxButtons::YesNoCancel: return "[Y]es/[N]o/[C]ancel:";
    }
    return "";
}

// What a box answers when nobody can: its cancel, or No when it has no Cancel.
BoxAnswer Unanswered(BoxButtons buttons) {
    if (buttons == BoxButtons::Ok) return BoxAnswer::Ok;
    return HasButton(buttons, BoxAnswer::Cancel) ? BoxAnswer::Cancel : BoxAnswer::No;
}

void Show(const ShownBox& box) {
    std::string text = box.title.empty() ? box.text : box.title + ": " + box.text;
    if (box.icon == BoxIcon::Warning || box.icon == BoxIcon::Error) {
        CurrentPrinter().FinishLine();
        std::fprintf(stderr, "%s\n", text.c_str());
        std::fflush(stderr);
        return;
    }
    CurrentPrinter().Print("\n" + text + "\n");
}

}  // namespace

std::optional<BoxAnswer> ParseBoxAnswer(std::string_view text, BoxButtons buttons) {
    std::string word = base::Trim(text);
    std::optional<BoxAnswer> answer;
    for (auto [name, value] : {std::pair{"yes", BoxAnswer::Yes}, std::pair{"no", BoxAnswer::No},
                               std::pair{"ok", BoxAnswer::Ok},
                               std::pair{"cancel", BoxAnswer::Cancel}}) {
        std::string_view full(name);
        if (!word.empty() &&
            (base::EqualNoCase(word, full) || base::EqualNoCase(word, full.substr(0, 1)))) {
            answer = value;
            break;
        }
    }
    if (answer && HasButton(buttons, *answer)) return answer;
    return std::nullopt;
}

BoxAnswer TerminalUi::MessageBox(const ShownBox& box) {
    if (box.buttons == BoxButtons::Ok) {
        Show(box);
        return BoxAnswer::Ok;
    }
    if (auto given = console_.PresetAnswer(box.text)) {
        Show(box);
        if (auto answer = ParseBoxAnswer(*given, box.buttons)) return *answer;
        return Unanswered(box.buttons);
    }
    if (console_.GetPreset() != Preset::None) {
        Show(box);
        if (console_.GetPreset() == Preset::Yes) {
            return box.buttons == BoxButtons::OkCancel ? BoxAnswer::Ok : BoxAnswer::Yes;
        }
        return box.buttons == BoxButtons::OkCancel ? BoxAnswer::Cancel : BoxAnswer::No;
    }
    if (!console_.Interactive()) {
        Show(box);
        return Unanswered(box.buttons);
    }
    std::string prompt = (box.title.empty() ? box.text : box.title + ": " + box.text) + "\n" +
                         Choices(box.buttons);
    while (auto typed = console_.AskTerminal(prompt)) {
        if (auto answer = ParseBoxAnswer(*typed, box.buttons)) return *answer;
        prompt = Choices(box.buttons);
    }
    return Unanswered(box.buttons);
}

}  // namespace host
