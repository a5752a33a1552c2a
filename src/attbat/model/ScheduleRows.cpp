#include "attbat/model/ScheduleRows.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/AcadBlockFilter.h"
#include "attbat/model/AcadBlockView.h"
#include "attbat/model/DrawingContext.h"
#include "attbat/model/PropertyTable.h"
#include "base/Format.h"
#include "base/Text.h"
#include "base/Wildcard.h"

namespace attbat {
namespace {

// "%s<%s%c%s>" of drawing, handle, cut and field: "%s<%s_%s>" for attributes and "%s<%s:%s>"
// for properties. Built by hand because a schedule makes one per cell.
std::string KeyText(const AcadBlockRef& row, char cut, std::string_view field) {
    std::string key;
    key.reserve(row.dwgFile.size() + row.handle.size() + field.size() + 3);
    key += row.dwgFile;
    key += '<';
    key += row.handle;
    key += cut;
    key += field;
    key += '>';
    return key;
}

// The key of an attribute's cell. Its field is the tag for the first of its tag; for a later
// one the tag with the attribute's own handle, or the "%s_Dup(%d)" name when it has none. Under
// promptAsHeader the "%s(%s)" form of tag and handle is the same text.
std::string AttributeKey(const AcadBlockRef& row, const AcadAttribute& attribute) {
    if (attribute.dupIndex < 1) return KeyText(row, '_', attribute.tag);
    if (attribute.handle)
        return KeyText(row, '_', base::Sprintf("%s(%s)", attribute.tag, attribute.HandleText()));
    return KeyText(row, '_', DupName(attribute.tag, attribute.dupIndex));
}

// Whether an attribute belongs to a column named by tag: the first of its tag by the tag, a
// later one by its "%s_Dup(%d)" name.
bool MatchesColumn(const AcadAttribute& attribute, std::string_view column) {
    if (attribute.dupIndex < 1) return attribute.tag == column;
    // Cheap test first: the name must start with the tag.
    if (column.size() <= attribute.tag.size() || column.compare(0, attribute.tag.size(),
                                                                attribute.tag) != 0) {
        return false;
    }
    return DupName(attribute.tag, attribute.dupIndex) == column;
}

// Value and key of the property cell `bit` of a row; `areaUnit` only for the outer area.
void PropertyCell(const AcadBlockRef& row, int bit, int areaUnit, std::string& value,
                  std::string& key, const DrawingContext& drawing) {
    std::string_view shortKey;
    std::string areaKey;
    switch (bit) {
        case kPosX:
        case kPosY:
        case kPosZ: {
            const double coordinate = bit == kPosX   ? row.position.x
                                      : bit == kPosY ? row.position.y
                                                     : row.position.z;
            // Decimal units show an exact zero as "0", not as "0.0000".
            value = drawing.LinearUnits() == 2 && coordinate == 0.0
                        ? std::string("0")
                        : drawing.DistanceText(coordinate, row.lunits, -1);
            shortKey = bit == kPosX ? "PosX" : bit == kPosY ? "PosY" : "PosZ";
            break;
        }
        case kScaleX:
        case kScaleY:
        case kScaleZ: {
            const double factor = bit == kScaleX   ? row.scale.x
                                  : bit == kScaleY ? row.scale.y
                                                   : row.scale.z;
            value = base::Sprintf("%G", factor);
            shortKey = bit == kScaleX ? "ScaleX" : bit == kScaleY ? "ScaleY" : "ScaleZ";
            break;
        }
        case kRotation:
            value = drawing.AngleText(row.rotation, row.aunits, -1);
            shortKey = "Rotation";
            break;
        case kLayer:
            value = row.layer.name;
            shortKey = "Layer";
            break;
        default: {
            const double area = row.outerArea;
            if (area < 1e-5) {
                value = "N.A.";
            } else if (areaUnit == 1) {
                value = drawing.DistanceText(area, 2, 2);
            } else if (areaUnit == 2) {
                value = drawing.DistanceText(area / 144.0, 2, 4);
            } else if (areaUnit == 3) {
                value = drawing.DistanceText(area * 0.0254 * 0.0254, 2, 4);
            } else {
                value = base::Sprintf("%.2f", area);
            }
            areaKey = AreaShortKey(areaUnit);
            shortKey = areaKey;
            break;
        }
    }
    key = KeyText(row, ':', shortKey);
}

// Bit of a column named by a long property name (the outer area by its leading characters, so
// that its unit forms match too); 0 for an attribute column.
int PropertyBitOfColumn(std::string_view column) {
    const AcadAttributeArray& table = PropertyTable();
    for (const AcadAttribute& property : table) {
        if (property.kind != kOuterArea && base::EqualNoCase(column, property.tag)) {
            return property.kind;
        }
    }
    if (base::EqualNoCase(base::Left(column, static_cast<long>(kOuterAreaName.size())),
                          kOuterAreaName)) {
        return kOuterArea;
    }
    return 0;
}

bool ResolvedCellText(const AcadBlockRef& row, const AcadAttributeDefArray& defs,
                      std::string_view column, int bit, std::string& valueOut,
                      std::string& keyOut, const AcadBlockView& view,
                      const DrawingContext& drawing);

// The columns of a group as its rows' values find them: property columns by their bit, the
// others by name. A row's values are matched in one pass, each column taking the first value
// that matches it, as ResolvedCellText gives it column by column.
class AttributeColumns {
public:
    explicit AttributeColumns(const tables::CStringArrayEx& columns) {
        const std::size_t count = static_cast<std::size_t>(columns.GetSize());
        bits_.reserve(count);
        sameName_.assign(count, -1);
        std::vector<int> lastOfName(count, -1);
        for (int c = 0; c < columns.GetSize(); ++c) {
            const int bit = PropertyBitOfColumn(columns[c]);
            bits_.push_back(bit);
            if (bit != 0) continue;
            // A name that stands twice chains its columns, so each gets the same value.
            const auto [at, isNew] = byName_.try_emplace(columns[c], c);
            if (!isNew) sameName_[static_cast<std::size_t>(lastOfName[static_cast<std::size_t>(at->second)])] = c;
            lastOfName[static_cast<std::size_t>(at->second)] = c;
        }
    }

