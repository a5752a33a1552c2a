#include "attbat/import/ImportByHandle.h"

#include <algorithm>
#include <deque>
#include <future>
#include <map>
#include <memory>
#include <system_error>
#include <unordered_map>

#include "arxutils/ArxUtils.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/model/DrawingWriter.h"
#include "attbat/model/PropertyTable.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/units/UnitSettings.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

constexpr std::string_view kSection = "Velmar";

// The key without the "<" and ">" at its ends.
std::string_view TrimAngles(std::string_view text) {
    std::size_t first = text.find_first_not_of("<>");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of("<>") - first + 1);
}

// The text a property shows now, as an export writes it into its cell.
std::string PropertyText(const cad::BlockReference& ref, int kind, cad::Database& db) {
    cad::Point3 p = ref.WorldPosition();
    cad::Point3 s = ref.ScaleFactors();
    auto coordinate = [&](double value) {
        // Decimal units show an exact zero as "0", as the export does.
        return value == 0.0 && db.Units().lunits == 2 ? std::string("0") : arxutils::DistanceText(&db, value);
    };
    switch (kind) {
    case kPosX: return coordinate(p.x);
    case kPosY: return coordinate(p.y);
    case kPosZ: return coordinate(p.z);
    case kScaleX: return base::Sprintf("%G", s.x);
    case kScaleY: return base::Sprintf("%G", s.y);
    case kScaleZ: return base::Sprintf("%G", s.z);
    case kRotation: return arxutils::AngleText(&db, ref.Rotation());
    case kLayer: return arxutils::LayerNameOf(ref);
    default: return {};
    }
}

// A dynamic property's present value as a cell would show it.
std::string DynamicPropertyText(const cad::DynamicBlockProperty& property, cad::Database& db) {
    switch (property.valueKind) {
    case cad::DynamicValueKind::String: return property.text;
    case cad::DynamicValueKind::Real:
        return property.units == cad::DynamicUnitsKind::Angle ? arxutils::AngleText(&db, property.real)
                                                              : base::Sprintf("%g", property.real);
    default: return std::to_string(property.integer);
    }
}

// The changes of one row against the drawing `db`.
void RowChanges(const AcadBlockRef& row, cad::Database& db, const std::string& drawing,
                std::vector<ImportChange>& changes) {
    cad::Object object = arxutils::HandleToId(db, row.handle);
    if (!object || (object.Type() != "INSERT" && object.Type() != "MINSERT")) return;
    cad::BlockReference ref(object.GetDatabase(), object.Index());
    for (const AcadAttribute& value : row.attributes) {
        std::string old;
        if (value.kind == 0) {
            cad::Attribute att = ref.FindAttribute(value.tag);
            if (!att) {
                // Else a dynamic property of that name, as the writer sets it.
                cad::DynamicBlockProperty property;
                cad::DynamicValue wanted;
                bool change = false;
                if (FindDynamicPropertyChange(ref, value, db, -1, -1, property, wanted, change) && change)
                    changes.push_back({drawing, row.handle, value.tag, DynamicPropertyText(property, db), value.value});
                continue;
            }
            old = att.TextString();
        } else if (value.kind == kLayer && !db.FindLayer(value.value)) {
            continue;  // a layer the drawing lacks can't be set
        } else {
            old = PropertyText(ref, value.kind, db);
        }
        if (old == value.value) continue;
        changes.push_back({drawing, row.handle, value.tag, std::move(old), value.value});
    }
}

// The drawings a listing reads, each once however many rows name it, reached as the writer
// reaches them (and said as it says them when they can't be).
class ListedDrawings {
public:
    // The drawing of `path`; null when it can't be read.
    cad::Database* Find(const std::string& path) {
        std::string folded = base::FoldCase(path);
        auto found = databases_.find(folded);
        if (found == databases_.end()) {
            std::unique_ptr<cad::Database> side;
            found = databases_.emplace(folded, ReachDrawing(path, side)).first;
            if (side) sideDatabases_.push_back(std::move(side));
        }
        return found->second;
    }

private:
    std::map<std::string, cad::Database*> databases_;
    std::vector<std::unique_ptr<cad::Database>> sideDatabases_;
};

}  // namespace

