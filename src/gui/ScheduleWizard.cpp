#include "gui/ScheduleWizard.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include "arxutils/ArxUtils.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/export/CExportOptionsDialog.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/model/OuterPolygon.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "host/Ui.h"

namespace gui {

namespace {

QString Q(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<int>(text.size())); }

// The label of control `key` among `controls`; the key itself when none has it.
std::string LabelOf(const std::vector<attbat::Control>& controls, std::string_view key) {
    const attbat::Control* control = attbat::FindControl(controls, key);
    return control ? control->label : std::string(key);
}

// A button's text from its control's label: the words before the colon, and "...".
QString ButtonText(const std::string& label) {
    return Q(base::Trim(label.substr(0, label.find(':')))) + QStringLiteral("...");
}

// The items of a choice: its label's parts ("A / B / C") when they are as many as its choices,
// else the choices' own words.
QStringList ItemsOf(const std::vector<attbat::Control>& controls, std::string_view key) {
    const attbat::Control* control = attbat::FindControl(controls, key);
    QStringList items;
    if (!control) return items;
    const QStringList parts = Q(control->label).split(QStringLiteral(" / "));
    if (parts.size() == static_cast<int>(control->choices.size())) return parts;
    for (const std::string& word : control->choices) items << Q(word);
    return items;
}

// The label of a choice when it is not a list of its items ("Column sort:"); "" otherwise.
QString ChoiceLabel(const std::vector<attbat::Control>& controls, std::string_view key) {
    const attbat::Control* control = attbat::FindControl(controls, key);
    if (!control || control->label.find(" / ") != std::string::npos) return {};
    return Q(control->label);
}

}  // namespace

ScheduleWizard::ScheduleWizard(cad::Database* db, QWidget* parent) : QDialog(parent), drawing_(db) {
    // The process-wide switch of the attribute page's polygon controls, as the export reads it.
    attbat::calcOuterPolygon = attbat::CRegistry::GetInt("Velmar", "CalOuterPolygon", attbat::calcOuterPolygon);
    model_ = std::make_unique<attbat::CScheduleDialog>(settings_, drawing_, attbat::calcOuterPolygon != 0);
    model_->OnInitDialog();

    setObjectName(QStringLiteral("scheduleWizard"));
    auto* layout = new QVBoxLayout(this);
    pageTitle_ = new QLabel(this);
    pageTitle_->setObjectName(QStringLiteral("pageTitle"));
    QFont bold = pageTitle_->font();
    bold.setBold(true);
    pageTitle_->setFont(bold);
    layout->addWidget(pageTitle_);
    pages_ = new QStackedWidget(this);
    pages_->addWidget(MakeSourcePage());
    pages_->addWidget(MakeAttributePage());
    pages_->addWidget(MakePreviewPage());
    layout->addWidget(pages_, 1);

    auto* buttons = new QHBoxLayout;
    back_ = new QPushButton(QStringLiteral("< &Back"), this);
    next_ = new QPushButton(QStringLiteral("&Next >"), this);
    finish_ = new QPushButton(QStringLiteral("&Finish"), this);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    back_->setObjectName(QStringLiteral("backButton"));
    next_->setObjectName(QStringLiteral("nextButton"));
    finish_->setObjectName(QStringLiteral("finishButton"));
    // The template buttons, named as the wizard's controls name them.
    const std::vector<attbat::Control>& all = attbat::CScheduleDialog::Controls();
    auto templateButton = [&](const char* key, const char* name) {
        auto* button = new QPushButton(ButtonText(LabelOf(all, key)), this);
        button->setObjectName(QLatin1String(name));
        buttons->addWidget(button);
        return button;
    };
    QPushButton* load = templateButton("template", "loadTemplate");
    QPushButton* save = templateButton("save-template", "saveTemplate");
    connect(load, &QPushButton::clicked, this, [this] {
        const QString file = QFileDialog::getOpenFileName(this, QString(), QString(), QStringLiteral("Templates (*.vlt)"));
        if (!file.isEmpty()) LoadTemplate(file.toStdString());
    });
    connect(save, &QPushButton::clicked, this, [this] {
        const QString file = QFileDialog::getSaveFileName(this, QString(), QString(), QStringLiteral("Templates (*.vlt)"));
        if (!file.isEmpty()) SaveTemplate(file.toStdString());
    });
    buttons->addStretch(1);
    for (QPushButton* button : {back_, next_, finish_, cancel}) buttons->addWidget(button);
    layout->addLayout(buttons);
    connect(back_, &QPushButton::clicked, this, &ScheduleWizard::Back);
    connect(next_, &QPushButton::clicked, this, &ScheduleWizard::Next);
    connect(finish_, &QPushButton::clicked, this, [this] { Finish(); });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    resize(760, 560);
    ShowModel();
}

