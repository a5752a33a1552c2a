#pragma once
// The workbook pane: the active sheet of a workbook file as a grid with column letters and row
// numbers, each cell's comment as its tooltip (a marked corner shows which have one), and the
// sheets to choose from.

#include <QWidget>

#include <memory>
#include <string>

class QComboBox;
class QLabel;
class QTableWidget;

namespace xl {
class Workbook;
}

namespace gui {

class WorkbookPane : public QWidget {
    Q_OBJECT
public:
    explicit WorkbookPane(QWidget* parent = nullptr);
    ~WorkbookPane() override;

    // Reads `path` and shows its active sheet (or `sheet` when given); false, with the reason
    // shown in the pane, when it can't be read. "" empties the pane.
    bool ShowWorkbook(const std::string& path, const std::string& sheet = {});
    // Reads the same file again, keeping the sheet shown.
    bool Reload();
    const std::string& Path() const { return path_; }
    QTableWidget* Grid() const { return grid_; }
    QComboBox* Sheets() const { return sheets_; }

private:
    void ShowSheet(int index);

    std::string path_;
    std::unique_ptr<xl::Workbook> book_;
    QLabel* title_;
    QComboBox* sheets_;
    QTableWidget* grid_;
};

}  // namespace gui