void ImportByHandleOptions::LoadSettings() {
    WorksheetOption = CRegistry::GetInt(kSection, "ImportWorksheetOpt", WorksheetOption);
    StartRow = CRegistry::GetInt(kSection, "ImportStartRow", StartRow);
    StartColumn = CRegistry::GetString(kSection, "ImportStartCol", StartColumn);
    IgnoreProperty = CRegistry::GetInt(kSection, "IgnoreProp", IgnoreProperty);
    IgnoreDrawingPath = CRegistry::GetInt(kSection, "IgnoreDrawingPath", IgnoreDrawingPath);
    SaveExcelLink = CRegistry::GetInt(kSection, "SaveExcelLink", SaveExcelLink);
}

void ImportByHandleOptions::SaveSettings() const {
    CRegistry::SetInt(kSection, "ImportWorksheetOpt", WorksheetOption);
    CRegistry::SetInt(kSection, "ImportStartRow", StartRow);
    CRegistry::SetString(kSection, "ImportStartCol", StartColumn);
    CRegistry::SetInt(kSection, "IgnoreProp", IgnoreProperty);
    CRegistry::SetInt(kSection, "IgnoreDrawingPath", IgnoreDrawingPath);
    CRegistry::SetInt(kSection, "SaveExcelLink", SaveExcelLink);
}

namespace {

// The pieces of a key line, as views into it; `path` untrimmed, and empty when the options
// ignore it.
struct KeyParts {
    std::string_view path;
    std::string_view handle;
    std::string_view tag;
    bool isProperty = false;
};

KeyParts SplitImportKey(std::string_view key, const ImportByHandleOptions& options) {
    KeyParts parts;
    if (key.empty()) return parts;
    std::string_view k = key;
    std::size_t p = k.find('<');
    if (p != std::string_view::npos && p > 0 && k.back() == '>') {
        parts.path = k.substr(0, p);
        std::size_t bar = parts.path.find('|', 1);
        if (bar != std::string_view::npos) parts.path = parts.path.substr(0, bar);
        k = TrimAngles(k.substr(p));
    } else if (p == 0) {
        k = TrimAngles(k);
    }
    if (options.CurrentDrawingOnly && options.IgnoreDrawingPath) parts.path = {};
    std::size_t u = k.find('_');
    if (u != std::string_view::npos && u > 0) {
        parts.handle = k.substr(0, u);
        parts.tag = k.substr(u + 1);
    }
    if (!options.IgnoreProperty) {
        std::size_t c = k.find(':');
        // "2F:Layer_x" is a property, "2F_A:B" the attribute "A:B".
        if (c != std::string_view::npos && c > 0 && (parts.handle.empty() || parts.handle.size() > c)) {
            parts.handle = k.substr(0, c);
            parts.tag = k.substr(c + 1);
            parts.isProperty = true;
        }
    }
    return parts;
}

// The skip line of a drawing path other than the current drawing's; "" when the path is taken.
std::string OtherDrawingMessage(const std::string& path, const ImportByHandleOptions& options,
                                std::string_view currentPath) {
    if (!options.CurrentDrawingOnly || path.empty() || base::EqualNoCase(path, currentPath)) return {};
    return base::Sprintf(
        "\nThe path of the current drawing is '%s'. Skip the attribute values of the drawing '%s'.",
        std::string(currentPath), path);
}

// The drawing paths of the keys as they come: key lines in key order share a path, so each
// is trimmed and compared with the current drawing's once per run of lines.
class KeyPaths {
public:
    KeyPaths(const ImportByHandleOptions& options, std::string_view currentPath)
        : options_(options), currentPath_(currentPath) {}

