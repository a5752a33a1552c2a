#pragma once
// A dialog's description of one of its controls, the same for every front end: the command line
// makes an option of it (`--key`, its help line from the label), the shell completes it, the
// desktop program binds a widget to it. A control added to a dialog is described once, here.

#include <string>
#include <string_view>
#include <vector>

namespace attbat {

enum class ControlKind {
    Check,   // a check box: on or off
    Choice,  // radio buttons or a drop-down list: one of `choices`, by index
    Text,    // an edit box: any text
    List,    // several names or values at once (a list box's selection, a row of handles)
    Button,  // a button: pressed or not
};

struct Control {
    std::string key;    // the control's name for every front end, such as "search-subfolder"
    ControlKind kind;
    std::string label;  // the dialog's own label of the control, or what it does
    // Choice: the words for its items in their order; Text and List: what the value is, such as
    // "FILE.lst" or "LETTERS".
    std::vector<std::string> choices = {};
    std::string valueName = {};
    // List: values given at different times add up; any other control keeps the last value.
    bool repeatable = false;
};

// What a control's value is, for a help line: "on|off" for a check box, the choices joined with
// "|", the value name of a text or list, "" for a button.
std::string ValueName(const Control& control);
// The control of `controls` whose key is `key`; null when none is.
const Control* FindControl(const std::vector<Control>& controls, std::string_view key);
// `controls` followed by `more`, for a command whose controls are on several dialogs.
void Append(std::vector<Control>& controls, const std::vector<Control>& more);

}  // namespace attbat