ScheduleWizard::~ScheduleWizard() = default;

QWidget* ScheduleWizard::Field(const std::string& key) const {
    for (const auto& [name, widget] : fields_)
        if (name == key) return widget;
    return nullptr;
}

QWidget* ScheduleWizard::MakeSourcePage() {
    const std::vector<attbat::Control>& controls = attbat::CBlockSourcePage::Controls();
    attbat::CBlockSourcePage& page = model_->m_blockSourcePage;
    auto* widget = new QWidget(this);
    auto* layout = new QVBoxLayout(widget);

    auto* sourceBox = new QGroupBox(widget);
    auto* sourceLayout = new QVBoxLayout(sourceBox);
    source_ = new QButtonGroup(this);
    int index = 0;
    for (const QString& item : ItemsOf(controls, "source")) {
        auto* radio = new QRadioButton(item, sourceBox);
        radio->setObjectName(QStringLiteral("source%1").arg(index));
        source_->addButton(radio, index++);
        sourceLayout->addWidget(radio);
    }
    count_ = new QLabel(sourceBox);
    count_->setObjectName(QStringLiteral("countLabel"));
    sourceLayout->addWidget(count_);
    layout->addWidget(sourceBox);
    connect(source_, &QButtonGroup::idClicked, this, [this, &page](int id) {
        if (showing_) return;
        page.m_dataSource = id;
        page.OnSourceChanged();
        ShowSource();
    });

    // The drawing list with its buttons.
    drawings_ = new QListWidget(widget);
    drawings_->setObjectName(QStringLiteral("drawingList"));
    drawings_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    layout->addWidget(drawings_, 1);
    connect(drawings_, &QListWidget::itemSelectionChanged, this, [this, &page] {
        if (showing_) return;
        for (int r = 0; r < drawings_->count() && r < static_cast<int>(page.m_drawingList.size()); ++r)
            page.m_drawingList[r].selected = drawings_->item(r)->isSelected();
    });
    auto* listButtons = new QHBoxLayout;
    auto addButton = [&](const QString& text, const char* name, auto action) {
        auto* button = new QPushButton(text, widget);
        button->setObjectName(QLatin1String(name));
        listButtons->addWidget(button);
        listButtons_.push_back(button);
        connect(button, &QPushButton::clicked, this, action);
    };
    addButton(QStringLiteral("Add Drawings..."), "addDrawings", [this, &page] {
        for (const QString& file : QFileDialog::getOpenFileNames(this, QString(), QString(),
                                                                 QStringLiteral("Drawings (*.dxf *.DXF)")))
            page.AddDrawing(file.toStdString());
        ShowSource();
    });
    addButton(ButtonText(LabelOf(controls, "add-folder")), "addFolder", [this, &page] {
                  const QString folder = QFileDialog::getExistingDirectory(this);
                  if (!folder.isEmpty()) page.AddFolder(folder.toStdString());
                  ShowSource();
              });
    addButton(QStringLiteral("Remove"), "removeDrawings", [this, &page] {
        page.Remove();
        ShowSource();
    });
    addButton(ButtonText(LabelOf(controls, "list")), "loadList", [this] {
        const QString file = QFileDialog::getOpenFileName(this, QString(), QString(), QStringLiteral("Lists (*.lst)"));
        if (!file.isEmpty()) LoadList(file.toStdString());
    });
    addButton(ButtonText(LabelOf(controls, "save-list")), "saveList", [this] {
        const QString file = QFileDialog::getSaveFileName(this, QString(), QString(), QStringLiteral("Lists (*.lst)"));
        if (!file.isEmpty()) SaveList(file.toStdString());
    });
    auto* subfolder = new QCheckBox(Q(LabelOf(controls, "search-subfolder")), widget);
    subfolder->setObjectName(QStringLiteral("search-subfolder"));
    fields_.emplace_back("search-subfolder", subfolder);
    listButtons->addWidget(subfolder);
    listButtons_.push_back(subfolder);
    connect(subfolder, &QCheckBox::toggled, this, [this, &page](bool on) {
        if (!showing_) page.SetSearchSubfolder(on);
    });
    layout->addLayout(listButtons);

    // The filter the wizard shares with the later pages.
    auto* filterBox = new QGroupBox(widget);
    auto* filterLayout = new QFormLayout(filterBox);
    wildcard_ = new QLineEdit(filterBox);
    wildcard_->setObjectName(QStringLiteral("block-wildcard"));
    fields_.emplace_back("block-wildcard", wildcard_);
    filterLayout->addRow(Q(LabelOf(controls, "block-wildcard")), wildcard_);
    connect(wildcard_, &QLineEdit::textEdited, this,
            [this](const QString& text) { model_->m_filter.blockPattern = text.toStdString(); });
    for (const attbat::CBlockSourcePage::FilterBox& box : attbat::CBlockSourcePage::FilterBoxes()) {
        auto* check = new QCheckBox(Q(box.label), filterBox);
        check->setObjectName(QLatin1String(box.key));
        fields_.emplace_back(box.key, check);
        filterBoxes_.push_back(check);
        filterLayout->addRow(check);
        connect(check, &QCheckBox::toggled, this, [this, member = box.member](bool on) {
            if (!showing_) model_->m_filter.*member = on ? 1 : 0;
        });
    }
    layout->addWidget(filterBox);
    return widget;
}

