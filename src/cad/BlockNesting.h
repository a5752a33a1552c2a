#pragma once
// How block references nest: for every block record, the references that name it, how often it
// is drawn once every nested reference is expanded, and the blocks that refer to themselves.
// Computed in one pass over the records and one over the references, whatever the nesting: a
// few kilobytes of nested references can stand for more instances than 64 bits count.

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "cad/BlockRecord.h"

namespace cad {

class Database;

class BlockNesting {
public:
    // Where counts stop instead of wrapping around.
    static constexpr std::uint64_t kSaturated = std::numeric_limits<std::uint64_t>::max();

    struct Entry {
        BlockRecord block;
        // INSERT and MINSERT entities that name the block, in any layout or block.
        std::uint64_t references = 0;
        // How many references to it the layouts hold once every block is expanded through every
        // level (a MINSERT counts once); 1 for a layout itself; kSaturated at most. A reference
        // that closes a cycle (found walking from the layouts) is not followed.
        std::uint64_t instances = 0;
        // The entities one reference to it draws, its own and those of nested references,
        // dimensions and tables; kSaturated at most.
        std::uint64_t expandedEntities = 0;
        // True when it refers to itself, directly or through other blocks.
        bool inCycle = false;
    };

    // The nesting of `db` as it stands; it does not follow later edits.
    explicit BlockNesting(Database& db);

    // One entry per block record, in the order of Database::Blocks().
    const std::vector<Entry>& Entries() const { return entries_; }
    // The entry of `block`; an entry of zeros for a null or erased block.
    const Entry& Of(const BlockRecord& block) const;
    // The block references a full expansion of the layouts gives: the sum of the instances of
    // every block that is not a layout; kSaturated at most.
    std::uint64_t ExpandedReferences() const { return expandedReferences_; }
    // One message per group of blocks that refer to one another (or a block to itself), naming
    // them; empty when there is none.
    const std::vector<std::string>& Cycles() const { return cycles_; }

private:
    std::vector<Entry> entries_;
    std::vector<std::uint32_t> entryOf_;  // by block index; kNoEntry for erased blocks
    std::vector<std::string> cycles_;
    std::uint64_t expandedReferences_ = 0;
    Entry none_;
};

// Saturating arithmetic for counts of expanded blocks.
inline std::uint64_t SaturatingAdd(std::uint64_t a, std::uint64_t b) {
    return a > BlockNesting::kSaturated - b ? BlockNesting::kSaturated : a + b;
}
inline std::uint64_t SaturatingMultiply(std::uint64_t a, std::uint64_t b) {
    if (a == 0 || b == 0) return 0;
    return a > BlockNesting::kSaturated / b ? BlockNesting::kSaturated : a * b;
}

}  // namespace cad
