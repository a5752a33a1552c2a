// The desktop program's windows driven as a user would, through the fields their models declare:
// the export wizard from a drawing to a workbook, the import by handle of an edited cell, the
// insertion of blocks from rows and auto numbering on objects picked in the view. Runs offscreen.

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>
#include <QApplication>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QLabel>
#include <QListWidget>
#include <QGroupBox>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QtTest/QtTest>

#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "../host/TempFolder.h"
#include "attbat/commands/AllCommands.h"
#include "attbat/export/CExportOptionsDialog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandTable.h"
#include "attbat/numbering/NumberingState.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "gui/CommandForm.h"
#include "gui/DrawingView.h"
#include "gui/GuiSession.h"
#include "gui/MainWindow.h"
#include "gui/QtUi.h"
#include "gui/ScheduleWizard.h"
#include "gui/SettingsWindows.h"
#include "gui/WorkbookPane.h"
#include "host/Console.h"
#include "host/Document.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"
#include "xl/Workbook.h"
#include "xl/Worksheet.h"

namespace {

const std::string kSample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";
const std::string kRows = std::string(VELMAR_SOURCE_DIR) + "/examples/rows.xlsx";

// Sets the field of control `key` as a user would: a text typed, a choice picked by its word, a
// check box set "on" or "off".
void SetField(gui::CommandForm& form, const std::string& key, const std::string& value) {
    QWidget* field = form.Field(key);
    QVERIFY2(field, key.c_str());
    if (auto* edit = qobject_cast<QLineEdit*>(field)) {
        edit->clear();
        QTest::keyClicks(edit, QString::fromStdString(value));
    } else if (auto* combo = qobject_cast<QComboBox*>(field)) {
        const int index = combo->findText(QString::fromStdString(value));
        QVERIFY2(index > 0, value.c_str());
        combo->setCurrentIndex(index);
    } else if (auto* box = qobject_cast<QCheckBox*>(field)) {
        box->setCheckState(value == "on" ? Qt::Checked : Qt::Unchecked);
    } else {
        QFAIL("a field of a kind the test doesn't know");
    }
}

// Every attribute value of the model space's references, by handle and tag.
std::map<std::string, std::string> AttributeValues(cad::Database& db) {
    std::map<std::string, std::string> values;
    for (const cad::Entity& entity : db.ModelSpace().Entities()) {
        if (entity.Type() != "INSERT") continue;
        const cad::BlockReference reference(entity.GetDatabase(), entity.Index());
        for (const cad::Attribute& attribute : reference.Attributes())
            values[reference.HandleString() + "/" + attribute.Tag()] = attribute.PlainText();
    }
    return values;
}

int CountReferences(cad::Database& db, const std::string& block) {
    int count = 0;
    for (const cad::Entity& entity : db.ModelSpace().Entities()) {
        if (entity.Type() == "INSERT" && cad::BlockReference(entity.GetDatabase(), entity.Index()).BlockName() == block)
            ++count;
    }
    return count;
}

}  // namespace

class WindowsTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempFolder> temp_;
    host::RecordingUi ui_;
    std::unique_ptr<gui::GuiSession> session_;
    std::unique_ptr<gui::MainWindow> window_;
    std::deque<std::pair<std::string, std::optional<std::string>>> answers_;
    std::vector<std::string> asked_;
    std::string drawing_;

    const attbat::CommandEntry& Entry(const char* name) {
        const attbat::CommandEntry* entry = attbat::TheApp().FindCommand(name);
        if (!entry) qFatal("no command %s", name);
        return *entry;
    }
    cad::Database& Db() { return host::DocumentManager::Instance().CurDocument()->Database(); }
    std::string ConsoleText() const { return window_->Console()->toPlainText().toStdString(); }
    // The answer for a prompt that contains `part`; prompts nobody expected are a cancel.
    void Expect(const std::string& part, std::optional<std::string> answer) { answers_.emplace_back(part, answer); }

    // Exports the sample with the wizard's defaults to floor.xlsx, through the form.
    std::string Export() {
        const std::string output = temp_->File("floor.xlsx");
        std::unique_ptr<gui::CommandForm> form = window_->MakeForm(Entry("export"));
        SetField(*form, "output", output);
        const attbat::CommandStatus status = window_->RunForm(Entry("export"), *form);
        if (status != attbat::CommandStatus::Done) qWarning("%s", ConsoleText().c_str());
        return status == attbat::CommandStatus::Done ? output : std::string();
    }

