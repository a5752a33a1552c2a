#include "base/TextBlocks.h"

#include <algorithm>
#include <utility>

namespace base {

TextBlocks::TextBlocks(TextBlocks&& other) noexcept
    : blocks_(std::move(other.blocks_)),
      free_(std::exchange(other.free_, nullptr)),
      left_(std::exchange(other.left_, 0)),
      blockSize_(other.blockSize_) {
    other.blocks_.clear();
}

TextBlocks& TextBlocks::operator=(TextBlocks&& other) noexcept {
    if (this != &other) {
        blocks_ = std::move(other.blocks_);
        other.blocks_.clear();
        free_ = std::exchange(other.free_, nullptr);
        left_ = std::exchange(other.left_, 0);
        blockSize_ = other.blockSize_;
    }
    return *this;
}

char* TextBlocks::Room(std::size_t size) {
    if (size > left_) {
        const std::size_t blockSize = std::max(blockSize_, size);
        blocks_.push_back(std::make_unique<char[]>(blockSize));
        free_ = blocks_.back().get();
        left_ = blockSize;
    }
    char* room = free_;
    free_ += size;
    left_ -= size;
    return room;
}

std::string_view TextBlocks::Keep(std::string_view text) {
    if (text.empty()) return {};
    char* kept = Room(text.size());
    std::copy(text.begin(), text.end(), kept);
    return {kept, text.size()};
}

// The length is written as Counted reads it.
const char* TextBlocks::KeepCounted(std::string_view text) {
    if (text.empty()) return nullptr;
    std::size_t lengthBytes = 1;
    for (std::size_t rest = text.size() >> 7; rest != 0; rest >>= 7) ++lengthBytes;
    char* const room = Room(lengthBytes + text.size());
    char* const kept = room + lengthBytes;
    std::size_t rest = text.size();
    for (std::size_t i = lengthBytes; i-- > 0; rest >>= 7)
        room[i] = static_cast<char>((rest & 0x7F) | (i > 0 ? 0x80 : 0));
    std::copy(text.begin(), text.end(), kept);
    return kept;
}

void TextBlocks::clear() {
    std::vector<std::unique_ptr<char[]>>().swap(blocks_);
    free_ = nullptr;
    left_ = 0;
}

}  // namespace base
