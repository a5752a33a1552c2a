#include "gui/SettingsWindows.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "host/Locations.h"

namespace gui {

namespace {

QString Q(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<int>(text.size())); }

// The dialog's own words of a control whose label quotes them ("\"Update Link\": ..."); the
// whole label when it quotes nothing.
QString QuotedLabel(const std::vector<attbat::Control>& controls, std::string_view key) {
    const attbat::Control* control = attbat::FindControl(controls, key);
    if (!control) return Q(key);
    const std::string& label = control->label;
    const std::size_t open = label.find('"');
    const std::size_t close = open == std::string::npos ? open : label.find('"', open + 1);
    if (open == std::string::npos || close == std::string::npos) return Q(label);
    return Q(std::string_view(label).substr(open + 1, close - open - 1));
}

QDialogButtonBox* OkCancel(QDialog* dialog) {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return buttons;
}

}  // namespace

OptionsWindow::OptionsWindow(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("optionsWindow"));
    setWindowTitle(Q(attbat::COptionsDialog::title));
    model_.OnInitDialog();
    auto* layout = new QVBoxLayout(this);
    QGroupBox* group = nullptr;
    QVBoxLayout* groupLayout = nullptr;
    for (const attbat::COptionsDialog::OptionBox& box : attbat::COptionsDialog::OptionBoxes()) {
        if (!group || group->title() != Q(box.group)) {
            group = new QGroupBox(Q(box.group), this);
            groupLayout = new QVBoxLayout(group);
            layout->addWidget(group);
        }
        auto* check = new QCheckBox(Q(box.label), group);
        check->setObjectName(Q(box.key));
        check->setChecked(model_.*box.member);
        connect(check, &QCheckBox::toggled, this, [this, member = box.member](bool on) { model_.*member = on; });
        groupLayout->addWidget(check);
        boxes_.emplace_back(box.key, check);
    }
    layout->addWidget(OkCancel(this));
}

QCheckBox* OptionsWindow::Box(std::string_view key) const {
    for (const auto& [name, box] : boxes_)
        if (name == key) return box;
    return nullptr;
}

void OptionsWindow::accept() {
    if (!model_.OnOK()) {
        QMessageBox::warning(this, windowTitle(),
                             QStringLiteral("The options could not be saved in \"%1\".").arg(Q(host::SettingsFilePath())));
        return;
    }
    QDialog::accept();
}

void OptionsWindow::reject() {
    model_.OnCancel();
    QDialog::reject();
}

LinksWindow::LinksWindow(cad::Database* db, QWidget* parent) : QDialog(parent), model_(db) {
    setObjectName(QStringLiteral("linksWindow"));
    setWindowTitle(Q(attbat::CLinksDialog::title));
    model_.OnInitDialog();
    const std::vector<attbat::Control>& controls = attbat::CLinksDialog::Controls();
    auto* layout = new QVBoxLayout(this);
    list_ = new QListWidget(this);
    list_->setObjectName(QStringLiteral("linkList"));
    layout->addWidget(list_);
    connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
        if (showing_) return;
        model_.OnSelectLink(row);
        ShowModel();
    });
    auto* fieldRow = new QHBoxLayout;
    fieldRow->addWidget(new QLabel(QuotedLabel(controls, "excel-workbook"), this));
    workbook_ = new QLineEdit(this);
    workbook_->setObjectName(QStringLiteral("excel-workbook"));
    connect(workbook_, &QLineEdit::textEdited, this,
            [this](const QString& text) { model_.m_workbook = text.toStdString(); });
    fieldRow->addWidget(workbook_, 1);
    auto* browse = new QPushButton(QStringLiteral("..."), this);
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString file = QFileDialog::getOpenFileName(this, QString(), QString(),
                                                          QStringLiteral("Workbooks (*.xls *.xlsx);;All files (*)"));
        if (file.isEmpty()) return;
        model_.OnBrowse(file.toStdString());
        ShowModel();
    });
    fieldRow->addWidget(browse);
    layout->addLayout(fieldRow);
    auto* buttons = new QHBoxLayout;
    update_ = new QPushButton(QuotedLabel(controls, "update-link"), this);
    break_ = new QPushButton(QuotedLabel(controls, "break-link"), this);
    update_->setObjectName(QStringLiteral("update-link"));
    break_->setObjectName(QStringLiteral("break-link"));
    buttons->addWidget(update_);
    buttons->addWidget(break_);
    buttons->addStretch(1);
    layout->addLayout(buttons);
    connect(update_, &QPushButton::clicked, this, [this] {
        if (model_.OnUpdateLink().done) emit DrawingChanged();
        ShowModel();
    });
    connect(break_, &QPushButton::clicked, this, [this] {
        if (model_.OnBreakLink().done) emit DrawingChanged();
        ShowModel();
    });
    autoUpdate_ = new QCheckBox(QuotedLabel(controls, "auto-update"), this);
    ignore_ = new QCheckBox(QuotedLabel(controls, "ignore-properties"), this);
    autoUpdate_->setObjectName(QStringLiteral("auto-update"));
    ignore_->setObjectName(QStringLiteral("ignore-properties"));
    connect(autoUpdate_, &QCheckBox::toggled, this, [this](bool on) {
        if (!showing_) model_.m_autoUpdate = on;
    });
    connect(ignore_, &QCheckBox::toggled, this, [this](bool on) {
        if (!showing_) model_.m_ignoreProperties = on;
    });
    layout->addWidget(autoUpdate_);
    layout->addWidget(ignore_);
    layout->addWidget(OkCancel(this));
    ShowModel();
}

void LinksWindow::ShowModel() {
    showing_ = true;
    list_->clear();
    for (const std::string& link : model_.m_links) list_->addItem(Q(link));
    list_->setCurrentRow(model_.m_selected);
    workbook_->setText(Q(model_.m_workbook));
    autoUpdate_->setChecked(model_.m_autoUpdate);
    ignore_->setChecked(model_.m_ignoreProperties);
    showing_ = false;
}

void LinksWindow::accept() {
    if (!model_.OnOK()) {
        QMessageBox::warning(this, windowTitle(),
                             QStringLiteral("The options could not be saved in \"%1\".").arg(Q(host::SettingsFilePath())));
        return;
    }
    QDialog::accept();
}

void LinksWindow::reject() {
    model_.OnCancel();
    QDialog::reject();
}

}  // namespace gui
