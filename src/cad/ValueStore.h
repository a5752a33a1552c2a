#pragma once
// The values that changes of a drawing bring, each with the original tag it stands for. Texts sit
// back to back in large blocks and their slots in pages of fixed size, neither of which ever
// moves: a hundred thousand inserted references add millions of values at no allocation each,
// and growing the store copies nothing.

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace cad {

class ValueStore {
public:
    // Numbers stay below 2^31, so a tag can keep one beside a flag in 32 bits.
    static constexpr std::uint32_t kMaxValues = 0x7FFFFFFFu;

    // Keeps `value` and returns its number; `replaces` is what Replaced gives back.
    std::uint32_t Add(std::string_view value, std::uint32_t replaces);
    // Gives value `id` a new text.
    void Set(std::uint32_t id, std::string_view value);
    // Valid as long as the store, until value `id` is set again.
    std::string_view Value(std::uint32_t id) const;
    std::uint32_t Replaced(std::uint32_t id) const { return SlotOf(id).replaces; }

private:
    struct Slot {
        const char* data;
        std::uint32_t size;
        std::uint32_t replaces;
    };
    static constexpr unsigned kPageBits = 16;
    static constexpr std::uint32_t kPageSize = 1u << kPageBits;
    static constexpr std::size_t kBlockSize = std::size_t{1} << 20;

    const Slot& SlotOf(std::uint32_t id) const { return pages_[id >> kPageBits][id & (kPageSize - 1)]; }
    Slot& SlotOf(std::uint32_t id) { return pages_[id >> kPageBits][id & (kPageSize - 1)]; }
    // Copies `value` into the blocks; where it is now.
    const char* Keep(std::string_view value);

    std::vector<std::unique_ptr<Slot[]>> pages_;
    std::vector<std::unique_ptr<char[]>> blocks_;
    std::uint32_t count_ = 0;
    char* free_ = nullptr;  // the rest of the last block
    std::size_t room_ = 0;
};

}  // namespace cad
