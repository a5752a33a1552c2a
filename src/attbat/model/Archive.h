#pragma once
// The little-endian archive forms that schedule templates are made of, as the Windows program
// writes them: 32-bit integers, counts (16 bits, FFFF escape to 32 and 64), strings tagged
// FF FE FF with UTF-16 text, and untagged 8-bit strings on reading. One object stores or loads,
// so that each class has one Serialize routine for both directions.
//
// Loading never throws: a short or damaged stream sets a failure with its byte offset, and
// every later read gives zeros and empty texts, so a caller checks `Ok()` once at the end.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tables {
class CStringArrayEx;
}

namespace attbat {

class Archive {
public:
    // An archive that stores into an empty buffer.
    static Archive ForStoring();
    // An archive that loads from `bytes`, which must outlive it.
    static Archive ForLoading(std::string_view bytes);
    // A temporary would be gone before the first read.
    static Archive ForLoading(std::string&& bytes) = delete;

    // True for an archive made by ForStoring.
    bool IsStoring() const { return storing_; }
    // False after the first failed read; stays false.
    bool Ok() const { return error_.empty(); }
    // What failed and at which byte offset; empty while Ok().
    const std::string& Error() const { return error_; }
    // The bytes stored so far (empty for a loading archive).
    const std::string& Bytes() const { return out_; }
    // Byte offset of the next read; the stored size when storing.
    std::size_t Position() const { return storing_ ? out_.size() : pos_; }

    // Stores or loads a signed 32-bit integer.
    void Int32(int& value);
    // Stores or loads a 16-bit unsigned number.
    void UInt16(std::uint16_t& value);
    // Stores or loads a count (16 bits below FFFF, else escaped); a loaded count larger than the
    // bytes left fails, so a damaged stream never makes a huge allocation.
    void Count(std::uint64_t& value);
    // Stores (always tagged, UTF-16) or loads (tagged or 8-bit) a string; text is UTF-8 here.
    void String(std::string& value);
    // Stores or loads a count and that many strings; loading replaces the array's content.
    void StringArray(tables::CStringArrayEx& values);
    // Stores or loads a count and that many 16-bit numbers (a column order, for instance);
    // loading replaces the content.
    void WordArray(std::vector<std::uint16_t>& values);

    // Marks the load as failed at the present offset (the first failure is kept).
    void Fail(std::string_view what);

private:
    explicit Archive(bool storing, std::string_view in) : storing_(storing), in_(in) {}
    bool Take(std::size_t size, const char*& data);
    std::uint64_t ReadLittle(std::size_t size);
    void WriteLittle(std::uint64_t value, std::size_t size);
    std::uint64_t ReadLength();

    bool storing_;
    std::string_view in_;
    std::size_t pos_ = 0;
    std::string out_;
    std::string error_;
};

}  // namespace attbat
