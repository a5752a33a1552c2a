#pragma once
// A command's dialog as a window: one field per control the command's dialog models declare,
// labelled with the models' own labels, so that nothing of a dialog is written twice. A field
// left as it shows ("as stored", empty) is not given, and the model keeps what its dialog would
// show. Fields of picked objects (handles) are filled from the drawing view's selection. The
// export's form has the schedule's preview grid: column letters, columns dragged to reorder, a
// click on a header to sort.

#include <QDialog>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/frame/ControlValues.h"

class QLineEdit;
class QTableWidget;
class QFormLayout;

namespace attbat {
struct CommandEntry;
class CAttPreviewPage;
}  // namespace attbat

namespace gui {

class CommandForm : public QDialog {
    Q_OBJECT
public:
    // The form of `entry` with `controls`; `argumentsUsage` ("" for none) gives a field for the
    // words after the command.
    CommandForm(const attbat::CommandEntry& entry, const std::vector<attbat::Control>& controls,
                const std::string& argumentsUsage, QWidget* parent = nullptr);

    // Fills the fields that take picked objects with `handles` (and makes them the export's
    // source); nothing for none.
    void SetPicked(const std::vector<std::string>& handles);
    // Where a new workbook goes; "" leaves the field empty.
    void SetOutput(const std::string& path);
    std::string Output() const;

    // The values of the fields that were given, by the controls' keys.
    attbat::ControlValues Values() const;
    // The words after the command, split at blanks.
    std::vector<std::string> Arguments() const;

    // The field of control `key` (its object name is the key); null when the form has none.
    QWidget* Field(const std::string& key) const;

    // The export's preview: runs `preview` with the form's values, which calls back ShowPreview.
    void SetPreviewRunner(std::function<void(const attbat::ControlValues&)> preview);
    // Shows the schedule the page built: its column letters, its rows (the header texts first).
    void ShowPreview(const attbat::CAttPreviewPage& page);
    QTableWidget* PreviewGrid() const { return grid_; }
    // The letters of the columns as built, in the order the grid shows them, as the column
    // order control takes them; "" while that is the order they were built in.
    std::string ColumnOrder() const;
    // The sort asked for by a header click ("B" or "B:desc"); "" when none.
    std::string RowSort() const { return rowSort_; }

private:
    void AddControl(QFormLayout* form, const attbat::Control& control);

    std::vector<attbat::Control> controls_;
    std::map<std::string, QWidget*> fields_;
    std::vector<std::string> pickedKeys_;
    QLineEdit* arguments_ = nullptr;
    QLineEdit* output_ = nullptr;
    QTableWidget* grid_ = nullptr;
    std::vector<std::string> letters_;  // for each column of the grid, its letter as built
    std::string rowSort_;
    std::function<void(const attbat::ControlValues&)> preview_;
};

}  // namespace gui
