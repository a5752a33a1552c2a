#include "attbat/frame/ControlValues.h"

#include <utility>

namespace attbat {

ControlValues::Value& ControlValues::At(std::string_view key) {
    auto it = values_.find(key);
    if (it == values_.end()) it = values_.emplace(std::string(key), Value{}).first;
    return it->second;
}

const ControlValues::Value* ControlValues::Find(std::string_view key) const {
    auto it = values_.find(key);
    return it == values_.end() ? nullptr : &it->second;
}

void ControlValues::SetCheck(std::string_view key, bool on) { At(key).on = on; }

void ControlValues::SetChoice(std::string_view key, int index) { At(key).index = index; }

void ControlValues::SetText(std::string_view key, std::string text) { At(key).text = std::move(text); }

void ControlValues::SetList(std::string_view key, std::vector<std::string> values, bool add) {
    std::vector<std::string>& list = At(key).list;
    if (!add) list.clear();
    for (std::string& value : values) list.push_back(std::move(value));
}

void ControlValues::Press(std::string_view key) { At(key); }

std::optional<bool> ControlValues::Check(std::string_view key) const {
    const Value* value = Find(key);
    return value ? std::optional<bool>(value->on) : std::nullopt;
}

std::optional<int> ControlValues::Choice(std::string_view key) const {
    const Value* value = Find(key);
    return value ? std::optional<int>(value->index) : std::nullopt;
}

std::string ControlValues::Text(std::string_view key, std::string_view def) const {
    const Value* value = Find(key);
    return value ? value->text : std::string(def);
}

std::vector<std::string> ControlValues::List(std::string_view key) const {
    const Value* value = Find(key);
    return value ? value->list : std::vector<std::string>();
}

}  // namespace attbat
