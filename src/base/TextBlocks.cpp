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

std::string_view TextBlocks::Keep(std::string_view text) {
    if (text.empty()) return {};
    if (text.size() > left_) {
        const std::size_t size = std::max(blockSize_, text.size());
        blocks_.push_back(std::make_unique<char[]>(size));
        free_ = blocks_.back().get();
        left_ = size;
    }
    char* kept = free_;
    std::copy(text.begin(), text.end(), kept);
    free_ += text.size();
    left_ -= text.size();
    return {kept, text.size()};
}

void TextBlocks::clear() {
    std::vector<std::unique_ptr<char[]>>().swap(blocks_);
    free_ = nullptr;
    left_ = 0;
}

}  // namespace base
