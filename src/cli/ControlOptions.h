#pragma once
// A command's options are its controls: `--key VALUE` read by the control's kind into the typed
// values the command takes.

#include <optional>
#include <string>
#include <string_view>

#include "attbat/frame/Control.h"
#include "attbat/frame/ControlValues.h"

namespace cli {

// on/off, yes/no, true/false, 1/0 without regard to case; nullopt for anything else.
std::optional<bool> ParseSwitch(std::string_view text);

// Stores the option `text` given for `control` (a button's is ignored); "" when it was taken,
// else the usage error, such as "--border takes on or off, not 'maybe'.".
std::string SetControlOption(attbat::ControlValues& values, const attbat::Control& control,
                             std::string_view text);

}  // namespace cli
