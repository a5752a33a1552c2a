#include "cli/shell/ShellCompletion.h"

#include <algorithm>

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandTable.h"
#include "base/Text.h"
#include "cli/GlobalOptions.h"

namespace cli {

namespace {

constexpr std::string_view kOwnWords[] = {"open", "close", "documents", "switch", "save", "state", "help", "exit", "quit"};

bool Begins(std::string_view word, std::string_view partial) {
    return base::Length(word) >= base::Length(partial) &&
           base::EqualNoCase(base::Left(word, static_cast<long>(base::Length(partial))), partial);
}

void Offer(std::vector<std::string>& words, std::string_view word, std::string_view partial) {
    if (!word.empty() && Begins(word, partial) && std::find(words.begin(), words.end(), word) == words.end()) {
        words.emplace_back(word);
    }
}

const std::vector<attbat::Control>* ControlsOf(const attbat::CAttBatApp& app, std::string_view command) {
    const attbat::CommandEntry* entry = attbat::FindCommandEntry(command);
    const attbat::CommandHandler* handler = entry ? app.Handler(*entry) : nullptr;
    return handler ? &handler->controls : nullptr;
}

// The values of the option `word` (such as "--source"), when it takes words rather than files.
bool OfferValues(const std::vector<attbat::Control>* controls, std::string_view word, std::string_view partial,
                 Completion& completion) {
    if (word.substr(0, 2) != "--") return false;
    const std::string name(word.substr(2));
    if (const attbat::Control* control = controls ? attbat::FindControl(*controls, name) : nullptr) {
        if (control->kind == attbat::ControlKind::Check) {
            for (std::string_view value : {"on", "off"}) Offer(completion.words, value, partial);
        } else if (control->kind == attbat::ControlKind::Choice) {
            for (const std::string& choice : control->choices) Offer(completion.words, choice, partial);
        } else if (control->kind == attbat::ControlKind::Button) {
            return false;
        } else {
            completion.files = true;
        }
        return true;
    }
    if (const GlobalOptionInfo* option = FindGlobalOption(name); option && !option->valueName.empty()) {
        completion.files = true;
        return true;
    }
    return false;
}

}  // namespace

std::span<const std::string_view> ShellWordsOwn() { return kOwnWords; }

Completion CompleteShellWord(const attbat::CAttBatApp& app, const std::vector<std::string>& before,
                             std::string_view partial) {
    Completion completion;
    if (before.empty()) {
        for (std::string_view word : kOwnWords) Offer(completion.words, word, partial);
        for (const attbat::CommandEntry& entry : attbat::CommandTable()) {
            Offer(completion.words, entry.alias, partial);
            Offer(completion.words, entry.localName, partial);
        }
        std::sort(completion.words.begin(), completion.words.end());
        return completion;
    }
    const std::vector<attbat::Control>* controls = ControlsOf(app, before.front());
    if (OfferValues(controls, before.back(), partial, completion)) {
        std::sort(completion.words.begin(), completion.words.end());
        return completion;
    }
    if (partial.substr(0, 1) == "-") {
        if (controls) {
            for (const attbat::Control& control : *controls) Offer(completion.words, "--" + control.key, partial);
        }
        for (const GlobalOptionInfo& option : GlobalOptionTable()) Offer(completion.words, "--" + std::string(option.name), partial);
        std::sort(completion.words.begin(), completion.words.end());
        return completion;
    }
    completion.files = true;
    return completion;
}

}  // namespace cli
