#pragma once
// The export's schedule wizard as a window: the wizard model's three pages in a stack, Back and
// Next moving the model's own page, Finish exporting from the preview page. Every widget shows
// and sets a member of the page it stands on; labels come from the pages' controls.

#include <QDialog>

#include <functional>
#include <string>
#include <vector>

#include "attbat/export/CScheduleDialog.h"
#include "attbat/frame/RegistrySettingsStore.h"
#include "attbat/export/DocumentDrawingContext.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QStackedWidget;
class QTableWidget;

namespace cad {
class Database;
}

namespace gui {

class ScheduleWizard : public QDialog {
    Q_OBJECT
public:
    // The wizard over the drawing `db` (null: none), which the host holds as its current
    // document; the model reads it here, as its dialog does when it opens.
    explicit ScheduleWizard(cad::Database* db, QWidget* parent = nullptr);
    ~ScheduleWizard() override;

    // The objects picked in the drawing view become the "Select Objects" source (and that source
    // is chosen); nothing for none.
    void SetPicked(cad::Database& db, const std::vector<std::string>& handles);
    // Runs the export itself inside the command run that gives it its workbooks; set by the main
    // window. Without one, the page exports directly.
    void SetExportRunner(std::function<bool(const std::function<bool()>&)> runner) { runner_ = std::move(runner); }

    // Where a new workbook goes (the main window offers one beside the drawing); "" for none.
    void SetOutput(const std::string& path);
    std::string Output() const;

    attbat::CScheduleDialog& Model() { return *model_; }

    // The buttons, as a user presses them.
    void Next();
    void Back();
    // Exports from the preview page; true when a workbook was written. The window closes then.
    bool Finish();
    // The template buttons: the whole wizard state to a .vlt file, or back from one (the wizard
    // then stands on the page the template was saved on). False when nothing was saved or loaded;
    // the model has shown why.
    bool SaveTemplate(const std::string& path);
    bool LoadTemplate(const std::string& path);
    // The list buttons of the data source page: the drawing list from a .lst file, or to one.
    // False when nothing was loaded or saved; a message says why.
    bool LoadList(const std::string& path);
    bool SaveList(const std::string& path);
    // "Export Options..." on the preview page: its own window bound to the dialog's model.
    void EditExportOptions();

    QStackedWidget* Pages() const { return pages_; }
    QListWidget* BlockList() const { return blocks_; }
    QTableWidget* PreviewGrid() const { return grid_; }
    QPushButton* NextButton() const { return next_; }
    QPushButton* BackButton() const { return back_; }
    QPushButton* FinishButton() const { return finish_; }
    // The widget bound to the control `key` (its object name); null when none is.
    QWidget* Field(const std::string& key) const;

private:
    QWidget* MakeSourcePage();
    QWidget* MakeAttributePage();
    QWidget* MakePreviewPage();
    // Shows the model's state: the active page, its title, its lists and the buttons' states.
    void ShowModel();
    void ShowSource();
    void ShowBlocks();
    void ShowPreview();

    attbat::RegistrySettingsStore settings_;
    attbat::DocumentDrawingContext drawing_;
    std::unique_ptr<attbat::CScheduleDialog> model_;
    std::function<bool(const std::function<bool()>&)> runner_;
    bool optionsChosen_ = false;  // the export options were set in this wizard
    bool showing_ = false;        // the widgets are being filled from the model

    QStackedWidget* pages_ = nullptr;
    QLabel* pageTitle_ = nullptr;
    QButtonGroup* source_ = nullptr;
    QLabel* count_ = nullptr;
    QListWidget* drawings_ = nullptr;
    std::vector<QWidget*> listButtons_;
    QListWidget* blocks_ = nullptr;
    QTableWidget* grid_ = nullptr;
    std::vector<QCheckBox*> filterBoxes_;
    std::vector<QCheckBox*> viewBoxes_;
    QCheckBox* attributesOnly_ = nullptr;
    QCheckBox* inUseOnly_ = nullptr;
    QLineEdit* wildcard_ = nullptr;
    QLineEdit* output_ = nullptr;
    std::vector<QComboBox*> previewCombos_;
    QPushButton* back_ = nullptr;
    QPushButton* next_ = nullptr;
    QPushButton* finish_ = nullptr;
    std::vector<std::pair<std::string, QWidget*>> fields_;
};

}  // namespace gui
