#pragma once
// Texts copied into blocks of their own, so that hundreds of thousands of small texts cost no
// allocation each. The views given stay valid for the life of the holder, moves included.

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace base {

class TextBlocks {
public:
    // Blocks of `blockSize` bytes, or of a text's own size when it is longer.
    explicit TextBlocks(std::size_t blockSize) : blockSize_(blockSize) {}
    TextBlocks(TextBlocks&& other) noexcept;
    TextBlocks& operator=(TextBlocks&& other) noexcept;

    // Copies `text` into the last block, or a new one when it doesn't fit.
    std::string_view Keep(std::string_view text);
    // Every text gone.
    void clear();

private:
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;  // the unused end of the last block
    std::size_t left_ = 0;
    std::size_t blockSize_;
};

}  // namespace base
