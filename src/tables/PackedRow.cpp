#include "tables/PackedRow.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace tables {

namespace {

constexpr std::size_t kWord = sizeof(std::uint32_t);

void PutWord(char* at, std::uint32_t value) { std::memcpy(at, &value, kWord); }

}  // namespace

PackedRow::PackedRow(const CStringArrayEx& cells, int cellCount) {
    const int taken = cellCount < 0 ? cells.GetSize() : std::min(cellCount, cells.GetSize());
    const std::size_t count = static_cast<std::size_t>(taken);
    if (count == 0) return;
    std::size_t textBytes = 0;
    for (int c = 0; c < taken; ++c) textBytes += cells[c].size();
    if (textBytes > std::numeric_limits<std::uint32_t>::max())
        throw InvalidArgument("PackedRow: a row of more than 4 GB of text");
    const std::size_t head = kWord * (count + 1);
    data_ = std::make_unique_for_overwrite<char[]>(head + textBytes);
    PutWord(data_.get(), static_cast<std::uint32_t>(count));
    char* text = data_.get() + head;
    std::uint32_t end = 0;
    for (std::size_t c = 0; c < count; ++c) {
        const std::string& cell = cells[static_cast<int>(c)];
        if (!cell.empty()) std::memcpy(text + end, cell.data(), cell.size());
        end += static_cast<std::uint32_t>(cell.size());
        PutWord(data_.get() + kWord * (c + 1), end);
    }
}

PackedRow::PackedRow(const PackedRow& other) {
    if (!other.data_) return;
    const std::size_t bytes = other.Bytes();
    data_ = std::make_unique_for_overwrite<char[]>(bytes);
    std::memcpy(data_.get(), other.data_.get(), bytes);
}

PackedRow& PackedRow::operator=(const PackedRow& other) {
    if (this != &other) *this = PackedRow(other);
    return *this;
}

std::uint32_t PackedRow::At(std::size_t word) const {
    if (!data_) return 0;
    std::uint32_t value = 0;
    std::memcpy(&value, data_.get() + kWord * word, kWord);
    return value;
}

std::size_t PackedRow::Bytes() const {
    const std::size_t count = At(0);
    return kWord * (count + 1) + At(count);
}

std::string_view PackedRow::operator[](int index) const {
    if (index < 0 || index >= GetSize()) return {};
    const std::size_t cell = static_cast<std::size_t>(index);
    const std::uint32_t begin = cell == 0 ? 0 : At(cell);
    const std::uint32_t end = At(cell + 1);
    return {data_.get() + kWord * (static_cast<std::size_t>(GetSize()) + 1) + begin, end - begin};
}

}  // namespace tables