    struct Path {
        std::string trimmed;   // the drawing path of the rows; empty: the current drawing
        std::string skip;      // the skip line when the drawing is not taken
        int id = 0;            // one number per distinct trimmed path, without regard to case
    };

    const Path& Of(std::string_view raw) {
        if (!valid_ || raw != raw_) {
            raw_.assign(raw);
            valid_ = true;
            path_.trimmed = raw.empty() ? std::string() : base::Trim(raw);
            path_.skip = OtherDrawingMessage(path_.trimmed, options_, currentPath_);
            std::string folded = base::FoldCase(path_.trimmed);
            auto found = std::find(folded_.begin(), folded_.end(), folded);
            path_.id = static_cast<int>(found - folded_.begin());
            if (found == folded_.end()) folded_.push_back(std::move(folded));
        }
        return path_;
    }

private:
    const ImportByHandleOptions& options_;
    std::string_view currentPath_;
    std::string raw_;
    bool valid_ = false;
    Path path_;
    std::vector<std::string> folded_;
};

// The row of a drawing (by its path's number) and handle, both without regard to case.
class RowsByHandle {
public:
    // The row's index, or -1 with `key` left for Add. The keys of a row mostly follow each
    // other, so a handle written as the one before it takes that one's row without a lookup.
    int Find(int pathId, std::string_view handle) {
        if (lastRow_ >= 0 && pathId == lastPathId_ && handle == lastHandle_) return lastRow_;
        lastHandle_ = handle;
        lastPathId_ = pathId;
        lastRow_ = Look(pathId, handle);
        return lastRow_;
    }
    // Files the row of the last Find under `row`.
    void Add(int row) {
        rows_.emplace(std::move(key_), row);
        lastRow_ = row;
    }

private:
    int Look(int pathId, std::string_view handle) {
        // Handles are ASCII hexadecimal: folded here byte by byte, anything else as text.
        key_.clear();
        for (char c : handle) {
            if (static_cast<unsigned char>(c) >= 0x80) {
                key_ = base::FoldCase(handle);
                break;
            }
            key_ += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        }
        key_ += '\0';
        key_.append(reinterpret_cast<const char*>(&pathId), sizeof pathId);
        auto found = rows_.find(key_);
        return found == rows_.end() ? -1 : found->second;
    }

    std::unordered_map<std::string, int> rows_;
    std::string key_;
    // The last Find's handle as written, its drawing and its row (-1 before a row is known).
    std::string_view lastHandle_;
    int lastPathId_ = -1;
    int lastRow_ = -1;
};

// Below this many keys the import list is filled on one thread.
constexpr std::size_t kKeysForTwoThreads = 1 << 16;

// Where the keys can be cut in two with no row on both sides: the first such key at or past
// the middle; the end when there is none.
std::size_t CutKeys(const std::vector<int>& rowOfKey, const std::vector<std::size_t>& lastKeyOfRow) {
    std::size_t reach = 0;  // the last key of the rows met so far
    for (std::size_t k = 0; k < rowOfKey.size(); ++k) {
        if (k >= rowOfKey.size() / 2 && reach < k) return k;
        if (rowOfKey[k] >= 0) reach = std::max(reach, lastKeyOfRow[static_cast<std::size_t>(rowOfKey[k])]);
    }
    return rowOfKey.size();
}

}  // namespace

bool ParseImportKey(std::string_view key, const ImportByHandleOptions& options,
                    std::string_view currentPath, ImportKey& out, std::string& skipMessage) {
    const KeyParts parts = SplitImportKey(key, options);
    out.DrawingPath = parts.path.empty() ? std::string() : base::Trim(parts.path);
    out.Handle.clear();
    out.TagOrProperty.clear();
    out.IsProperty = false;
    skipMessage = OtherDrawingMessage(out.DrawingPath, options, currentPath);
    if (key.empty() || !skipMessage.empty()) return false;
    out.Handle.assign(parts.handle);
    out.TagOrProperty.assign(parts.tag);
    out.IsProperty = parts.isProperty;
    return !parts.handle.empty() && !parts.tag.empty();
}