QWidget* ScheduleWizard::MakeAttributePage() {
    const std::vector<attbat::Control>& controls = attbat::CAttributePage::Controls();
    attbat::CAttributePage& page = model_->m_attributePage;
    auto* widget = new QWidget(this);
    auto* layout = new QHBoxLayout(widget);
    auto* left = new QVBoxLayout;
    attributesOnly_ = new QCheckBox(Q(LabelOf(controls, "attributes-only")), widget);
    inUseOnly_ = new QCheckBox(Q(LabelOf(controls, "in-use-only")), widget);
    attributesOnly_->setObjectName(QStringLiteral("attributes-only"));
    inUseOnly_->setObjectName(QStringLiteral("in-use-only"));
    fields_.emplace_back("attributes-only", attributesOnly_);
    fields_.emplace_back("in-use-only", inUseOnly_);
    left->addWidget(attributesOnly_);
    left->addWidget(inUseOnly_);
    connect(attributesOnly_, &QCheckBox::toggled, this, [this, &page](bool on) {
        if (showing_) return;
        page.SetWithAttributesOnly(on);
        ShowBlocks();
    });
    connect(inUseOnly_, &QCheckBox::toggled, this, [this, &page](bool on) {
        if (showing_) return;
        page.SetInUseOnly(on);
        ShowBlocks();
    });
    blocks_ = new QListWidget(widget);
    blocks_->setObjectName(QStringLiteral("blockList"));
    left->addWidget(blocks_, 1);
    connect(blocks_, &QListWidget::itemChanged, this, [this, &page](QListWidgetItem* item) {
        if (showing_) return;
        const int row = blocks_->row(item);
        if (row >= 0 && row < static_cast<int>(page.m_blockList.size()))
            page.m_blockList[row].checked = item->checkState() == Qt::Checked;
    });
    auto* tickButtons = new QHBoxLayout;
    auto* all = new QPushButton(QStringLiteral("Select All"), widget);
    auto* none = new QPushButton(QStringLiteral("Clear All"), widget);
    all->setObjectName(QStringLiteral("selectAll"));
    none->setObjectName(QStringLiteral("clearAll"));
    tickButtons->addWidget(all);
    tickButtons->addWidget(none);
    left->addLayout(tickButtons);
    connect(all, &QPushButton::clicked, this, [this, &page] {
        page.SelectAll();
        ShowBlocks();
    });
    connect(none, &QPushButton::clicked, this, [this, &page] {
        page.ClearAll();
        ShowBlocks();
    });
    layout->addLayout(left, 1);

    auto* viewBox = new QGroupBox(widget);
    auto* viewLayout = new QVBoxLayout(viewBox);
    for (const attbat::CAttributePage::ViewBox& box : attbat::CAttributePage::ViewBoxes()) {
        auto* check = new QCheckBox(Q(box.label), viewBox);
        check->setObjectName(QLatin1String(box.key));
        fields_.emplace_back(box.key, check);
        viewBoxes_.push_back(check);
        viewLayout->addWidget(check);
        connect(check, &QCheckBox::toggled, this, [this, member = box.member](bool on) {
            if (!showing_) model_->m_view.*member = on ? 1 : 0;
        });
    }
    viewLayout->addStretch(1);
    layout->addWidget(viewBox);
    return widget;
}

