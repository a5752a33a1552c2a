#pragma once
// A part's bytes a piece at a time, so that a big part (a comments part with a note on every
// cell) is scanned as it is inflated instead of being held whole.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Status.h"
#include "xl/Zip.h"

namespace xl {

class PartReader {
public:
    // Bytes inflated per piece: small enough to stay in the cache while they are scanned.
    static constexpr std::size_t kPiece = std::size_t(256) << 10;

    // Gives `whole` (a part written since opening) in one piece.
    explicit PartReader(std::string whole);
    // Inflates `entry` of `zip`, which must outlive the reader; the entry's compressed pages go
    // back once it is read (ZipReader::HandBack).
    PartReader(const ZipReader& zip, const ZipEntry& entry);

    // Appends the next piece to `out`; false once nothing more comes, at the end of the part or
    // because its data is damaged (GetStatus() tells which).
    bool Next(std::string& out);
    // Ok while nothing is wrong; what is wrong, naming the file and part, otherwise.
    base::Status GetStatus() const;
    // Reads the rest, so that text found malformed can be told from damaged data (whose bytes
    // can inflate to anything); gives GetStatus() after it.
    base::Status CheckRest();
    // The part's size as its entry declares it, a hint for what reading it gives.
    std::uint64_t Size() const { return size_; }

private:
    std::optional<std::string> whole_;
    std::unique_ptr<EntryInflater> inflater_;
    const ZipReader* zip_ = nullptr;
    const ZipEntry* entry_ = nullptr;
    std::string label_;
    std::uint64_t size_ = 0;
};

}  // namespace xl