    // The property bit of column `c`; 0 for an attribute column.
    int BitOf(int c) const { return bits_[static_cast<std::size_t>(c)]; }

    // Writes each attribute column's value and key from `row` of the block with definitions
    // `defs` to the cells from `first` on of `values` and `keys`, leaving the cells of columns
    // no value matches as they are (empty). `filled` is scratch.
    void Fill(const AcadBlockRef& row, const AcadAttributeDefArray& defs,
              const AcadBlockView& view, std::vector<char>& filled,
              tables::CStringArrayEx& values, tables::CStringArrayEx& keys, int first) {
        if (byName_.empty()) return;
        filled.assign(bits_.size(), 0);
        const bool skipEmpty = !view.noValueTags.IsEmpty();
        for (int place = 0; place < row.attributes.GetSize(); ++place) {
            const AcadAttribute& attribute = row.attributes[place];
            if (skipEmpty && attribute.value.empty()) continue;
            const int column = view.promptAsHeader
                                   ? ColumnNamed(defs.PromptOf(attribute.tag, attribute.dupIndex))
                                   : ColumnAt(static_cast<std::size_t>(place), attribute);
            for (int c = column; c >= 0; c = sameName_[static_cast<std::size_t>(c)]) {
                const auto i = static_cast<std::size_t>(c);
                if (filled[i]) continue;
                filled[i] = 1;
                values[first + c] = attribute.value;
                // A constant attribute can't be written back, so its cell gets no key.
                if (!attribute.constant) keys[first + c] = AttributeKey(row, attribute);
            }
        }
    }

private:
    // The first column named `name`; -1 for none.
    int ColumnNamed(std::string_view name) const {
        const auto at = byName_.find(name);
        return at == byName_.end() ? -1 : at->second;
    }