QWidget* ScheduleWizard::MakePreviewPage() {
    const std::vector<attbat::Control>& controls = attbat::CAttPreviewPage::Controls();
    attbat::CAttPreviewPage& page = model_->m_previewPage;
    auto* widget = new QWidget(this);
    auto* layout = new QVBoxLayout(widget);
    auto* combos = new QHBoxLayout;
    int* members[] = {&page.m_drawingColumnKind, &page.m_headerStyle, &page.m_columnSort};
    const char* keys[] = {"drawing-column-kind", "header-style", "column-sort"};
    for (int i = 0; i < 3; ++i) {
        const QString label = ChoiceLabel(controls, keys[i]);
        if (!label.isEmpty()) combos->addWidget(new QLabel(label, widget));
        auto* combo = new QComboBox(widget);
        combo->setObjectName(QLatin1String(keys[i]));
        combo->addItems(ItemsOf(controls, keys[i]));
        fields_.emplace_back(keys[i], combo);
        previewCombos_.push_back(combo);
        combos->addWidget(combo);
        connect(combo, &QComboBox::currentIndexChanged, this, [this, &page, member = members[i], i](int index) {
            if (showing_ || index < 0) return;
            // The column sort has its own handler; the other two build the table anew.
            if (i == 2) {
                page.OnColumnSortChanged(index);
            } else {
                *member = index;
                page.RefreshPage();
            }
            ShowPreview();
        });
    }
    combos->addStretch(1);
    auto* options = new QPushButton(QString(Q(attbat::CExportOptionsDialog::title)) + QStringLiteral("..."), widget);
    options->setObjectName(QStringLiteral("exportOptions"));
    connect(options, &QPushButton::clicked, this, &ScheduleWizard::EditExportOptions);
    combos->addWidget(options);
    layout->addLayout(combos);

    auto* outputRow = new QHBoxLayout;
    outputRow->addWidget(new QLabel(QStringLiteral("New workbook:"), widget));
    output_ = new QLineEdit(widget);
    output_->setObjectName(QStringLiteral("output"));
    fields_.emplace_back("output", output_);
    outputRow->addWidget(output_, 1);
    auto* browse = new QPushButton(QStringLiteral("..."), widget);
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString file = QFileDialog::getSaveFileName(this, QString(), output_->text(),
                                                          QStringLiteral("Workbooks (*.xlsx)"));
        if (!file.isEmpty()) output_->setText(file);
    });
    outputRow->addWidget(browse);
    layout->addLayout(outputRow);

    grid_ = new QTableWidget(widget);
    grid_->setObjectName(QStringLiteral("previewGrid"));
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->horizontalHeader()->setSectionsMovable(true);
    grid_->horizontalHeader()->setSectionsClickable(true);
    layout->addWidget(grid_, 1);
    // A dragged header moves the page's column; the grid then shows the page's order again,
    // which keeps the first column where it is.
    connect(grid_->horizontalHeader(), &QHeaderView::sectionMoved, this, [this, &page](int, int from, int to) {
        if (showing_) return;
        page.DragColumn(from, to);
        ShowPreview();
    });
    connect(grid_->horizontalHeader(), &QHeaderView::sectionClicked, this, [this, &page](int logical) {
        if (showing_) return;
        const int position = grid_->horizontalHeader()->visualIndex(logical);
        if (position < 0 || position >= static_cast<int>(page.ColumnOrder().size())) return;
        page.OnHeaderClick(page.ColumnOrder()[position]);
        ShowPreview();
    });
    return widget;
}

void ScheduleWizard::SetPicked(cad::Database& db, const std::vector<std::string>& handles) {
    if (handles.empty()) return;
    std::vector<cad::BlockReference> references;
    std::vector<cad::MLeader> leaders;
    for (const std::string& handle : handles) {
        cad::Object object = arxutils::HandleToId(db, handle);
        const std::string type = object ? object.Type() : std::string();
        if (type == "INSERT") references.emplace_back(object.GetDatabase(), object.Index());
        if (type == "MULTILEADER") leaders.emplace_back(object.GetDatabase(), object.Index());
    }
    attbat::CBlockSourcePage& page = model_->m_blockSourcePage;
    page.m_dataSource = 1;
    page.OnSourceChanged();
    page.SelectObjects(references, leaders, static_cast<long>(handles.size()));
    ShowModel();
}

