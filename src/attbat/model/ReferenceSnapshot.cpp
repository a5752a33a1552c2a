#include "attbat/model/ReferenceSnapshot.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string_view>

#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "cad/GroupCode.h"

namespace attbat {
namespace {

// A 64-bit hash fed value by value; the order of the values counts.
class Fingerprint {
public:
    void Add(std::uint64_t value) { state_ = Mix(state_ + 0x9E3779B97F4A7C15ull + value); }
    void AddText(std::string_view text) {
        Add(text.size());
        Add(std::hash<std::string_view>()(text));
    }
    void AddReal(double value) {
        // 0 and -0 read the same in a cell; a program may write either.
        if (value == 0) value = 0;
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        Add(bits);
    }
    // Never 0, so that 0 can mean "none".
    std::uint64_t Value() const { return state_ ? state_ : 1; }

private:
    // The finalizer of splitmix64: every bit of the input reaches every bit of the output.
    static std::uint64_t Mix(std::uint64_t z) {
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    std::uint64_t state_ = 0;
};

// A field of a record that goes into its fingerprint, with the value a missing tag stands for:
// a program may write a default out or leave it away.
struct Field {
    int code;
    double real = 0;
    long long integer = 0;
    std::string_view text = {};
};

// What a schedule row can show of a reference, and what changes how it is drawn.
constexpr Field kReferenceFields[] = {
    {2},                      // block name
    {8, 0, 0, "0"},           // layer
    {6, 0, 0, "BYLAYER"},     // linetype
    {48, 1},                  // linetype scale
    {62, 0, 256},             // colour
    {420, 0, -1},             // true colour
    {370, 0, -1},             // lineweight
    {440, 0, 0},              // transparency
    {60, 0, 0},               // visibility
    {67, 0, 0},               // paper space
    {10}, {20}, {30},         // insertion point
    {41, 1}, {42, 1}, {43, 1},  // scale
    {50},                     // rotation
    {70, 0, 1}, {71, 0, 1}, {44}, {45},  // MINSERT columns and rows
    {210}, {220}, {230, 1},   // extrusion
};

// The parts of an attribute a cell can show; a multi-line attribute's contents come with
// everything after its 101 marker.
constexpr Field kAttributeFields[] = {
    {2},         // tag
    {1},         // text
    {70, 0, 0},  // flags: invisible, constant...
};

constexpr std::size_t kNotSeen = static_cast<std::size_t>(-1);
// Extension dictionaries are followed this deep into dictionaries they hold.
constexpr int kDictionaryDepth = 3;

// The tag access of the drawing library's views, one pass over a record.
class TagReader : public cad::Object {
public:
    explicit TagReader(const cad::Object& object) : cad::Object(object) {}

    // Adds `fields` and what stands after the own data (an embedded object, extended data) to
    // `fp`; gives the handle of the extension dictionary, 0 when there is none.
    template <std::size_t N>
    cad::Handle AddFields(Fingerprint& fp, const Field (&fields)[N]) const {
        std::array<std::size_t, N> at;
        at.fill(kNotSeen);
        cad::Handle dictionary = 0;
        const std::size_t count = TagCount();
        std::size_t i = 1;
        for (; i < count; ++i) {
            const int code = CodeAt(i);
            if (code == 1001 || code == 101) break;
            if (code == 102) {
                // Application groups hold pointers, not values; of them only the extension
                // dictionary says anything about the reference.
                const bool isDictionary = TextAt(i) == "{ACAD_XDICTIONARY";
                for (++i; i < count && CodeAt(i) != 102 && CodeAt(i) != 1001; ++i)
                    if (isDictionary && CodeAt(i) == 360) dictionary = HandleAt(i);
                if (i < count && CodeAt(i) == 1001) break;
                continue;
            }
            for (std::size_t f = 0; f < N; ++f) {
                if (fields[f].code != code) continue;
                if (at[f] == kNotSeen) at[f] = i;
                break;
            }
        }
        for (std::size_t f = 0; f < N; ++f) AddField(fp, fields[f], at[f]);
        AddValues(fp, i);
        return dictionary;
    }