namespace {

// The rows of an import's keys. One pass over the keys finds each key's row (one per drawing
// and handle) and each row's drawing, handle and number of values; the rows are then made from
// the keys with room for their values, which are appended in key order. Rows come in the order
// of their first key.
class ImportRows {
public:
    // Skip lines are appended to `skipped` once each. The map and options are read again when
    // the rows are made, so they outlive this.
    ImportRows(const ImportMap& map, const ImportByHandleOptions& options,
               std::string_view currentPath, std::vector<std::string>& skipped);

    // Every row, made at once; a long list is filled on two threads.
    AcadBlockRefArray All() const;
    // Gives each row whose drawing `wanted` takes to `take`, in row order, each made once its
    // last key is read, so that few rows are held at a time.
    void Walk(const DrawingFilter& wanted, const RowTaker& take) const;
    // The rows' drawing texts: a text once per run of rows.
    const std::vector<std::string>& Drawings() const { return pathTexts_; }

private:
    // Each row's drawing (as its first key writes it), handle (a view into that key) and number
    // of values.
    struct RowStart {
        std::size_t path;
        std::string_view handle;
        int values = 0;
    };

    // Row `row` without values, with room for them.
    AcadBlockRef Start(std::size_t row) const;
    // Appends the value of key `k` to its row.
    void AddValue(AcadBlockRef& row, std::size_t k) const;

    const ImportMap& keys_;                   // in key order
    const ImportByHandleOptions& options_;
    std::vector<int> rowOfKey_;               // -1 for a key that names no row
    std::vector<std::size_t> lastKeyOfRow_;
    std::vector<RowStart> starts_;
    std::vector<std::string> pathTexts_;
};

ImportRows::ImportRows(const ImportMap& map, const ImportByHandleOptions& options,
                       std::string_view currentPath, std::vector<std::string>& skipped)
    : keys_(map), options_(options), rowOfKey_(map.size(), -1) {
    KeyPaths paths(options, currentPath);
    RowsByHandle index;
    std::size_t k = 0;
    for (const auto& [text, value] : keys_) {
        const KeyParts parts = SplitImportKey(text, options);
        const KeyPaths::Path& path = paths.Of(parts.path);
        if (!path.skip.empty()) {
            if (std::find(skipped.begin(), skipped.end(), path.skip) == skipped.end())
                skipped.push_back(path.skip);
        } else if (!parts.handle.empty() && !parts.tag.empty()) {
            int row = index.Find(path.id, parts.handle);
            if (row < 0) {
                if (pathTexts_.empty() || pathTexts_.back() != path.trimmed)
                    pathTexts_.push_back(path.trimmed);
                row = static_cast<int>(starts_.size());
                starts_.push_back({pathTexts_.size() - 1, parts.handle});
                index.Add(row);
                lastKeyOfRow_.push_back(k);
            }
            ++starts_[static_cast<std::size_t>(row)].values;
            rowOfKey_[k] = row;
            lastKeyOfRow_[static_cast<std::size_t>(row)] = k;
        }
        ++k;
    }
}

AcadBlockRef ImportRows::Start(std::size_t row) const {
    AcadBlockRef made;
    made.dwgFile = pathTexts_[starts_[row].path];
    made.handle = starts_[row].handle;
    made.attributes.Reserve(starts_[row].values);
    return made;
}

void ImportRows::AddValue(AcadBlockRef& row, std::size_t k) const {
    const arxutils::KeyLines::Entry key = keys_[k];
    const KeyParts parts = SplitImportKey(key.key, options_);
    AcadBlockRefArray::AppendValue(row, parts.tag, key.value, parts.isProperty);
}

AcadBlockRefArray ImportRows::All() const {
    // Made in room of their exact number on this thread, whose heap is faulted in ahead.
    AcadBlockRefArray rows;
    rows.Reserve(static_cast<int>(starts_.size()));
    for (std::size_t row = 0; row < starts_.size(); ++row) rows.Add(Start(row));
    // The values of keys [first, last) appended to their rows in key order. Two ranges that
    // share no row are filled at once.
    const auto fill = [&](std::size_t first, std::size_t last) {
        for (std::size_t k = first; k < last; ++k) {
            if (rowOfKey_[k] >= 0) AddValue(rows[rowOfKey_[k]], k);
        }
    };
    const std::size_t keys = rowOfKey_.size();
    std::size_t cut = keys < kKeysForTwoThreads ? 0 : CutKeys(rowOfKey_, lastKeyOfRow_);
    std::future<void> firstPart;
    if (cut > 0 && cut < keys) {
        try {
            firstPart = std::async(std::launch::async, [&] { fill(0, cut); });
        } catch (const std::system_error&) {
            cut = 0;  // no thread to be had: one fill of the whole
        }
    }
    fill(firstPart.valid() ? cut : 0, keys);
    if (firstPart.valid()) firstPart.get();
    return rows;
}

void ImportRows::Walk(const DrawingFilter& wanted, const RowTaker& take) const {
    std::vector<char> pathWanted(pathTexts_.size());
    for (std::size_t p = 0; p < pathTexts_.size(); ++p) pathWanted[p] = wanted(pathTexts_[p]);
    // The rows made and not yet given, from row `given` on. A row is given once its last key is
    // read and every row before it has been given; a row's keys lie apart only when its handle
    // or drawing is written in more than one way.
    std::deque<AcadBlockRef> open;
    std::size_t given = 0;
    for (std::size_t k = 0; k < rowOfKey_.size(); ++k) {
        if (rowOfKey_[k] < 0) continue;
        const auto row = static_cast<std::size_t>(rowOfKey_[k]);
        const bool taken = pathWanted[starts_[row].path];
        if (row == given + open.size()) open.push_back(taken ? Start(row) : AcadBlockRef());
        if (taken) AddValue(open[row - given], k);
        for (; !open.empty() && lastKeyOfRow_[given] <= k; ++given) {
            if (pathWanted[starts_[given].path]) take(open.front());
            open.pop_front();
        }
    }
}

}  // namespace