private slots:
    void initTestCase() { attbat::ImplementAllCommands(attbat::TheApp()); }

    void init() {
        temp_ = std::make_unique<TempFolder>();
        drawing_ = temp_->File("floor.dxf");
        std::filesystem::copy_file(kSample, drawing_);
        answers_.clear();
        asked_.clear();
        // A prompt gets the answer expected for it, once; any other is cancelled, as Esc would.
        host::CurrentConsole().SetAsker([this](std::string_view prompt) -> std::optional<std::string> {
            asked_.emplace_back(prompt);
            for (auto it = answers_.begin(); it != answers_.end(); ++it) {
                if (std::string(prompt).find(it->first) == std::string::npos) continue;
                std::optional<std::string> answer = it->second;
                answers_.erase(it);
                return answer;
            }
            return std::nullopt;
        });
        attbat::TheNumberingState() = attbat::NumberingState();
        attbat::RunSetup setup;
        setup.settings = temp_->File("settings.ini");
        setup.log = temp_->File("Velmar.log");
        session_ = std::make_unique<gui::GuiSession>(attbat::TheApp(), ui_, setup);
        window_ = std::make_unique<gui::MainWindow>(*session_);
        window_->resize(1200, 800);
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
        QVERIFY(window_->OpenDrawing(drawing_));
        QVERIFY(window_->CurrentView());
    }

    void cleanup() {
        window_.reset();
        session_.reset();
        host::DocumentManager::Instance().CloseAll();
        host::CurrentConsole().SetAsker({});
        ui_.Clear();
        temp_.reset();
    }

    void TheCommandTableIsTheMenus() {
        // Every command of the table has its menu item, named after its local name.
        for (const attbat::CommandEntry& entry : attbat::CommandTable()) {
            QVERIFY2(window_->findChild<QAction*>(QString::fromStdString(std::string(entry.localName))),
                     std::string(entry.localName).c_str());
        }
    }

    void ExportWizardFromDrawingToWorkbook() {
        std::unique_ptr<gui::CommandForm> form = window_->MakeForm(Entry("export"));
        // The preview grid is the model's schedule: a row per reference, letters over columns.
        auto* previewButton = form->findChild<QPushButton*>(QStringLiteral("previewButton"));
        QVERIFY(previewButton);
        QTest::mouseClick(previewButton, Qt::LeftButton);
        QTableWidget* grid = form->PreviewGrid();
        QVERIFY(grid->rowCount() > 5);
        QVERIFY(grid->columnCount() > 3);
        QCOMPARE(grid->horizontalHeaderItem(0)->text(), QStringLiteral("A"));
        QCOMPARE(grid->horizontalHeaderItem(1)->text(), QStringLiteral("B"));
        const int rows = grid->rowCount();
        // The top row holds the header texts.
        QCOMPARE(grid->item(0, 0)->text(), QStringLiteral("Block Name"));
        const QString secondHeader = grid->item(0, 1)->text();
        const QString thirdHeader = grid->item(0, 2)->text();
        // The first column stays first; dragging the third before the second is the order "A,C,B,...".
        grid->horizontalHeader()->moveSection(1, 0);
        QCOMPARE(form->ColumnOrder(), std::string());
        grid->horizontalHeader()->moveSection(2, 1);
        QVERIFY(form->ColumnOrder().rfind("A,C,B,D", 0) == 0);
        QCOMPARE(form->Values().List("column-order").at(1), std::string("C"));
        // A click on the moved header sorts by it: the page takes the order and sorts its rows
        // under the header row, which keeps its place.
        grid->horizontalHeader()->sectionClicked(grid->horizontalHeader()->logicalIndex(1));
        QCOMPARE(form->RowSort(), std::string("B"));
        QCoreApplication::processEvents();
        QCOMPARE(grid->item(0, 1)->text(), thirdHeader);
        QCOMPARE(grid->item(0, 2)->text(), secondHeader);
        QCOMPARE(grid->item(0, 0)->text(), QStringLiteral("Block Name"));
        auto columnSorted = [grid](int column, bool ascending) {
            for (int r = 2; r < grid->rowCount(); ++r) {
                const QString a = grid->item(r - 1, column)->text(), b = grid->item(r, column)->text();
                if (ascending ? a.toStdString() > b.toStdString() : a.toStdString() < b.toStdString()) return false;
            }
            return true;
        };
        QVERIFY(columnSorted(1, true));
        grid->horizontalHeader()->sectionClicked(1);
        QCOMPARE(form->RowSort(), std::string("B:desc"));
        QCoreApplication::processEvents();
        QVERIFY(columnSorted(1, false));
        QVERIFY(!columnSorted(1, true));
        QCOMPARE(form->Values().List("column-order").at(1), std::string("C"));
        const std::string output = temp_->File("floor.xlsx");
        SetField(*form, "output", output);
        const attbat::CommandStatus status = window_->RunForm(Entry("export"), *form);
        QVERIFY2(status == attbat::CommandStatus::Done, ConsoleText().c_str());
        QVERIFY(std::filesystem::exists(output));
        // The workbook pane shows the sheet written, its comments as tooltips.
        QCOMPARE(window_->Workbook()->Path(), output);
        QTableWidget* sheet = window_->Workbook()->Grid();
        // The header row, then the schedule's rows, as the preview showed them.
        QCOMPARE(sheet->rowCount(), rows);
        for (int c = 0; c < grid->columnCount(); ++c) QCOMPARE(sheet->item(0, c)->text(), grid->item(0, c)->text());
        for (int r = 1; r < rows; ++r) QCOMPARE(sheet->item(r, 1) ? sheet->item(r, 1)->text() : QString(), grid->item(r, 1)->text());
        int commented = 0;
        for (int r = 0; r < sheet->rowCount(); ++r)
            for (int c = 0; c < sheet->columnCount(); ++c)
                if (sheet->item(r, c) && !sheet->item(r, c)->toolTip().isEmpty()) ++commented;
        QVERIFY(commented >= rows - 1);
    }

    void ScheduleWizardWalksItsPages() {
        std::unique_ptr<gui::ScheduleWizard> wizard = window_->MakeScheduleWizard();
        attbat::CScheduleDialog& model = wizard->Model();
        // The source page: the current drawing read, Back and Finish off, the labels the page's.
        QCOMPARE(model.m_activePage, 0u);
        QCOMPARE(wizard->Pages()->currentIndex(), 0);
        QCOMPARE(wizard->findChild<QLabel*>(QStringLiteral("pageTitle"))->text(), QStringLiteral("Data Source"));
        QVERIFY(!wizard->BackButton()->isEnabled());
        QVERIFY(wizard->NextButton()->isEnabled());
        QVERIFY(!wizard->FinishButton()->isEnabled());
        QCOMPARE(model.m_blockSourcePage.m_dataSource, 0);
        QVERIFY(wizard->findChild<QRadioButton*>(QStringLiteral("source0"))->isChecked());
        QCOMPARE(wizard->findChild<QRadioButton*>(QStringLiteral("source2"))->text(), QStringLiteral("Select Drawings"));
        QVERIFY(model.m_activeBlocks == &model.m_blockSourcePage.m_currentBlocks);
        QVERIFY(!wizard->findChild<QListWidget*>(QStringLiteral("drawingList"))->isEnabled());
        // The drawing list's source enables its list; back to the current drawing.
        wizard->findChild<QRadioButton*>(QStringLiteral("source2"))->click();
        QCOMPARE(model.m_blockSourcePage.m_dataSource, 2);
        QVERIFY(wizard->findChild<QListWidget*>(QStringLiteral("drawingList"))->isEnabled());
        QVERIFY(model.m_activeBlocks == &model.m_blockSourcePage.m_drawingBlocks);
        wizard->findChild<QRadioButton*>(QStringLiteral("source0"))->click();
        QCOMPARE(model.m_blockSourcePage.m_dataSource, 0);
        QVERIFY(model.m_activeBlocks == &model.m_blockSourcePage.m_currentBlocks);
        // A filter box is the filter's member.
        auto* xrefs = qobject_cast<QCheckBox*>(wizard->Field("include-xrefs"));
        QVERIFY(xrefs);
        QCOMPARE(xrefs->text(), QStringLiteral("Include Xrefs"));
        const int xrefsBefore = model.m_filter.incXref;
        QCOMPARE(xrefs->isChecked(), xrefsBefore != 0);
        xrefs->click();
        QCOMPARE(model.m_filter.incXref, xrefsBefore ? 0 : 1);
        xrefs->click();
        QCOMPARE(model.m_filter.incXref, xrefsBefore);

        // The attribute page: a row per block of the drawing, ticked as the model has them.
        QTest::mouseClick(wizard->NextButton(), Qt::LeftButton);
        QCOMPARE(model.m_activePage, 1u);
        QCOMPARE(wizard->Pages()->currentIndex(), 1);
        QCOMPARE(wizard->findChild<QLabel*>(QStringLiteral("pageTitle"))->text(), QStringLiteral("Attribute"));
        QVERIFY(wizard->BackButton()->isEnabled());
        QListWidget* blocks = wizard->BlockList();
        QCOMPARE(blocks->count(), static_cast<int>(model.m_attributePage.m_blockList.size()));
        QVERIFY(blocks->count() >= 2);
        int chairRow = -1;
        for (int r = 0; r < blocks->count(); ++r) {
            QCOMPARE(blocks->item(r)->text().toStdString(), model.m_attributePage.m_blockList[r].name);
            QCOMPARE(blocks->item(r)->checkState() == Qt::Checked, model.m_attributePage.m_blockList[r].checked);
            if (blocks->item(r)->text() == QStringLiteral("CHAIR")) chairRow = r;
        }
        QVERIFY(chairRow >= 0);
        // Unticking CHAIR takes it out of the schedule; "Position X" is the view's member.
        blocks->item(chairRow)->setCheckState(Qt::Unchecked);
        QVERIFY(!model.m_attributePage.m_blockList[chairRow].checked);
        auto* positionX = qobject_cast<QCheckBox*>(wizard->Field("position-x"));
        QVERIFY(positionX);
        const bool positionBefore = positionX->isChecked();
        QCOMPARE(model.m_view.showPosX != 0, positionBefore);
        positionX->click();
        QCOMPARE(model.m_view.showPosX != 0, !positionBefore);
        // "Display blocks currently in-use only" rebuilds the list from the model.
        auto* inUse = qobject_cast<QCheckBox*>(wizard->Field("in-use-only"));
        QCOMPARE(inUse->text(), QStringLiteral("Display blocks currently in-use only"));
        QCOMPARE(inUse->isChecked(), model.m_attributePage.m_inUseOnly != 0);

        // The preview page: the grid is the model's table, without the unticked block.
        QTest::mouseClick(wizard->NextButton(), Qt::LeftButton);
        QCOMPARE(model.m_activePage, 2u);
        QCOMPARE(wizard->findChild<QLabel*>(QStringLiteral("pageTitle"))->text(), QStringLiteral("Preview"));
        QVERIFY(!wizard->NextButton()->isEnabled());
        QVERIFY(wizard->FinishButton()->isEnabled());
        QTableWidget* grid = wizard->PreviewGrid();
        attbat::CAttPreviewPage& preview = model.m_previewPage;
        QCOMPARE(grid->rowCount(), preview.RowCount());
        QCOMPARE(grid->columnCount(), preview.ColumnCount());
        QVERIFY(grid->rowCount() > 5);
        QVERIFY(grid->columnCount() > 3);
        QCOMPARE(grid->horizontalHeaderItem(0)->text(), QStringLiteral("A"));
        QCOMPARE(grid->horizontalHeaderItem(1)->text(), QStringLiteral("B"));
        QCOMPARE(grid->item(0, 0)->text(), QStringLiteral("Block Name"));
        for (int r = 1; r < grid->rowCount(); ++r) QVERIFY(grid->item(r, 0)->text() != QStringLiteral("CHAIR"));
        const int positionColumns = [&] {
            int n = 0;
            for (int c = 0; c < grid->columnCount(); ++c) n += grid->item(0, c)->text() == QStringLiteral("Position X");
            return n;
        }();
        QCOMPARE(positionColumns, positionBefore ? 0 : 1);

        // Back keeps the ticks; Next builds the same table again.
        QTest::mouseClick(wizard->BackButton(), Qt::LeftButton);
        QCOMPARE(model.m_activePage, 1u);
        QCOMPARE(wizard->BlockList()->item(chairRow)->checkState(), Qt::Unchecked);
        const int rows = preview.RowCount();
        QTest::mouseClick(wizard->NextButton(), Qt::LeftButton);
        QCOMPARE(preview.RowCount(), rows);

        // Dragging the third header before the second: the page's order, shown as the page has it.
        const QString second = grid->item(0, 1)->text(), third = grid->item(0, 2)->text();
        grid->horizontalHeader()->moveSection(2, 1);
        QCOMPARE(preview.ColumnOrder().at(1), 2);
        QCOMPARE(preview.ColumnOrder().at(2), 1);
        QCOMPARE(grid->item(0, 1)->text(), third);
        QCOMPARE(grid->item(0, 2)->text(), second);
        // The first column stays pinned.
        grid->horizontalHeader()->moveSection(1, 0);
        QCOMPARE(preview.ColumnOrder().at(0), 0);
        QCOMPARE(grid->item(0, 0)->text(), QStringLiteral("Block Name"));
        // A click on a header sorts the rows under the header row by it; a second one reverses.
        grid->horizontalHeader()->sectionClicked(1);
        QCOMPARE(preview.m_sortColumn, preview.ColumnOrder().at(1));
        auto sorted = [grid](int column, bool ascending) {
            for (int r = 2; r < grid->rowCount(); ++r) {
                const std::string a = grid->item(r - 1, column)->text().toStdString();
                const std::string b = grid->item(r, column)->text().toStdString();
                if (ascending ? a > b : a < b) return false;
            }
            return true;
        };
        QVERIFY(sorted(1, true));
        grid->horizontalHeader()->sectionClicked(1);
        QVERIFY(sorted(1, false));
        QVERIFY(!sorted(1, true));
        QCOMPARE(grid->item(0, 0)->text(), QStringLiteral("Block Name"));

        // The export options in their own window: "Apply border" stored by the dialog's OK.
        int borderBefore = 0;
        {
            attbat::CExportOptionsDialog stored(model.Settings());
            stored.OnInitDialog();
            borderBefore = stored.m_options.applyBorder;
        }
        bool optionsShown = false;
        QTimer::singleShot(0, [&] {
            QWidget* window = QApplication::activeModalWidget();
            if (!window || window->objectName() != QStringLiteral("exportOptionsWindow")) return;
            optionsShown = true;
            auto* border = window->findChild<QCheckBox*>(QStringLiteral("border"));
            QCOMPARE(border->text(), QStringLiteral("Apply border"));
            QCOMPARE(border->isChecked(), borderBefore != 0);
            border->click();
            static_cast<QDialog*>(window)->accept();
        });
        wizard->findChild<QPushButton*>(QStringLiteral("exportOptions"))->click();
        QVERIFY(optionsShown);
        {
            attbat::CExportOptionsDialog stored(model.Settings());
            stored.OnInitDialog();
            QCOMPARE(stored.m_options.applyBorder, borderBefore ? 0 : 1);
        }

        // Finish writes the workbook the page shows, and the workbook pane opens it.
        const std::string output = temp_->File("wizard.xlsx");
        auto* outputField = qobject_cast<QLineEdit*>(wizard->Field("output"));
        QVERIFY(outputField);
        outputField->setText(QString::fromStdString(output));
        QTest::mouseClick(wizard->FinishButton(), Qt::LeftButton);
        QVERIFY2(std::filesystem::exists(output), ConsoleText().c_str());
        QCOMPARE(wizard->result(), static_cast<int>(QDialog::Accepted));
        QCOMPARE(window_->Workbook()->Path(), output);
        QTableWidget* sheet = window_->Workbook()->Grid();
        QCOMPARE(sheet->rowCount(), grid->rowCount());
        for (int r = 0; r < grid->rowCount(); ++r)
            for (int c = 0; c < grid->columnCount(); ++c)
                QCOMPARE(sheet->item(r, c) ? sheet->item(r, c)->text() : QString(), grid->item(r, c)->text());
    }

    void ScheduleWizardTakesThePickedObjects() {
        gui::DrawingView* view = window_->CurrentView();
        for (const char* handle : {"12D", "130"}) {
            const long i = view->Scene().Find(cad::ParseHandle(handle));
            QVERIFY(i >= 0);
            view->PickAt(view->WorldToDevice().map(view->Scene().Items()[i].bounds.center()).toPoint(), false);
        }
        QCOMPARE(view->SelectedHandles().size(), std::size_t(2));
        std::unique_ptr<gui::ScheduleWizard> wizard = window_->MakeScheduleWizard();
        attbat::CScheduleDialog& model = wizard->Model();
        QCOMPARE(model.m_blockSourcePage.m_dataSource, 1);
        QVERIFY(wizard->findChild<QRadioButton*>(QStringLiteral("source1"))->isChecked());
        QVERIFY(model.m_activeBlocks == &model.m_blockSourcePage.m_selectedBlocks);
        QCOMPARE(wizard->findChild<QLabel*>(QStringLiteral("countLabel"))->text(),
                 QString::fromStdString(model.m_blockSourcePage.CountLabel()));
        QCOMPARE(model.m_blockSourcePage.CountLabel(), std::string("2"));
        wizard->Next();
        wizard->Next();
        QTableWidget* grid = wizard->PreviewGrid();
        int desks = 0;
        for (int r = 1; r < grid->rowCount(); ++r) {
            const QString block = grid->item(r, 0)->text();
            QVERIFY2(block == QStringLiteral("DESK_SET") || block == QStringLiteral("CHAIR"), qPrintable(block));
            desks += block == QStringLiteral("DESK_SET");
        }
        QCOMPARE(desks, 2);
    }

    void ScheduleWizardSavesAndLoadsTemplates() {
        const std::string path = temp_->File("floor.vlt");
        std::vector<int> order;
        int rows = 0;
        {
            std::unique_ptr<gui::ScheduleWizard> wizard = window_->MakeScheduleWizard();
            QCOMPARE(wizard->findChild<QPushButton*>(QStringLiteral("loadTemplate"))->text(),
                     QStringLiteral("Load Template..."));
            wizard->Next();
            wizard->Next();
            wizard->PreviewGrid()->horizontalHeader()->moveSection(3, 1);
            order = wizard->Model().m_previewPage.ColumnOrder();
            rows = wizard->Model().m_previewPage.RowCount();
            QCOMPARE(order.at(1), 3);
            QVERIFY(wizard->SaveTemplate(path));
        }
        QVERIFY(std::filesystem::exists(path));
        // A new wizard loads it: it stands on the preview page with the order dragged.
        std::unique_ptr<gui::ScheduleWizard> wizard = window_->MakeScheduleWizard();
        QCOMPARE(wizard->Model().m_activePage, 0u);
        QVERIFY(wizard->LoadTemplate(path));
        QCOMPARE(wizard->Model().m_activePage, 2u);
        QCOMPARE(wizard->Pages()->currentIndex(), 2);
        QVERIFY(wizard->FinishButton()->isEnabled());
        QCOMPARE(wizard->Model().m_previewPage.ColumnOrder(), order);
        QCOMPARE(wizard->PreviewGrid()->rowCount(), rows);
        // A file that is no template: the model's message, the wizard where it was.
        const std::string bad = temp_->File("bad.vlt");
        { std::ofstream(bad) << "not a template"; }
        std::unique_ptr<gui::ScheduleWizard> other = window_->MakeScheduleWizard();
        ui_.Clear();
        QVERIFY(!other->LoadTemplate(bad));
        QCOMPARE(other->Model().m_activePage, 0u);
        QVERIFY(!ui_.Shown().empty());
        QVERIFY(ui_.Shown().front().text.find("Invalid Velmar template file") != std::string::npos);
    }

    void ScheduleWizardLoadsAndSavesDrawingLists() {
        const std::string list = temp_->File("drawings.lst");
        const std::string sample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";
        { std::ofstream(list) << "  " << sample << "  \r\n\r\n" << temp_->File("other.dxf") << "\n"; }
        std::unique_ptr<gui::ScheduleWizard> wizard = window_->MakeScheduleWizard();
        QCOMPARE(wizard->findChild<QPushButton*>(QStringLiteral("loadList"))->text(), QStringLiteral("Load List..."));
        QCOMPARE(wizard->findChild<QPushButton*>(QStringLiteral("saveList"))->text(), QStringLiteral("Save List..."));
        // The list buttons go with the list: off for the current drawing, on for drawings.
        QVERIFY(!wizard->findChild<QPushButton*>(QStringLiteral("loadList"))->isEnabled());
        wizard->findChild<QRadioButton*>(QStringLiteral("source2"))->click();
        QVERIFY(wizard->findChild<QPushButton*>(QStringLiteral("loadList"))->isEnabled());
        QVERIFY(wizard->LoadList(list));
        auto* drawings = wizard->findChild<QListWidget*>(QStringLiteral("drawingList"));
        QCOMPARE(drawings->count(), 2);
        QCOMPARE(drawings->item(0)->text(), QStringLiteral("floor.dxf"));  // the name, its folder beside it
        QCOMPARE(wizard->Model().m_blockSourcePage.m_drawingList.size(), std::size_t{2});
        const std::string saved = temp_->File("saved.lst");
        QVERIFY(wizard->SaveList(saved));
        std::ifstream in(saved, std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        QCOMPARE(text, sample + "\r\r\n" + temp_->File("other.dxf") + "\r\r\n");
        // A list that can't be read: the model's message, and the list emptied as the model does.
        ui_.Clear();
        QVERIFY(!wizard->LoadList(temp_->File("missing.lst")));
        QVERIFY(!ui_.Shown().empty());
        QVERIFY(ui_.Shown().front().text.find("missing.lst") != std::string::npos);
        QCOMPARE(drawings->count(), 0);
    }

    void OptionsWindowKeepsTheModelsBoxes() {
        bool before = false, uploadBefore = false;
        {
            gui::OptionsWindow window;
            // The model's boxes in its two groups, with its labels, showing what is stored.
            const QList<QGroupBox*> groups = window.findChildren<QGroupBox*>();
            QCOMPARE(groups.size(), 2);
            QCOMPARE(groups[0]->title(), QStringLiteral("Export Attribute"));
            for (const attbat::COptionsDialog::OptionBox& box : attbat::COptionsDialog::OptionBoxes()) {
                QCheckBox* check = window.Box(box.key);
                QVERIFY(check);
                QCOMPARE(check->text().toStdString(), std::string(box.label));
                QCOMPARE(check->isChecked(), window.Model().*box.member);
            }
            before = window.Model().m_calOuterPolygon;
            uploadBefore = window.Model().m_autoUploadToActiveWorkbook;
            window.Box("calc-outer-polygon")->click();
            QCOMPARE(window.Model().m_calOuterPolygon, !before);
            window.accept();
            QCOMPARE(window.result(), static_cast<int>(QDialog::Accepted));
        }
        {
            // OK stored it; Cancel stores nothing.
            gui::OptionsWindow window;
            QCOMPARE(window.Model().m_calOuterPolygon, !before);
            QCOMPARE(window.Box("calc-outer-polygon")->isChecked(), !before);
            window.Box("auto-upload")->click();
            window.reject();
        }
        gui::OptionsWindow again;
        QCOMPARE(again.Model().m_autoUploadToActiveWorkbook, uploadBefore);
        QCOMPARE(again.Model().m_calOuterPolygon, !before);
    }

    void LinksWindowKeepsTheModelsState() {
        std::unique_ptr<gui::LinksWindow> window = window_->MakeLinksWindow();
        attbat::CLinksDialog& model = window->Model();
        QCOMPARE(window->List()->count(), static_cast<int>(model.m_links.size()));
        QCOMPARE(window->UpdateButton()->text(), QStringLiteral("Update Link"));
        QCOMPARE(window->BreakButton()->text(), QStringLiteral("Break Link"));
        QCOMPARE(window->AutoUpdateBox()->isChecked(), model.m_autoUpdate);
        QCOMPARE(window->IgnorePropertiesBox()->isChecked(), model.m_ignoreProperties);
        // "Update Link" with an empty workbook field: the model's message, in the host's box.
        ui_.Clear();
        QTest::mouseClick(window->UpdateButton(), Qt::LeftButton);
        QCOMPARE(ui_.Shown().size(), std::size_t(1));
        QCOMPARE(ui_.Shown().front().text, std::string("Invalid workbook path."));
        // The auto-update options: OK stores them, a new window shows them.
        const bool autoBefore = model.m_autoUpdate, ignoreBefore = model.m_ignoreProperties;
        window->AutoUpdateBox()->click();
        window->IgnorePropertiesBox()->click();
        QCOMPARE(model.m_autoUpdate, !autoBefore);
        QCOMPARE(model.m_ignoreProperties, !ignoreBefore);
        window->accept();
        std::unique_ptr<gui::LinksWindow> again = window_->MakeLinksWindow();
        QCOMPARE(again->Model().m_autoUpdate, !autoBefore);
        QCOMPARE(again->AutoUpdateBox()->isChecked(), !autoBefore);
        QCOMPARE(again->IgnorePropertiesBox()->isChecked(), !ignoreBefore);
        again->AutoUpdateBox()->click();
        again->reject();
        std::unique_ptr<gui::LinksWindow> third = window_->MakeLinksWindow();
        QCOMPARE(third->Model().m_autoUpdate, !autoBefore);
    }

    void ImportByHandleTakesAnEditBack() {
        const std::string output = Export();
        QVERIFY(!output.empty());
        // An edit made in the workbook: the first attribute cell of a DESK_SET row.
        {
            auto book = xl::Workbook::Open(output);
            QVERIFY(book);
            xl::Worksheet* sheet = (*book)->Sheet((*book)->ActiveSheetIndex());
            QVERIFY(sheet->Load());
            QVERIFY(sheet->LoadNotes());
            bool edited = false;
            for (const xl::Note& note : sheet->Notes()) {
                if (note.text.find("DESK_NO") == std::string::npos || note.row < 2) continue;
                QVERIFY(sheet->SetString(note.row, note.column, "GUI-EDIT"));
                edited = true;
                break;
            }
            QVERIFY(edited);
            QVERIFY((*book)->Save(output));
        }
        const auto before = AttributeValues(Db());
        QVERIFY(std::none_of(before.begin(), before.end(), [](const auto& v) { return v.second == "GUI-EDIT"; }));
        window_->OpenWorkbook(output);
        std::unique_ptr<gui::CommandForm> form = window_->MakeForm(Entry("import-by-handle"));
        QCOMPARE(window_->RunForm(Entry("import-by-handle"), *form), attbat::CommandStatus::Done);
        const auto after = AttributeValues(Db());
        int changed = 0;
        for (const auto& [key, value] : after) {
            if (before.at(key) != value) {
                ++changed;
                QCOMPARE(value, std::string("GUI-EDIT"));
                QVERIFY(key.find("/DESK_NO") != std::string::npos);
            }
        }
        QCOMPARE(changed, 1);
        // The tab says the drawing changed; saving writes it with its backup.
        QVERIFY(window_->Tabs()->tabText(0).endsWith(QStringLiteral(" *")));
        QVERIFY(window_->SaveCurrent());
        QVERIFY(std::filesystem::exists(temp_->File("floor.bak")));
    }

    void InsertionFromRows() {
        const std::string rows = temp_->File("rows.xlsx");
        std::filesystem::copy_file(kRows, rows);
        window_->OpenWorkbook(rows);
        const int doors = CountReferences(Db(), "DOOR");
        const int windows = CountReferences(Db(), "WINDOW");
        const std::size_t items = window_->CurrentView()->Scene().Items().size();
        std::unique_ptr<gui::CommandForm> form = window_->MakeForm(Entry("insert-blocks"));
        SetField(*form, "block-name-column", "A");
        SetField(*form, "tags-from", "header-row");
        SetField(*form, "header-row", "1");
        QCOMPARE(window_->RunForm(Entry("insert-blocks"), *form), attbat::CommandStatus::Done);
        QCOMPARE(CountReferences(Db(), "DOOR"), doors + 2);
        QCOMPARE(CountReferences(Db(), "WINDOW"), windows + 2);
        // The view shows the new references.
        QCOMPARE(window_->CurrentView()->Scene().Items().size(), items + 4);
    }

    void AutoNumberingOnAPickedSelection() {
        gui::DrawingView* view = window_->CurrentView();
        // The two desks picked with the mouse where the view shows them.
        for (const char* handle : {"12D", "130"}) {
            const long i = view->Scene().Find(cad::ParseHandle(handle));
            QVERIFY(i >= 0);
            const QPointF center = view->WorldToDevice().map(view->Scene().Items()[i].bounds.center());
            QTest::mouseClick(view, Qt::LeftButton, Qt::ControlModifier, center.toPoint());
        }
        QCOMPARE(view->SelectedHandles(), (std::vector<std::string>{"12D", "130"}));
        std::unique_ptr<gui::CommandForm> form = window_->MakeForm(Entry("auto-number"));
        QCOMPARE(qobject_cast<QLineEdit*>(form->Field("selection"))->text(), QStringLiteral("12D,130"));
        Expect("Sort selected objects", "Select-order");
        Expect("starting number", "7");
        Expect("increment", "");
        Expect("Placement of numbers", "Overwrite");
        const attbat::CommandStatus status = window_->RunForm(Entry("auto-number"), *form);
        QVERIFY2(status == attbat::CommandStatus::Done, ConsoleText().c_str());
        const auto values = AttributeValues(Db());
        QVERIFY2(values.at("12D/DESK_NO") == "7", ConsoleText().c_str());
        QCOMPARE(values.at("130/DESK_NO"), std::string("8"));
        QVERIFY(answers_.empty());
        QVERIFY(asked_.size() >= 3);
        // The prompts stood in the console as the command printed them.
        QVERIFY(!ConsoleText().empty());
    }

    void WindowAndCrossingSelectDifferently() {
        gui::DrawingView* view = window_->CurrentView();
        const gui::DrawingScene& scene = view->Scene();
        const long desk = scene.Find(cad::ParseHandle("12D"));
        QVERIFY(desk >= 0);
        const QRectF box = view->WorldToDevice().mapRect(scene.Items()[desk].bounds);
        // A window over the left half of the desk takes nothing of it; a crossing takes it.
        const QRect half(box.topLeft().toPoint() - QPoint(2, 2), QSize(static_cast<int>(box.width() / 2), static_cast<int>(box.height()) + 4));
        view->SelectRect(half, false, true);
        const auto windowed = view->SelectedHandles();
        QVERIFY(std::find(windowed.begin(), windowed.end(), "12D") == windowed.end());
        view->SelectRect(half, true, true);
        const auto crossed = view->SelectedHandles();
        QVERIFY(std::find(crossed.begin(), crossed.end(), "12D") != crossed.end());
        // A window round the whole desk takes it.
        view->SelectRect(box.adjusted(-3, -3, 3, 3).toRect(), false, true);
        const auto whole = view->SelectedHandles();
        QVERIFY(std::find(whole.begin(), whole.end(), "12D") != whole.end());
    }

    void ExportOfPickedObjects() {
        // Three references picked: the export's source is "Select Objects", the schedule theirs.
        gui::DrawingView* view = window_->CurrentView();
        for (const char* handle : {"12D", "130", "133"}) {
            const long i = view->Scene().Find(cad::ParseHandle(handle));
            QVERIFY(i >= 0);
            view->PickAt(view->WorldToDevice().map(view->Scene().Items()[i].bounds.center()).toPoint(), false);
        }
        QCOMPARE(view->SelectedHandles().size(), std::size_t(3));
        std::unique_ptr<gui::CommandForm> form = window_->MakeForm(Entry("export"));
        QCOMPARE(qobject_cast<QComboBox*>(form->Field("source"))->currentText(), QStringLiteral("objects"));
        QCOMPARE(qobject_cast<QLineEdit*>(form->Field("objects"))->text(), QStringLiteral("12D,130,133"));
        form->findChild<QPushButton*>(QStringLiteral("previewButton"))->click();
        QTableWidget* grid = form->PreviewGrid();
        // A row for each picked desk (the chairs nested in them may add theirs), nothing else.
        int desks = 0;
        for (int r = 1; r < grid->rowCount(); ++r) {
            const QString block = grid->item(r, 0)->text();
            QVERIFY2(block == QStringLiteral("DESK_SET") || block == QStringLiteral("CHAIR"), qPrintable(block));
            desks += block == QStringLiteral("DESK_SET");
        }
        QCOMPARE(desks, 3);
    }

    void LayoutsShowTheirPaperSpace() {
        gui::DrawingView* view = window_->CurrentView();
        QVERIFY(view->Space().IsModelSpace());
        cad::BlockRecord plan;
        for (const cad::BlockRecord& block : Db().Blocks())
            if (block.IsPaperSpace() && block.LayoutName() == "Plan") plan = block;
        QVERIFY(plan);
        view->ShowSpace(plan);
        // The sample's "Plan" layout holds its title block.
        bool titleBlock = false;
        for (const gui::SceneItem& item : view->Scene().Items()) {
            const cad::Object object = Db().ObjectByHandle(item.handle);
            titleBlock |= cad::BlockReference(object.GetDatabase(), object.Index()).BlockName() == "TITLEBLOCK";
        }
        QVERIFY(titleBlock);
        QVERIFY(view->Scene().Find(cad::ParseHandle("12D")) < 0);
    }

    void ProgressDialogsCancelTheWork() {
        gui::ProgressWindow progress(window_.get());
        host::ProgressMeter::SetObserver(&progress);
        host::ProgressMeter::ResetCancel();
        {
            host::ProgressMeter meter("Exporting", 100);
            meter.SetPosition(10);
            QVERIFY(progress.Dialog());
            QCOMPARE(progress.Dialog()->labelText(), QStringLiteral("Exporting"));
            QCOMPARE(progress.Dialog()->value(), 10);
            QVERIFY(!host::ProgressMeter::Cancelled());
            QPushButton* cancel = progress.Dialog()->findChild<QPushButton*>();
            QVERIFY(cancel);
            QCOMPARE(cancel->text(), QStringLiteral("Cancel"));
            QTest::mouseClick(cancel, Qt::LeftButton);
            QVERIFY(host::ProgressMeter::Cancelled());
        }
        QVERIFY(!progress.Dialog());
        host::ProgressMeter::ResetCancel();
        host::ProgressMeter::SetObserver(nullptr);
    }

    void FindByHandleZoomsAndHighlights() {
        gui::DrawingView* view = window_->CurrentView();
        const double before = view->WorldToDevice().m11();
        attbat::CommandContext context;
        context.arguments = {"130"};
        window_->RunWithValues(Entry("find"), context);
        QCOMPARE(view->SelectedHandles(), std::vector<std::string>{"130"});
        QVERIFY(view->WorldToDevice().m11() > before);
    }

    void MessageBoxesKeepTheSystemsTitleAndText() {
        // The Qt message box shows the box's own title and text; its Yes is the answer.
        gui::QtUi qtUi(window_.get());
        QString title, text;
        QTimer::singleShot(0, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box) return;
            title = box->windowTitle();
            text = box->text();
            box->button(QMessageBox::No)->click();
        });
        const host::BoxAnswer answer =
            qtUi.MessageBox({"Do you want to update the links now?", "Velmar Links", host::BoxButtons::YesNo,
                             host::BoxIcon::Question});
        QCOMPARE(title, QStringLiteral("Velmar Links"));
        QCOMPARE(text, QStringLiteral("Do you want to update the links now?"));
        QCOMPARE(answer, host::BoxAnswer::No);
    }

    void ACommandsBoxesGoThroughTheHostsUi() {
        // Import by handle without a workbook says so in a box of the system's, recorded here.
        std::unique_ptr<gui::CommandForm> form = window_->MakeForm(Entry("import-by-handle"));
        QVERIFY(window_->RunForm(Entry("import-by-handle"), *form) != attbat::CommandStatus::Done);
        QVERIFY(!ui_.Shown().empty());
        for (const host::ShownBox& box : ui_.Shown()) {
            QVERIFY(!box.title.empty());
            QVERIFY(!box.text.empty());
        }
    }
};

QTEST_MAIN(WindowsTest)
#include "WindowsTest.moc"