    // Adds the code and value of every tag from `from` on, but the object's own handle, its
    // owner and its application groups, which a program may write differently for the same
    // object.
    void AddValues(Fingerprint& fp, std::size_t from) const {
        const std::size_t count = TagCount();
        for (std::size_t i = from; i < count; ++i) {
            const int code = CodeAt(i);
            if (code == 102) {
                while (i + 1 < count && CodeAt(i + 1) != 102) ++i;
                ++i;
                continue;
            }
            if (code == 5 || code == 105 || code == 330 || code == 100) continue;
            fp.Add(static_cast<std::uint64_t>(code));
            AddValue(fp, code, i);
        }
    }

private:
    void AddField(Fingerprint& fp, const Field& field, std::size_t i) const {
        fp.Add(static_cast<std::uint64_t>(field.code));
        if (i != kNotSeen) {
            AddValue(fp, field.code, i);
            return;
        }
        switch (cad::KindOfCode(field.code)) {
        case cad::ValueKind::Double: fp.AddReal(field.real); break;
        case cad::ValueKind::Text: fp.AddText(field.text); break;
        default: fp.Add(static_cast<std::uint64_t>(field.integer)); break;
        }
    }

    // The value as what it means: numbers as numbers, so "1", "1.0" and "1.000000" are one.
    void AddValue(Fingerprint& fp, int code, std::size_t i) const {
        switch (cad::KindOfCode(code)) {
        case cad::ValueKind::Double: fp.AddReal(RealAt(i)); break;
        case cad::ValueKind::Int16:
        case cad::ValueKind::Int32:
        case cad::ValueKind::Int64:
        case cad::ValueKind::Bool: fp.Add(static_cast<std::uint64_t>(IntAt(i))); break;
        case cad::ValueKind::Handle: fp.Add(HandleAt(i)); break;
        case cad::ValueKind::Binary: {
            // Hexadecimal digits come in either case.
            std::string hex = TextAt(i);
            std::transform(hex.begin(), hex.end(), hex.begin(),
                           [](unsigned char c) { return static_cast<char>(c >= 'a' && c <= 'f' ? c - 32 : c); });
            fp.AddText(hex);
            break;
        }
        case cad::ValueKind::Text: fp.AddText(TextAt(i)); break;
        }
    }
};

// Adds the entries of an extension dictionary: their names and the values of what they hold.
void AddDictionary(Fingerprint& fp, cad::Database& db, cad::Handle handle, int depth) {
    const cad::Object object = db.ObjectByHandle(handle);
    if (!object) return;
    if (object.Type() != "DICTIONARY") {
        fp.AddText(object.Type());
        TagReader(object).AddValues(fp, 1);
        return;
    }
    for (const auto& [name, entry] : cad::Dictionary(&db, object.Index()).Entries()) {
        fp.AddText(name);
        if (depth < kDictionaryDepth) AddDictionary(fp, db, entry, depth + 1);
    }
}

std::uint64_t ReferenceFingerprint(cad::Database& db, const cad::BlockReference& reference) {
    Fingerprint fp;
    fp.AddText(reference.IsMInsert() ? "MINSERT" : "INSERT");
    if (const cad::Handle dictionary = TagReader(reference).AddFields(fp, kReferenceFields)) {
        fp.Add(dictionary);
        AddDictionary(fp, db, dictionary, 0);
    }
    for (const cad::Attribute& attribute : reference.Attributes()) {
        fp.Add(attribute.GetHandle());
        TagReader(attribute).AddFields(fp, kAttributeFields);
    }
    return fp.Value();
}

}  // namespace

ReferenceSnapshot ReferenceSnapshot::Take(cad::Database& db) {
    ReferenceSnapshot out;
    for (const cad::Object& object : db.Objects()) {
        const std::string type = object.Type();
        if (type != "INSERT" && type != "MINSERT") continue;
        const cad::BlockReference reference(&db, object.Index());
        out.inOrder_.push_back({reference.GetHandle(), ReferenceFingerprint(db, reference)});
    }
    out.byHandle_ = out.inOrder_;
    std::sort(out.byHandle_.begin(), out.byHandle_.end(),
              [](const Entry& a, const Entry& b) { return a.handle < b.handle; });
    return out;
}

std::uint64_t ReferenceSnapshot::FingerprintOf(cad::Handle handle) const {
    const auto it = std::lower_bound(byHandle_.begin(), byHandle_.end(), handle,
                                     [](const Entry& e, cad::Handle h) { return e.handle < h; });
    return it != byHandle_.end() && it->handle == handle ? it->fingerprint : 0;
}

std::vector<std::string> ReferenceSnapshot::ChangedSince(const ReferenceSnapshot& before) const {
    std::vector<std::string> out;
    for (const Entry& e : inOrder_)
        if (before.FingerprintOf(e.handle) != e.fingerprint) out.push_back(cad::HandleText(e.handle));
    return out;
}

std::vector<std::string> ReferenceSnapshot::Removed(const ReferenceSnapshot& before) const {
    std::vector<std::string> out;
    for (const Entry& e : before.inOrder_)
        if (FingerprintOf(e.handle) == 0) out.push_back(cad::HandleText(e.handle));
    return out;
}

}  // namespace attbat
