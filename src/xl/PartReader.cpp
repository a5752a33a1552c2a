#include "xl/PartReader.h"

namespace xl {

PartReader::PartReader(std::string whole) : whole_(std::move(whole)), size_(whole_->size()) {}

PartReader::PartReader(const ZipReader& zip, const ZipEntry& entry)
    : inflater_(std::make_unique<EntryInflater>(zip.RawData(entry), entry)),
      zip_(&zip),
      entry_(&entry),
      label_(zip.Label() + ": part " + entry.name),
      size_(entry.size) {}

bool PartReader::Next(std::string& out) {
    if (inflater_) {
        if (inflater_->Next(out, kPiece)) return true;
        zip_->HandBack(*entry_);
        return false;
    }
    if (!whole_) return false;
    out += *whole_;
    whole_.reset();
    return true;
}

base::Status PartReader::GetStatus() const {
    if (!inflater_ || inflater_->Error().empty()) return base::Status::Ok();
    return base::Status::Error(label_ + ": " + inflater_->Error());
}

base::Status PartReader::CheckRest() {
    for (std::string piece; Next(piece);) piece.clear();
    return GetStatus();
}

}  // namespace xl