void ScheduleWizard::SetOutput(const std::string& path) { output_->setText(Q(path)); }

std::string ScheduleWizard::Output() const { return output_->text().toStdString(); }

bool ScheduleWizard::SaveTemplate(const std::string& path) {
    const base::Status saved = model_->SaveTemplate(path);
    if (!saved) host::ShowMessage(saved.Message(), "Velmar");
    return static_cast<bool>(saved);
}

bool ScheduleWizard::LoadList(const std::string& path) {
    const base::Status loaded = model_->m_blockSourcePage.LoadList(path);
    if (!loaded) host::ShowMessage(loaded.Message(), "Velmar");
    ShowSource();
    return static_cast<bool>(loaded);
}

bool ScheduleWizard::SaveList(const std::string& path) {
    const base::Status saved = model_->m_blockSourcePage.SaveList(path);
    if (!saved) host::ShowMessage(saved.Message(), "Velmar");
    return static_cast<bool>(saved);
}

bool ScheduleWizard::LoadTemplate(const std::string& path) {
    const bool loaded = model_->LoadTemplate(path);
    ShowModel();
    return loaded;
}

void ScheduleWizard::Next() {
    model_->GoNext();
    ShowModel();
}

void ScheduleWizard::Back() {
    model_->GoBack();
    ShowModel();
}

bool ScheduleWizard::Finish() {
    if (model_->m_activePage != 2) return false;
    attbat::CAttPreviewPage& preview = model_->m_previewPage;
    auto work = [this, &preview] {
        // Only a place for a new workbook: this export makes one, unless the user chose otherwise
        // in this wizard's options.
        if (!optionsChosen_ && arxutils::excel::CurrentServer().OffersOnlyANewWorkbook())
            preview.m_workbookOptionForRun = 0;
        return preview.ExportToExcel();
    };
    const bool exported = runner_ ? runner_(work) : work();
    if (exported) accept();
    return exported;
}

void ScheduleWizard::EditExportOptions() {
    attbat::CExportOptionsDialog dialog(model_->Settings());
    dialog.OnInitDialog();
    const std::vector<attbat::Control>& controls = attbat::CExportOptionsDialog::Controls();
    QDialog window(this);
    window.setObjectName(QStringLiteral("exportOptionsWindow"));
    window.setWindowTitle(Q(attbat::CExportOptionsDialog::title));
    auto* form = new QFormLayout(&window);
    auto radios = [&](const char* key, int& member) {
        auto* box = new QGroupBox(&window);
        auto* boxLayout = new QVBoxLayout(box);
        auto* group = new QButtonGroup(box);
        int id = 0;
        for (const QString& item : ItemsOf(controls, key)) {
            auto* radio = new QRadioButton(item, box);
            radio->setObjectName(QStringLiteral("%1%2").arg(QLatin1String(key)).arg(id));
            radio->setChecked(id == member);
            group->addButton(radio, id++);
            boxLayout->addWidget(radio);
        }
        connect(group, &QButtonGroup::idClicked, &window, [&member](int chosen) { member = chosen; });
        form->addRow(box);
    };
    radios("workbook-mode", dialog.m_options.workbookOption);
    radios("sheets", dialog.m_options.worksheetOption);
    auto* column = new QLineEdit(Q(dialog.m_startColumn), &window);
    column->setObjectName(QStringLiteral("start-column"));
    form->addRow(Q(LabelOf(controls, "start-column")), column);
    auto* row = new QComboBox(&window);
    row->setObjectName(QStringLiteral("start-row"));
    row->setEditable(true);
    row->addItem(Q(attbat::CExportOptionsDialog::lastFilledRow));
    row->setEditText(Q(dialog.m_startRowText));
    const std::string rowLabel = LabelOf(controls, "start-row");
    form->addRow(Q(rowLabel.substr(0, rowLabel.find(" ("))), row);
    auto check = [&](const char* key, int& member) {
        auto* box = new QCheckBox(Q(LabelOf(controls, key)), &window);
        box->setObjectName(QLatin1String(key));
        box->setChecked(member != 0);
        connect(box, &QCheckBox::toggled, &window, [&member](bool on) { member = on ? 1 : 0; });
        form->addRow(box);
    };
    check("border", dialog.m_options.applyBorder);
    check("merge", dialog.m_options.mergeBlockName);
    check("hyperlink", dialog.m_options.addHyperlink);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &window);
    connect(buttons, &QDialogButtonBox::accepted, &window, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &window, &QDialog::reject);
    form->addRow(buttons);
    if (window.exec() != QDialog::Accepted) return;
    dialog.m_startColumn = column->text().toStdString();
    dialog.m_startRowText = row->currentText().toStdString();
    dialog.OnOK();
    optionsChosen_ = true;
}

