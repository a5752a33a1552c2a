#include "cad/ValueStore.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace cad {

std::uint32_t ValueStore::Add(std::string_view value, std::uint32_t replaces) {
    if (count_ == kMaxValues) throw std::length_error("a drawing cannot take more than 2,147,483,647 new values");
    if ((count_ & (kPageSize - 1)) == 0) pages_.push_back(std::make_unique_for_overwrite<Slot[]>(kPageSize));
    const std::uint32_t id = count_++;
    SlotOf(id) = Slot{Keep(value), static_cast<std::uint32_t>(value.size()), replaces};
    return id;
}

void ValueStore::Set(std::uint32_t id, std::string_view value) {
    Slot& slot = SlotOf(id);
    // A text no longer than the one it follows takes its place, so that setting one value over and
    // over doesn't grow the store.
    if (value.size() <= slot.size && slot.size > 0) {
        if (!value.empty()) std::memmove(const_cast<char*>(slot.data), value.data(), value.size());
    } else {
        slot.data = Keep(value);
    }
    slot.size = static_cast<std::uint32_t>(value.size());
}

std::string_view ValueStore::Value(std::uint32_t id) const {
    const Slot& slot = SlotOf(id);
    return {slot.data, slot.size};
}

const char* ValueStore::Keep(std::string_view value) {
    if (value.empty()) return nullptr;
    if (value.size() > UINT32_MAX) throw std::length_error("a value of a drawing cannot be longer than 4 GiB");
    if (value.size() > room_) {
        room_ = std::max(kBlockSize, value.size());
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(room_));
        free_ = blocks_.back().get();
    }
    char* at = free_;
    std::memcpy(at, value.data(), value.size());
    free_ += value.size();
    room_ -= value.size();
    return at;
}

}  // namespace cad