AcadBlockRefArray BuildImportList(const ImportMap& map, const ImportByHandleOptions& options,
                                  std::string_view currentPath, std::vector<std::string>& skipped) {
    return ImportRows(map, options, currentPath, skipped).All();
}

RowWalk WalkImportRows(const ImportMap& map, const ImportByHandleOptions& options,
                       std::string_view currentPath, std::vector<std::string>& skipped) {
    auto rows = std::make_shared<const ImportRows>(map, options, currentPath, skipped);
    return {rows->Drawings(),
            [rows](const DrawingFilter& wanted, const RowTaker& take) { rows->Walk(wanted, take); }};
}

std::vector<ImportChange> ListImportChanges(const AcadBlockRefArray& rows) {
    std::vector<ImportChange> changes;
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    ListedDrawings drawings;
    for (const AcadBlockRef& row : rows) {
        std::string drawing = row.dwgFile;
        if (current && (drawing.empty() || base::EqualNoCase(drawing, current->FileName()))) {
            drawing = current->FileName();
        }
        if (cad::Database* db = drawings.Find(drawing)) RowChanges(row, *db, drawing, changes);
    }
    return changes;
}

void ApplyImportMap(ImportMap map, const ImportByHandleOptions& options, const std::string* linkPath,
                    bool printSkipped) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    std::vector<std::string> skipped;
    const RowWalk rows = WalkImportRows(map, options, current ? current->FileName() : "", skipped);
    if (printSkipped) {
        for (const std::string& line : skipped) host::Printf("%s", line);
    }
    // Each row is made from the keys as the writer reaches it, so that the keys and every row's
    // values are never held at once.
    UpdateDrawings(rows, linkPath);
}

}  // namespace attbat