void ScheduleWizard::ShowModel() {
    const std::uint32_t active = model_->m_activePage;
    pages_->setCurrentIndex(static_cast<int>(active));
    pageTitle_->setText(Q(model_->title));
    setWindowTitle(Q(attbat::CScheduleDialog::resourceTitle) + QStringLiteral(" - ") + Q(model_->title));
    back_->setEnabled(model_->backEnabled);
    next_->setEnabled(model_->nextEnabled);
    finish_->setEnabled(active == 2);
    if (active == 0) ShowSource();
    if (active == 1) ShowBlocks();
    if (active == 2) ShowPreview();
}

void ScheduleWizard::ShowSource() {
    const attbat::CBlockSourcePage& page = model_->m_blockSourcePage;
    showing_ = true;
    if (QAbstractButton* button = source_->button(page.m_dataSource)) button->setChecked(true);
    count_->setText(Q(page.CountLabel()));
    drawings_->clear();
    for (const attbat::CBlockSourcePage::ListRow& row : page.m_drawingList) {
        auto* item = new QListWidgetItem(Q(row.drawing), drawings_);
        item->setToolTip(Q(row.folder));
        item->setSelected(row.selected);
    }
    drawings_->setEnabled(page.listEnabled);
    for (QWidget* widget : listButtons_) widget->setEnabled(page.listEnabled);
    static_cast<QCheckBox*>(Field("search-subfolder"))->setChecked(page.m_searchSubfolder != 0);
    wildcard_->setText(Q(model_->m_filter.blockPattern));
    const auto boxes = attbat::CBlockSourcePage::FilterBoxes();
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        filterBoxes_[i]->setChecked(model_->m_filter.*boxes[i].member != 0);
        if (boxes[i].member == &attbat::AcadBlockFilter::currentSpaceOnly)
            filterBoxes_[i]->setEnabled(page.currentSpaceEnabled);
    }
    showing_ = false;
}

void ScheduleWizard::ShowBlocks() {
    const attbat::CAttributePage& page = model_->m_attributePage;
    showing_ = true;
    attributesOnly_->setChecked(page.m_withAttributesOnly != 0);
    inUseOnly_->setChecked(page.m_inUseOnly != 0);
    blocks_->clear();
    for (const attbat::CAttributePage::ListRow& row : page.m_blockList) {
        auto* item = new QListWidgetItem(Q(row.name), blocks_);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(row.checked ? Qt::Checked : Qt::Unchecked);
    }
    const auto boxes = attbat::CAttributePage::ViewBoxes();
    for (std::size_t i = 0; i < boxes.size(); ++i) viewBoxes_[i]->setChecked(model_->m_view.*boxes[i].member != 0);
    showing_ = false;
}

void ScheduleWizard::ShowPreview() {
    const attbat::CAttPreviewPage& page = model_->m_previewPage;
    showing_ = true;
    previewCombos_[0]->setCurrentIndex(page.m_drawingColumnKind);
    previewCombos_[0]->setEnabled(page.drawingKindEnabled);
    previewCombos_[1]->setCurrentIndex(page.m_headerStyle);
    previewCombos_[1]->setEnabled(page.headerStyleEnabled);
    previewCombos_[2]->setCurrentIndex(page.m_columnSort);
    const int columns = page.ColumnCount();
    grid_->clear();
    // A new header puts its sections back in their own order: the page holds the order dragged.
    grid_->setColumnCount(0);
    grid_->setColumnCount(columns);
    grid_->setRowCount(page.RowCount());
    QStringList headers;
    for (int p = 0; p < columns; ++p) headers << Q(page.HeaderAt(p));
    grid_->setHorizontalHeaderLabels(headers);
    for (int r = 0; r < page.RowCount(); ++r)
        for (int p = 0; p < columns; ++p) grid_->setItem(r, p, new QTableWidgetItem(Q(page.TextAt(r, p))));
    grid_->resizeColumnsToContents();
    showing_ = false;
}

}  // namespace gui
