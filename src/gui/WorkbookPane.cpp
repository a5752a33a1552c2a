#include "gui/WorkbookPane.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

#include "xl/CellRef.h"
#include "xl/Workbook.h"
#include "xl/Worksheet.h"

namespace gui {

namespace {

// A sheet bigger than this shows its first rows and columns only; the pane is for looking.
constexpr int kMaxRows = 5000;
constexpr int kMaxColumns = 200;

}  // namespace

WorkbookPane::WorkbookPane(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    title_ = new QLabel(QStringLiteral("No workbook"));
    title_->setWordWrap(true);
    sheets_ = new QComboBox;
    grid_ = new QTableWidget;
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    layout->addWidget(title_);
    layout->addWidget(sheets_);
    layout->addWidget(grid_, 1);
    connect(sheets_, &QComboBox::currentIndexChanged, this, [this](int index) { ShowSheet(index); });
}

WorkbookPane::~WorkbookPane() = default;

bool WorkbookPane::ShowWorkbook(const std::string& path, const std::string& sheet) {
    path_ = path;
    book_.reset();
    grid_->clear();
    grid_->setRowCount(0);
    grid_->setColumnCount(0);
    const QSignalBlocker block(sheets_);
    sheets_->clear();
    if (path.empty()) {
        title_->setText(QStringLiteral("No workbook"));
        return true;
    }
    auto opened = xl::Workbook::Open(path);
    if (!opened) {
        title_->setText(QString::fromStdString(opened.GetStatus().Message()));
        return false;
    }
    book_ = std::move(*opened);
    title_->setText(QString::fromStdString(path));
    int shown = book_->ActiveSheetIndex();
    for (int i = 0; i < book_->SheetCount(); ++i) {
        sheets_->addItem(QString::fromStdString(book_->Sheet(i)->Name()));
        if (!sheet.empty() && book_->Sheet(i)->Name() == sheet) shown = i;
    }
    sheets_->setCurrentIndex(shown);
    ShowSheet(shown);
    return true;
}

bool WorkbookPane::Reload() {
    const std::string sheet = sheets_->currentText().toStdString();
    return ShowWorkbook(path_, sheet);
}

void WorkbookPane::ShowSheet(int index) {
    grid_->clear();
    if (!book_ || index < 0 || index >= book_->SheetCount()) return;
    xl::Worksheet* sheet = book_->Sheet(index);
    if (!sheet->Load()) return;
    const xl::CellRange used = sheet->UsedRange();
    const int rows = used.IsValid() ? std::min(used.lastRow, kMaxRows) : 0;
    const int columns = used.IsValid() ? std::min(used.lastColumn, kMaxColumns) : 0;
    grid_->setRowCount(rows);
    grid_->setColumnCount(columns);
    QStringList letters;
    for (int c = 1; c <= columns; ++c) letters << QString::fromStdString(xl::ColumnName(c));
    grid_->setHorizontalHeaderLabels(letters);
    for (int r = 1; r <= rows; ++r) {
        for (int c = 1; c <= columns; ++c) {
            const std::string text = sheet->Text(r, c);
            if (text.empty()) continue;
            grid_->setItem(r - 1, c - 1, new QTableWidgetItem(QString::fromStdString(text)));
        }
    }
    sheet->LoadNotes();
    for (const xl::Note& note : sheet->Notes()) {
        if (note.row > rows || note.column > columns) continue;
        QTableWidgetItem* item = grid_->item(note.row - 1, note.column - 1);
        if (!item) {
            item = new QTableWidgetItem;
            grid_->setItem(note.row - 1, note.column - 1, item);
        }
        item->setToolTip(QString::fromStdString(note.text));
        // Cells with a comment are tinted, as spreadsheet programs mark them.
        item->setBackground(QColor(255, 250, 205));
    }
    grid_->resizeColumnsToContents();
}

}  // namespace gui
