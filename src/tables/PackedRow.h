#pragma once
// A row of texts kept in one block: the number of cells, where each cell ends, then the bytes of
// all cells. A schedule holds one for each row and one for each row of keys, so that a cell costs
// four bytes and its text instead of a string of its own (32 bytes, and a block of the heap once
// the text passes 15 bytes).
#include <cstdint>
#include <memory>
#include <string_view>

#include "tables/CStringArrayEx.h"

namespace tables {

class PackedRow {
public:
    // A row of no cells.
    PackedRow() = default;
    // The cells of `cells`, the empty ones included; with `count` only its first `count` (all
    // of them when it is negative or past their number).
    explicit PackedRow(const CStringArrayEx& cells, int count = -1);
    PackedRow(const PackedRow& other);
    PackedRow& operator=(const PackedRow& other);
    PackedRow(PackedRow&& other) noexcept = default;
    PackedRow& operator=(PackedRow&& other) noexcept = default;

    // Number of cells; 0 for a row of none.
    int GetSize() const { return static_cast<int>(At(0)); }
    // The text of cell `index`, good while the row lives unchanged; "" for an index outside the
    // row (a row leaves out its trailing empty cells, so past its end every cell reads empty).
    std::string_view operator[](int index) const;

private:
    // The count at 0, then the cells' ends: a 32-bit word at `word`; 0 for a row of no cells.
    std::uint32_t At(std::size_t word) const;
    // The bytes the block takes.
    std::size_t Bytes() const;

    std::unique_ptr<char[]> data_;  // null for a row of no cells
};

}  // namespace tables
