#include "gui/CommandForm.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTableWidget>
#include <QVBoxLayout>

#include "attbat/export/CAttPreviewPage.h"
#include "attbat/frame/CommandTable.h"
#include "base/Text.h"
#include "xl/CellRef.h"

namespace gui {

namespace {

// The first item of a choice: the dialog shows what it stored.
const char* const kAsStored = "(as stored)";

bool TakesHandles(const attbat::Control& control) {
    return control.valueName.find("HANDLES") != std::string::npos;
}

bool TakesFile(const attbat::Control& control) {
    const std::string& name = control.valueName;
    return name.find("FILE") != std::string::npos || name.find(".xlsx") != std::string::npos ||
           name.find(".dxf") != std::string::npos || name.find(".lst") != std::string::npos;
}

QString Wrapped(const std::string& label) { return QString::fromStdString(label); }

std::string Joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

}  // namespace

CommandForm::CommandForm(const attbat::CommandEntry& entry, const std::vector<attbat::Control>& controls,
                         const std::string& argumentsUsage, QWidget* parent)
    : QDialog(parent), controls_(controls) {
    setWindowTitle(QString::fromStdString(std::string(entry.localName)) + QStringLiteral(" - ") +
                   QString::fromStdString(std::string(entry.description)));
    auto* outer = new QVBoxLayout(this);
    auto* inner = new QWidget;
    auto* form = new QFormLayout(inner);
    // The dialogs' labels are long: each stands over its field, wrapped to the form's width.
    form->setRowWrapPolicy(QFormLayout::WrapAllRows);
    output_ = new QLineEdit;
    output_->setObjectName(QStringLiteral("output"));
    output_->setPlaceholderText(QStringLiteral("BOOK.xlsx"));
    auto* outputRow = new QHBoxLayout;
    outputRow->addWidget(output_);
    auto* browseOutput = new QPushButton(QStringLiteral("..."));
    connect(browseOutput, &QPushButton::clicked, this, [this] {
        const QString file = QFileDialog::getSaveFileName(this, QStringLiteral("New workbook"), output_->text(),
                                                          QStringLiteral("Workbook (*.xlsx)"));
        if (!file.isEmpty()) output_->setText(file);
    });
    outputRow->addWidget(browseOutput);
    form->addRow(QStringLiteral("A new workbook is saved as (empty: an open workbook is saved in place):"), outputRow);
    if (!argumentsUsage.empty()) {
        arguments_ = new QLineEdit;
        arguments_->setObjectName(QStringLiteral("arguments"));
        arguments_->setPlaceholderText(QString::fromStdString(argumentsUsage));
        form->addRow(QStringLiteral("Words after the command:"), arguments_);
    }
    for (const attbat::Control& control : controls_) AddControl(form, control);
    auto* scroll = new QScrollArea;
    scroll->setWidget(inner);
    scroll->setWidgetResizable(true);
    outer->addWidget(scroll, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    if (entry.localName == "VelmarOut") {
        grid_ = new QTableWidget;
        grid_->setObjectName(QStringLiteral("preview"));
        grid_->horizontalHeader()->setSectionsMovable(true);
        grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
        grid_->setMinimumHeight(180);
        // The first column stays pinned, as the wizard's page keeps it.
        connect(grid_->horizontalHeader(), &QHeaderView::sectionMoved, this, [this](int, int, int) {
            QHeaderView* header = grid_->horizontalHeader();
            if (header->logicalIndex(0) == 0) return;
            const QSignalBlocker block(header);
            header->moveSection(header->visualIndex(0), 0);
        });
        // A click on a header sorts by that column: the page sorts its rows (the top row keeps its
        // place) and the grid shows them; a second click sorts the other way.
        connect(grid_->horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int logical) {
            if (logical < 0 || logical >= static_cast<int>(letters_.size())) return;
            const std::string letter = xl::ColumnName(grid_->horizontalHeader()->visualIndex(logical) + 1);
            rowSort_ = rowSort_ == letter ? letter + ":desc" : letter;
            // Once the header is done with its click: the grid it belongs to is built anew.
            QMetaObject::invokeMethod(this, [this] { if (preview_) preview_(Values()); }, Qt::QueuedConnection);
        });
        outer->addWidget(new QLabel(QStringLiteral("Preview:")));
        outer->addWidget(grid_, 1);
        auto* preview = buttons->addButton(QStringLiteral("Preview"), QDialogButtonBox::ActionRole);
        preview->setObjectName(QStringLiteral("previewButton"));
        connect(preview, &QPushButton::clicked, this, [this] {
            if (preview_) preview_(Values());
        });
    }
    outer->addWidget(buttons);
    resize(720, grid_ ? 760 : 560);
}

void CommandForm::AddControl(QFormLayout* form, const attbat::Control& control) {
    QWidget* field = nullptr;
    QWidget* row = nullptr;
    const QString label = Wrapped(control.label);
    switch (control.kind) {
    case attbat::ControlKind::Check: {
        auto* box = new QCheckBox(label);
        // Partly checked is the stored state, left as it is.
        box->setTristate(true);
        box->setCheckState(Qt::PartiallyChecked);
        box->setToolTip(QStringLiteral("Partly checked: as stored"));
        field = row = box;
        break;
    }
    case attbat::ControlKind::Choice: {
        auto* combo = new QComboBox;
        combo->addItem(QString::fromLatin1(kAsStored));
        for (const std::string& choice : control.choices) combo->addItem(QString::fromStdString(choice));
        field = row = combo;
        break;
    }
    case attbat::ControlKind::Button: {
        auto* box = new QCheckBox(label);
        field = row = box;
        break;
    }
    case attbat::ControlKind::Text:
    case attbat::ControlKind::List: {
        auto* edit = new QLineEdit;
        edit->setPlaceholderText(QString::fromStdString(control.valueName));
        field = edit;
        if (TakesHandles(control) || TakesFile(control)) {
            auto* holder = new QWidget;
            auto* line = new QHBoxLayout(holder);
            line->setContentsMargins(0, 0, 0, 0);
            line->addWidget(edit);
            if (TakesFile(control)) {
                auto* browse = new QPushButton(QStringLiteral("..."));
                connect(browse, &QPushButton::clicked, this, [this, edit] {
                    const QString file = QFileDialog::getOpenFileName(this, QString(), edit->text());
                    if (!file.isEmpty()) edit->setText(file);
                });
                line->addWidget(browse);
            }
            if (TakesHandles(control)) pickedKeys_.push_back(control.key);
            row = holder;
        } else {
            row = edit;
        }
        break;
    }
    }
    field->setObjectName(QString::fromStdString(control.key));
    field->setToolTip(label);
    fields_[control.key] = field;
    if (control.kind == attbat::ControlKind::Check || control.kind == attbat::ControlKind::Button) {
        form->addRow(row);
    } else {
        auto* text = new QLabel(label);
        text->setWordWrap(true);
        form->addRow(text, row);
    }
}

void CommandForm::SetPicked(const std::vector<std::string>& handles) {
    if (handles.empty()) return;
    const std::string joined = Joined(handles, ",");
    for (const std::string& key : pickedKeys_) {
        if (auto* edit = qobject_cast<QLineEdit*>(fields_[key])) edit->setText(QString::fromStdString(joined));
    }
    // Objects picked before the export are its source, as "Select Objects" would have them.
    if (!pickedKeys_.empty()) {
        if (auto* source = qobject_cast<QComboBox*>(Field("source"))) {
            const int objects = source->findText(QStringLiteral("objects"));
            if (objects > 0) source->setCurrentIndex(objects);
        }
    }
}

void CommandForm::SetOutput(const std::string& path) { output_->setText(QString::fromStdString(path)); }

std::string CommandForm::Output() const { return output_->text().trimmed().toStdString(); }

attbat::ControlValues CommandForm::Values() const {
    attbat::ControlValues values;
    for (const attbat::Control& control : controls_) {
        QWidget* field = fields_.at(control.key);
        switch (control.kind) {
        case attbat::ControlKind::Check: {
            auto* box = static_cast<QCheckBox*>(field);
            if (box->checkState() != Qt::PartiallyChecked) values.SetCheck(control.key, box->checkState() == Qt::Checked);
            break;
        }
        case attbat::ControlKind::Choice: {
            auto* combo = static_cast<QComboBox*>(field);
            if (combo->currentIndex() > 0) values.SetChoice(control.key, combo->currentIndex() - 1);
            break;
        }
        case attbat::ControlKind::Button:
            if (static_cast<QCheckBox*>(field)->isChecked()) values.Press(control.key);
            break;
        case attbat::ControlKind::Text: {
            const std::string text = static_cast<QLineEdit*>(field)->text().toStdString();
            if (!text.empty()) values.SetText(control.key, text);
            break;
        }
        case attbat::ControlKind::List: {
            const std::string text = static_cast<QLineEdit*>(field)->text().toStdString();
            if (!text.empty()) values.SetList(control.key, base::SplitTrimmed(text, ','));
            break;
        }
        }
    }
    // The grid's order and sort are the preview page's controls.
    if (grid_) {
        const std::string order = ColumnOrder();
        if (!order.empty() && !values.Has("column-order")) values.SetList("column-order", base::SplitTrimmed(order, ','));
        if (!rowSort_.empty() && !values.Has("row-sort")) values.SetText("row-sort", rowSort_);
    }
    return values;
}

std::vector<std::string> CommandForm::Arguments() const {
    std::vector<std::string> words;
    if (!arguments_) return words;
    for (const QString& word : arguments_->text().split(QLatin1Char(' '), Qt::SkipEmptyParts))
        words.push_back(word.toStdString());
    return words;
}

QWidget* CommandForm::Field(const std::string& key) const {
    if (key == "output") return output_;
    if (key == "arguments") return arguments_;
    auto found = fields_.find(key);
    return found == fields_.end() ? nullptr : found->second;
}

void CommandForm::SetPreviewRunner(std::function<void(const attbat::ControlValues&)> preview) {
    preview_ = std::move(preview);
}

void CommandForm::ShowPreview(const attbat::CAttPreviewPage& page) {
    if (!grid_) return;
    const int columns = page.ColumnCount();
    grid_->clear();
    // A new column count puts the header's sections back in their own order: the page has taken
    // the order the grid was given.
    grid_->setColumnCount(0);
    grid_->setColumnCount(columns);
    grid_->setRowCount(page.RowCount());
    letters_.clear();
    QStringList headers;
    for (int p = 0; p < columns; ++p) {
        const int built = p < static_cast<int>(page.ColumnOrder().size()) ? page.ColumnOrder()[p] : p;
        letters_.push_back(xl::ColumnName(built + 1));
        headers << QString::fromStdString(page.HeaderAt(p));
    }
    grid_->setHorizontalHeaderLabels(headers);
    for (int r = 0; r < page.RowCount(); ++r)
        for (int p = 0; p < columns; ++p)
            grid_->setItem(
                r, p, new QTableWidgetItem(QString::fromStdString(std::string(page.TextAt(r, p)))));
    grid_->resizeColumnsToContents();
}

std::string CommandForm::ColumnOrder() const {
    if (!grid_) return {};
    const QHeaderView* header = grid_->horizontalHeader();
    bool moved = false;
    std::vector<std::string> order;
    for (int visual = 0; visual < grid_->columnCount(); ++visual) {
        const int logical = header->logicalIndex(visual);
        if (logical < 0 || logical >= static_cast<int>(letters_.size())) return {};
        order.push_back(letters_[logical]);
        if (order.back() != xl::ColumnName(visual + 1)) moved = true;
    }
    return moved ? Joined(order, ",") : std::string();
}

}  // namespace gui
