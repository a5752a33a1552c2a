#include "cli/ControlOptions.h"

#include "base/Format.h"
#include "base/Text.h"

namespace cli {

using attbat::Control;
using attbat::ControlKind;

std::optional<bool> ParseSwitch(std::string_view text) {
    for (std::string_view on : {"on", "yes", "true", "1"}) {
        if (base::EqualNoCase(text, on)) return true;
    }
    for (std::string_view off : {"off", "no", "false", "0"}) {
        if (base::EqualNoCase(text, off)) return false;
    }
    return std::nullopt;
}

std::string SetControlOption(attbat::ControlValues& values, const Control& control, std::string_view text) {
    switch (control.kind) {
    case ControlKind::Check:
        if (std::optional<bool> on = ParseSwitch(text)) {
            values.SetCheck(control.key, *on);
            return {};
        }
        return base::Sprintf("--%s takes on or off, not '%s'.", control.key, text);
    case ControlKind::Choice: {
        std::string words;
        for (std::size_t i = 0; i < control.choices.size(); ++i) {
            if (base::EqualNoCase(text, control.choices[i])) {
                values.SetChoice(control.key, static_cast<int>(i));
                return {};
            }
            words += (i ? ", " : "") + control.choices[i];
        }
        return base::Sprintf("--%s takes one of %s, not '%s'.", control.key, words, text);
    }
    case ControlKind::Text: values.SetText(control.key, std::string(text)); return {};
    case ControlKind::List: values.SetList(control.key, base::SplitTrimmed(text, ','), control.repeatable); return {};
    case ControlKind::Button: values.Press(control.key); return {};
    }
    return {};
}

}  // namespace cli
