#include "attbat/frame/HandleSet.h"

namespace attbat {

namespace {

// The number of a handle written as drawings write it, plus one (so that 0 marks a free
// slot); 0 for any other text. Up to 15 digits, so that the sum can't wrap.
std::uint64_t KeyOf(std::string_view text) {
    if (text.empty() || text.size() > 15 || (text[0] == '0' && text.size() > 1)) return 0;
    std::uint64_t value = 0;
    for (char c : text) {
        int digit = 0;
        if (c >= '0' && c <= '9') digit = c - '0';
        else if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
        else return 0;
        value = value << 4 | static_cast<std::uint64_t>(digit);
    }
    return value + 1;
}

}  // namespace

std::size_t HandleSet::SlotOf(std::uint64_t key) const {
    const std::size_t mask = slots_.size() - 1;
    // Handles of one drawing are mostly consecutive numbers: mixed, so that they don't crowd.
    std::size_t slot = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> 32) & mask;
    while (slots_[slot] != 0 && slots_[slot] != key) slot = (slot + 1) & mask;
    return slot;
}

void HandleSet::Grow() {
    std::vector<std::uint64_t> old(slots_.empty() ? 64 : slots_.size() * 2, 0);
    old.swap(slots_);
    for (std::uint64_t key : old)
        if (key != 0) slots_[SlotOf(key)] = key;
}

bool HandleSet::Insert(std::string_view handle) {
    const std::uint64_t key = KeyOf(handle);
    if (key == 0) return others_.emplace(handle).second;
    // At most half full.
    if ((count_ + 1) * 2 > slots_.size()) Grow();
    std::uint64_t& slot = slots_[SlotOf(key)];
    if (slot == key) return false;
    slot = key;
    ++count_;
    return true;
}

bool HandleSet::Contains(std::string_view handle) const {
    const std::uint64_t key = KeyOf(handle);
    if (key == 0) return others_.count(std::string(handle)) != 0;
    return !slots_.empty() && slots_[SlotOf(key)] == key;
}

void HandleSet::Clear() {
    slots_.clear();
    count_ = 0;
    others_.clear();
}

}  // namespace attbat
