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
    // Copies `text` with its length written just before it, so that the pointer to its first
    // byte is all a holder keeps of it; Counted reads it back. An empty text is null.
    const char* KeepCounted(std::string_view text);
    // The text KeepCounted kept at `text`: its length is read backwards from the byte before
    // it, seven bits a byte, the lowest first; a byte's high bit says that another comes before.
    static std::string_view Counted(const char* text) {
        if (text == nullptr) return {};
        const auto* at = reinterpret_cast<const unsigned char*>(text) - 1;
        std::size_t size = *at & 0x7Fu;
        for (unsigned shift = 7; *at & 0x80u; shift += 7) {
            --at;
            size |= static_cast<std::size_t>(*at & 0x7Fu) << shift;
        }
        return {text, size};
    }
    // Every text gone.
    void clear();

private:
    // `size` bytes at the end of the last block, or of a new one when they don't fit.
    char* Room(std::size_t size);

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;  // the unused end of the last block
    std::size_t left_ = 0;
    std::size_t blockSize_;
};

// A text kept counted in blocks (TextBlocks::KeepCounted) with a share in what holds them, so
// that it stays readable, without a copy, after its first holder lets it go.
struct SharedCounted {
    const char* text = nullptr;  // null for ""
    std::shared_ptr<const TextBlocks> holder;

    std::string_view View() const { return TextBlocks::Counted(text); }
};

}  // namespace base
