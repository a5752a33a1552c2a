#include "attbat/frame/Control.h"

namespace attbat {

std::string ValueName(const Control& control) {
    switch (control.kind) {
    case ControlKind::Check: return "on|off";
    case ControlKind::Choice: {
        std::string words;
        for (const std::string& choice : control.choices) words += (words.empty() ? "" : "|") + choice;
        return words;
    }
    case ControlKind::Text:
    case ControlKind::List: return control.valueName;
    case ControlKind::Button: return {};
    }
    return {};
}

const Control* FindControl(const std::vector<Control>& controls, std::string_view key) {
    for (const Control& control : controls) {
        if (control.key == key) return &control;
    }
    return nullptr;
}

void Append(std::vector<Control>& controls, const std::vector<Control>& more) {
    controls.insert(controls.end(), more.begin(), more.end());
}

}  // namespace attbat