    // The first column of `attribute`, found by its tag, at `place` among a row's values. The
    // references of a block mostly list their values in the same order, so the column found for
    // a place is kept and taken again for a value of the same tag in that place.
    int ColumnAt(std::size_t place, const AcadAttribute& attribute) {
        if (place >= byPlace_.size()) byPlace_.resize(place + 1);
        Found& found = byPlace_[place];
        if (found.dupIndex != attribute.dupIndex || found.tag != attribute.tag) {
            found.tag = attribute.tag;
            found.dupIndex = attribute.dupIndex;
            found.column = attribute.dupIndex >= 1
                               ? ColumnNamed(DupName(attribute.tag, attribute.dupIndex))
                               : ColumnNamed(attribute.tag);
        }
        return found.column;
    }

    struct Found {
        std::string tag;
        int dupIndex = -1;  // none found yet
        int column = -1;
    };

    std::vector<int> bits_;
    std::unordered_map<std::string_view, int> byName_;  // first column of each attribute name
    std::vector<int> sameName_;                         // next column of the same name, or -1
    std::vector<Found> byPlace_;                        // the column last found at each place
};

void WriteHeader(RowTable& rows, RowTable& keys, const AcadBlockView& view,
                 const tables::CStringArrayEx& columns) {
    tables::CStringArrayEx header;
    tables::CStringArrayEx headerKeys;
    if (view.showName) {
        header.Add(std::string(view.identityColumn == 2 ? HeaderHandle : HeaderDwgFile));
        headerKeys.Add(std::string());
    }
    header.Add(std::string(HeaderBlockName));
    headerKeys.Add(std::string(BlockColumnMark));
    if (view.showCount) {
        header.Add(std::string(HeaderQuantity));
        headerKeys.Add(std::string());
    }
    for (const std::string& column : columns) {
        header.Add(column);
        headerKeys.Add(std::string());
    }
    rows.Add(std::move(header));
    keys.Add(std::move(headerKeys));
}

// Identical rows (cell for cell without regard to case, the count cell included) from `first`
// on become their first row, with the keys of each cell joined line by line and the count cell
// showing how many there were. Rows are grouped by their case-folded cells, so the result is
// the one of comparing every row with every later row, in linear time.
void MergeRows(RowTable& rows, RowTable& keys, int first, const AcadBlockView& view) {
    const int total = rows.GetSize();
    std::vector<tables::CStringArrayEx> keptRows;
    std::vector<tables::CStringArrayEx> keptKeys;
    std::vector<int> counts;
    std::unordered_map<std::string, std::size_t> groupOf;
    std::string signature;
    for (int i = first; i < total; ++i) {
        tables::CStringArrayEx& row = rows[i];
        signature.clear();
        for (const std::string& cell : row) {
            // Each cell folded and ended by a byte no UTF-8 text holds, so cells can't run
            // into each other.
            for (std::size_t pos = 0; pos < cell.size();) {
                const auto byte = static_cast<unsigned char>(cell[pos]);
                if (byte < 0x80) {  // ASCII folds to itself or its lower case
                    signature += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
                    ++pos;
                } else {
                    base::AppendUtf8(signature, base::FoldCase(base::DecodeUtf8(cell, pos)));
                }
            }
            signature += '\xFF';
        }
        const auto [at, isNew] = groupOf.try_emplace(signature, keptRows.size());
        if (isNew) {
            keptRows.push_back(std::move(row));
            keptKeys.push_back(std::move(keys[i]));
            counts.push_back(1);
            continue;
        }
        tables::CStringArrayEx& keptKey = keptKeys[at->second];
        const tables::CStringArrayEx& rowKey = keys[i];
        const int cells = std::min(keptKey.GetSize(), rowKey.GetSize());
        for (int c = 0; c < cells; ++c) {
            if (!keptKey[c].empty() && !rowKey[c].empty()) {
                keptKey[c] += '\n';
                keptKey[c] += rowKey[c];
            }
        }
        ++counts[at->second];
    }
    rows.SetSize(first);
    keys.SetSize(first);
    const int countCell = view.showName ? 2 : 1;
    for (std::size_t k = 0; k < keptRows.size(); ++k) {
        tables::CStringArrayEx& row = keptRows[k];
        if (row.GetSize() > 1 && view.showCount && countCell < row.GetSize()) {
            row[countCell] = base::Sprintf("%d", counts[k]);
        }
        rows.Add(std::move(row));
        keys.Add(std::move(keptKeys[k]));
    }
}

// The size of `row` without its trailing empty cells.
int FilledSize(const tables::CStringArrayEx& row) {
    int size = row.GetSize();
    while (size > 0 && row[size - 1].empty()) --size;
    return size;
}

// Hands what both tables hold to `sink` and empties them.
void HandRows(RowSink& sink, RowTable& rows, RowTable& keys) {
    sink.TakeRows(rows, keys);
    rows.RemoveAll();
    keys.RemoveAll();
}

// Empties the cells of `row` up to its last non-empty one, keeping their room.
void EmptyCells(tables::CStringArrayEx& row) {
    for (int c = FilledSize(row) - 1; c >= 0; --c) row[c].clear();
}

// The cells of `row` up to its last non-empty one, moved into a row of exactly their room;
// `row` keeps its size with every cell empty.
tables::CStringArrayEx TakeCells(tables::CStringArrayEx& row) {
    const int size = FilledSize(row);
    tables::CStringArrayEx taken;
    taken.SetSize(size);
    for (int c = 0; c < size; ++c) {
        taken[c] = std::move(row[c]);
        row[c].clear();
    }
    return taken;
}

}  // namespace

void TrimTrailingEmpty(tables::CStringArrayEx& row) {
    const int size = FilledSize(row);
    if (size == row.GetSize()) return;
    row.SetSize(size);
    row.FreeExtra();
}

void BuildRows(AcadBlockArray& blockArray, RowTable& rows, RowTable& keys, AcadBlockView& view,
               const AcadBlockFilter& filter, const tables::CStringArrayEx& names,
               const DrawingContext& drawing, int* fullWidth, RowSink* sink) {
    blockArray.BuildColumns(view);
    bool firstHeader = true;
    for (const std::string& name : names) {
        std::vector<AcadBlock*> found;
        blockArray.FindAllByName(name, found);
        const std::vector<const AcadBlock*> blocks(found.begin(), found.end());
        AddGroup(blockArray, rows, keys, view, filter, blocks, firstHeader, drawing, fullWidth,
                 sink);
        if (sink && !rows.IsEmpty()) HandRows(*sink, rows, keys);
    }
}

void AddGroup(const AcadBlockArray& blockArray, RowTable& rows, RowTable& keys,
              const AcadBlockView& view, const AcadBlockFilter& filter,
              const std::vector<const AcadBlock*>& blocks, bool& firstHeader,
              const DrawingContext& drawing, int* fullWidth, RowSink* sink) {
    if (blocks.empty()) return;
    const int rowsBefore = rows.GetSize();
    tables::CStringArrayEx ownColumns;
    if (view.headerStyle != 0) ownColumns = view.ColumnsOf(blocks);
    const tables::CStringArrayEx& columns = view.headerStyle != 0 ? ownColumns : view.columns;

    // Without a header of its own, the group's first data row carries the block column mark.
    bool markPending = false;
    bool headerWritten = false;
    if (!view.includeHeader) {
        markPending = true;
    } else if (view.headerStyle == 0 && firstHeader) {
        WriteHeader(rows, keys, view, columns);
        headerWritten = true;
        firstHeader = false;
    } else if (view.headerStyle != 0) {
        WriteHeader(rows, keys, view, columns);
        headerWritten = true;
    } else {
        markPending = true;
    }

    // Which columns are properties is decided once per group, not once per cell; the others
    // are found by name, so each row is filled in one pass over its values.
    AttributeColumns attributeColumns(columns);
    std::vector<char> filled;

    const int cellCount = (view.showName ? 1 : 0) + 1 + (view.showCount ? 1 : 0) +
                          columns.GetSize();
    // Rows to be merged are compared at full width; others are trimmed as they are made, so a
    // schedule wider than most of its rows never holds every row at full width at once.
    const bool trimEachRow = fullWidth != nullptr && !view.combineItems;
    // Rows made so far, those handed to the sink included.
    int made = 0;
    // The group's rows as handed over: each trimmed (again a quick look for those trimmed when
    // made), and the group's width noted when it left any.
    const auto handOver = [&] {
        if (!fullWidth) return;
        for (int r = rowsBefore; r < rows.GetSize(); ++r) {
            TrimTrailingEmpty(rows[r]);
            TrimTrailingEmpty(keys[r]);
        }
        if (made > 0 || rows.GetSize() > rowsBefore) *fullWidth = std::max(*fullWidth, cellCount);
    };
    const int firstData = rows.GetSize();
    // The row being made, sized once and filled by index rather than grown cell by cell. Trimmed
    // rows take its cells and leave it empty for the next; full-width rows take it whole.
    tables::CStringArrayEx values;
    tables::CStringArrayEx rowKeys;
    for (const AcadBlock* block : blocks) {
        if (!BlockPassesFilter(*block, filter)) continue;
        for (const AcadBlockRef& row : block->refs) {
            if (!RowPassesFilter(row, blockArray.layers, filter, drawing)) continue;
            if (values.GetSize() != cellCount) {
                values.SetSize(cellCount);
                rowKeys.SetSize(cellCount);
            }
            int cell = 0;
            if (view.showName) {
                if (view.identityColumn == 2) {
                    values[cell] = row.handle;
                } else {
                    std::string& identity = values[cell];
                    identity = block->dwgFile;
                    if (view.identityColumn == 1 && !row.ownerName.empty()) {
                        identity += '|';
                        identity += row.ownerName;
                    }
                    rowKeys[cell] = CurrentDrawingMark;
                }
                ++cell;
            }
            values[cell] = block->name;
            if (markPending) rowKeys[cell] = BlockColumnMark;
            markPending = false;
            ++cell;
            if (view.showCount) values[cell++] = "1";
            const int firstColumnCell = cell;
            for (int c = 0; c < columns.GetSize(); ++c, ++cell) {
                const int bit = attributeColumns.BitOf(c);
                if (bit != 0) PropertyCell(row, bit, view.areaUnit, values[cell], rowKeys[cell], drawing);
            }
            attributeColumns.Fill(row, block->defs, view, filled, values, rowKeys,
                                  firstColumnCell);
            ++made;
            if (trimEachRow && sink) {
                // The group's header goes first, handed over as the group's rows are; the row's
                // cells are copied out and emptied, so their strings keep their room for the next
                // row.
                if (!rows.IsEmpty()) {
                    handOver();
                    HandRows(*sink, rows, keys);
                }
                sink->TakeRow(values, FilledSize(values), rowKeys, FilledSize(rowKeys));
                EmptyCells(values);
                EmptyCells(rowKeys);
            } else if (trimEachRow) {
                rows.Add(TakeCells(values));
                keys.Add(TakeCells(rowKeys));
            } else {
                rows.Add(std::exchange(values, {}));
                keys.Add(std::exchange(rowKeys, {}));
            }
        }
    }

    if (made == 0) {
        // A block header over no rows would stand alone in the sheet.
        if (headerWritten && view.headerStyle != 0) {
            rows.RemoveAt(firstData - 1);
            keys.RemoveAt(firstData - 1);
        }
        handOver();
        return;
    }
    if (view.combineItems) MergeRows(rows, keys, firstData, view);
    handOver();
}

bool CellText(const AcadBlockRef& row, const AcadAttributeDefArray& defs,
              std::string_view column, std::string& valueOut, std::string& keyOut,
              const AcadBlockView& view, const DrawingContext& drawing) {
    return ResolvedCellText(row, defs, column, PropertyBitOfColumn(column), valueOut, keyOut,
                            view, drawing);
}

namespace {

bool ResolvedCellText(const AcadBlockRef& row, const AcadAttributeDefArray& defs,
                      std::string_view column, int bit, std::string& valueOut,
                      std::string& keyOut, const AcadBlockView& view,
                      const DrawingContext& drawing) {
    valueOut.clear();
    keyOut.clear();
    if (bit != 0) {
        PropertyCell(row, bit, view.areaUnit, valueOut, keyOut, drawing);
        return true;
    }
    const bool skipEmpty = !view.noValueTags.IsEmpty();
    for (const AcadAttribute& attribute : row.attributes) {
        if (skipEmpty && attribute.value.empty()) continue;
        const bool match = view.promptAsHeader
                               ? defs.PromptOf(attribute.tag, attribute.dupIndex) == column
                               : MatchesColumn(attribute, column);
        if (!match) continue;
        valueOut = attribute.value;
        // A constant attribute can't be written back, so its cell gets no key.
        if (!attribute.constant) keyOut = AttributeKey(row, attribute);
        return true;
    }
    return false;
}

}  // namespace

bool CellTextByKey(const AcadBlockRef& row, std::string_view shortKey, std::string& valueOut,
                   std::string& keyOut, const AcadBlockView& view, bool isProperty,
                   bool& isDistanceOut, const DrawingContext& drawing) {
    valueOut.clear();
    keyOut.clear();
    isDistanceOut = false;
    int bit = 0;
    int areaUnit = 0;
    if (isProperty) {
        const int unit = AreaUnitOfShortKey(shortKey);
        if (unit != 0 || base::EqualNoCase(shortKey, kOuterAreaKey)) {
            bit = kOuterArea;
            areaUnit = unit;
        } else {
            for (const AcadAttribute& property : PropertyTable()) {
                if (property.kind != kOuterArea && base::EqualNoCase(shortKey, property.value)) {
                    bit = property.kind;
                }
            }
        }
    } else if (base::EqualNoCase(shortKey, "Layer")) {
        bit = kLayer;
    }
    if (bit != 0) {
        PropertyCell(row, bit, areaUnit, valueOut, keyOut, drawing);
        return true;
    }
    const bool skipEmpty = !view.noValueTags.IsEmpty();
    for (const AcadAttribute& attribute : row.attributes) {
        if (skipEmpty && attribute.value.empty()) continue;
        if (attribute.tag != shortKey) continue;
        valueOut = attribute.value;
        if (!attribute.constant) keyOut = AttributeKey(row, attribute);
        isDistanceOut = attribute.isDistance != 0;
        return true;
    }
    return false;
}

bool RowPassesFilter(const AcadBlockRef& row, const tables::CStringArrayEx& layers,
                     const AcadBlockFilter& filter, const DrawingContext& drawing) {
    if (filter.currentSpaceOnly && row.ownerId != drawing.CurrentSpaceId()) return false;
    if (!filter.incNested && !row.topLevel) return false;
    if (!filter.incFrozen && row.layer.frozen) return false;
    if (!filter.incLocked && row.layer.locked) return false;
    if (!filter.incOff && row.layer.off) return false;
    if (!layers.IsEmpty() && layers.FindString(row.layer.name, true) < 0) return false;
    return true;
}

bool BlockPassesFilter(const AcadBlock& block, const AcadBlockFilter& filter) {
    if (!filter.incXref && block.isXref) return false;
    const std::string pattern = base::Trim(filter.blockPattern);
    return pattern.empty() || base::WcMatch(block.name, pattern, true);
}

bool ParseKeyCell(std::string_view cell, tables::CStringArrayEx& handles, std::string& tag,
                  int& kindOut) {
    // Handles hold no "_", so the first one is the cut and a tag may hold more.
    std::size_t cut = cell.find('_');
    bool isProperty = false;
    if (cut == std::string_view::npos || cut < 1) {
        cut = cell.find(':');
        if (cut == std::string_view::npos || cut < 1) return false;
        isProperty = true;
    }
    const std::string_view left = cell.substr(0, cut);
    const std::string_view right = cell.substr(cut + 1);
    if (left.empty() || right.empty()) return false;
    tag = right;
    kindOut = isProperty ? PropertyBitOf(right) : 0;
    std::size_t start = 0;
    while (start <= left.size()) {
        std::size_t end = left.find('|', start);
        if (end == std::string_view::npos) end = left.size();
        const std::string_view handle = left.substr(start, end - start);
        if (!handle.empty() && handles.FindString(handle, true) < 0) {
            handles.Add(std::string(handle));
        }
        start = end + 1;
    }
    return true;
}

void SplitPair(std::string_view text, std::string& first, std::string& second) {
    const std::size_t at = text.find(Separator);
    if (at == std::string_view::npos) {
        second = text;
        return;
    }
    first = text.substr(0, at);
    second = text.substr(at + Separator.size());
}

}  // namespace attbat
