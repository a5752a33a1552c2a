#include "attbat/export/CAttPreviewPage.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include "attbat/export/CScheduleDialog.h"
#include "attbat/export/CSelectAttributeDialog.h"
#include "attbat/model/ScheduleRows.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

// The list's rows and keys packed as they are built, each row's item data its row of keys.
class PackingSink : public RowSink {
public:
    PackingSink(std::vector<CAttPreviewPage::ListRow>& rows, std::vector<tables::PackedRow>& keys)
        : rows_(rows), keys_(keys) {}

    void TakeRows(RowTable& rows, RowTable& keys) override {
        for (int i = 0; i < rows.GetSize(); ++i)
            Add(tables::PackedRow(rows[i]), tables::PackedRow(keys[i]));
    }
    void TakeRow(const tables::CStringArrayEx& values, int valueCount,
                 const tables::CStringArrayEx& keys, int keyCount) override {
        Add(tables::PackedRow(values, valueCount), tables::PackedRow(keys, keyCount));
    }

private:
    void Add(tables::PackedRow texts, tables::PackedRow keys) {
        rows_.push_back({std::move(texts), static_cast<int>(keys_.size())});
        keys_.push_back(std::move(keys));
    }

    std::vector<CAttPreviewPage::ListRow>& rows_;
    std::vector<tables::PackedRow>& keys_;
};

}  // namespace

void CAttPreviewPage::OnInitDialog() {
    m_drawingColumnKind = 0;
    m_headerStyle = 0;
    m_columnSort = 2;
}

std::string CAttPreviewPage::HeaderAt(int position) const { return tables::ColumnLetters(position + 1); }

std::string_view CAttPreviewPage::TextAt(int row, int position) const {
    return CellOf(m_rows.at(row).texts, columnOrder_.at(position));
}

std::string_view CAttPreviewPage::CellOf(const tables::PackedRow& row, int column) {
    return row[column];
}

bool CAttPreviewPage::SetColumnOrder(const std::vector<int>& order) {
    if (static_cast<int>(order.size()) != columnCount_ || order.empty() || order[0] != 0) return false;
    std::vector<int> sorted = order;
    std::sort(sorted.begin(), sorted.end());
    for (int i = 0; i < columnCount_; ++i) {
        if (sorted[i] != i) return false;
    }
    columnOrder_ = order;
    return true;
}

CLinkExternalDataDialog::PreviewList CAttPreviewPage::LinkList() const {
    CLinkExternalDataDialog::PreviewList list;
    list.columnCount = columnCount_;
    list.columnOrder = columnOrder_;
    list.rows.reserve(m_rows.size());
    for (const ListRow& row : m_rows)
        list.rows.push_back({&row.texts, row.itemData});
    return list;
}

void CAttPreviewPage::RefreshPage() {
    AcadBlockView& view = wizard_.m_view;
    view.headerStyle = m_headerStyle;
    view.columnSort = m_columnSort;
    view.identityColumn = m_drawingColumnKind;
    headerStyleEnabled = view.includeHeader != 0;
    drawingKindEnabled = view.showName != 0;

    std::vector<int> restore;
    if (!m_savedColumnOrder.empty()) restore = m_savedColumnOrder;
    else if (columnCount_ > 0 && m_keepColumnOrder == 0) restore = columnOrder_;

    m_rows.clear();
    columnCount_ = 0;
    columnOrder_.clear();

    if (AcadBlockArray* blocks = wizard_.m_activeBlocks) {
        AcadBlockView copy = view;
        tables::CStringArrayEx names;
        wizard_.m_attributePage.GetTickedBlocks(names);
        copy.noValueTags.RemoveAll();
        if (copy.unselNoValueAtts != 0) {
            AcadAttDefTagArray tags;
            CollectTickedTags(*blocks, names, tags, copy.noValueTags);
        }
        m_commentTable.clear();
        // No ticked block gives no table at all, not a lone header.
        // A header per block gives groups of different widths; the list is as wide as the widest.
        // Rows come without their trailing empty cells (cells past a row's end read empty), so
        // a schedule of many narrow groups doesn't hold a string for every empty cell twice over,
        // and each row is packed as it is made.
        int width = 0;
        if (!names.IsEmpty()) {
            RowTable texts, keys;
            PackingSink sink(m_rows, m_commentTable);
            BuildRows(*blocks, texts, keys, copy, wizard_.m_filter, names, wizard_.Drawing(), &width,
                      &sink);
        }
        columnCount_ = m_rows.empty() ? 0 : width;
        m_sortRestored = 0;
    }
    columnOrder_.resize(columnCount_);
    std::iota(columnOrder_.begin(), columnOrder_.end(), 0);
    if (!restore.empty() && static_cast<int>(restore.size()) == columnCount_) SetColumnOrder(restore);

    m_keepColumnOrder = 0;
    m_savedColumnOrder.clear();
    if (m_sortColumn >= 0 && m_sortDirection != 0) SortRows();
}

void CAttPreviewPage::OnColumnSortChanged(int index) {
    if (index == m_columnSort) return;
    m_columnSort = index;
    m_keepColumnOrder = 1;
    RefreshPage();
}

void CAttPreviewPage::DragColumn(int from, int to) {
    int count = std::min(columnCount_, kMaxColumns);
    if (count < 2 || to < 0 || to >= count || from < 0 || from >= count) return;
    // The first column is pinned: it can't leave position 0 and nothing takes its place.
    if (columnOrder_[from] == 0) to = 0;
    else if (to == 0) to = 1;
    if (from == to) return;
    int column = columnOrder_[from];
    columnOrder_.erase(columnOrder_.begin() + from);
    columnOrder_.insert(columnOrder_.begin() + to, column);
}

void CAttPreviewPage::OnHeaderClick(int column) {
    if (column != m_sortColumn) {
        m_sortColumn = column;
        m_sortDirection = 1;
    } else {
        m_sortDirection = m_sortDirection == 1 ? -1 : 1;
    }
    SortRows();
}

void CAttPreviewPage::SortRows() {
    // Rows carry their comment row with them, so the item data needs no restoring afterwards.
    if (m_rows.size() > 1 && m_sortColumn >= 0 && m_sortColumn < columnCount_) {
        const int column = m_sortColumn;
        const bool ascending = m_sortDirection == 1;
        // The top row is never compared with the others, so it keeps its place.
        std::stable_sort(m_rows.begin() + 1, m_rows.end(), [&](const ListRow& a, const ListRow& b) {
            int order = CellOf(a.texts, column).compare(CellOf(b.texts, column));
            return ascending ? order < 0 : order > 0;
        });
    }
    m_sortRestored = 1;
}

const std::vector<Control>& CAttPreviewPage::Controls() {
    static const std::vector<Control> controls = {
        {"drawing-column-kind", ControlKind::Choice, "Drawing Path / Drawing With Layout / Block Ref Handle",
         {"path", "layout", "handle"}},
        {"header-style", ControlKind::Choice, "Header for all blocks / Header per block", {"all", "per-block"}},
        {"column-sort", ControlKind::Choice, "Column sort:", {"a-z", "z-a", "none"}},
        {"column-order", ControlKind::List, "columns in the order to show, by letters (\"A,C,B\")", {}, "LETTERS"},
        {"row-sort", ControlKind::Text, "sort the rows by the column under that letter", {}, "LETTER[:desc]"},
        {"to-table", ControlKind::Button,
         "Export to AutoCAD Table: the rows as a table of the drawing, its title asked"},
    };
    return controls;
}

}  // namespace attbat
