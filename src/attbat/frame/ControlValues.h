#pragma once
// What a user gave the controls of a command's dialogs, by key and typed by the control's kind:
// the front end reads them from its own form (the command line's options, the shell's words, a
// test's list) and the command sets its dialog models from them in the order a user would.
// A control not given keeps what the dialog shows.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace attbat {

class ControlValues {
public:
    void SetCheck(std::string_view key, bool on);
    void SetChoice(std::string_view key, int index);
    void SetText(std::string_view key, std::string text);
    // Replaces a list's values, or adds to them when `add` (a repeatable control given again).
    void SetList(std::string_view key, std::vector<std::string> values, bool add = false);
    void Press(std::string_view key);

    bool Has(std::string_view key) const { return values_.find(key) != values_.end(); }
    std::optional<bool> Check(std::string_view key) const;
    std::optional<int> Choice(std::string_view key) const;
    // The text of a text control; `def` when it wasn't given.
    std::string Text(std::string_view key, std::string_view def = {}) const;
    // A list's values, in the order given; none when it wasn't given.
    std::vector<std::string> List(std::string_view key) const;
    bool Pressed(std::string_view key) const { return Has(key); }

private:
    struct Value {
        bool on = false;
        int index = 0;
        std::string text;
        std::vector<std::string> list;
    };
    Value& At(std::string_view key);
    const Value* Find(std::string_view key) const;

    std::map<std::string, Value, std::less<>> values_;
};

}  // namespace attbat
