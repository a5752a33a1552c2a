#pragma once
// The "Options" and "Links" dialogs as windows over their models: every box shows and sets a
// member of the model, the labels are the model's, OK and Cancel are the model's own.

#include <QDialog>

#include <memory>

#include "attbat/frame/COptionsDialog.h"
#include "attbat/links/CLinksDialog.h"

class QCheckBox;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace cad {
class Database;
}

namespace gui {

class OptionsWindow : public QDialog {
    Q_OBJECT
public:
    // Reads the stored options (the model's OnInitDialog).
    explicit OptionsWindow(QWidget* parent = nullptr);

    attbat::COptionsDialog& Model() { return model_; }
    // The box of option `key`; null for none.
    QCheckBox* Box(std::string_view key) const;

    // OK stores all four (a store that fails says so and keeps the window open); Cancel nothing.
    void accept() override;
    void reject() override;

private:
    attbat::COptionsDialog model_;
    std::vector<std::pair<std::string_view, QCheckBox*>> boxes_;
};

class LinksWindow : public QDialog {
    Q_OBJECT
public:
    // The links of `db` (the current drawing; null for none).
    explicit LinksWindow(cad::Database* db, QWidget* parent = nullptr);

    attbat::CLinksDialog& Model() { return model_; }
    QListWidget* List() const { return list_; }
    QLineEdit* WorkbookField() const { return workbook_; }
    QPushButton* UpdateButton() const { return update_; }
    QPushButton* BreakButton() const { return break_; }
    QCheckBox* AutoUpdateBox() const { return autoUpdate_; }
    QCheckBox* IgnorePropertiesBox() const { return ignore_; }

    void accept() override;
    void reject() override;

signals:
    // A button changed the drawing.
    void DrawingChanged();

private:
    void ShowModel();

    attbat::CLinksDialog model_;
    bool showing_ = false;
    QListWidget* list_ = nullptr;
    QLineEdit* workbook_ = nullptr;
    QPushButton* update_ = nullptr;
    QPushButton* break_ = nullptr;
    QCheckBox* autoUpdate_ = nullptr;
    QCheckBox* ignore_ = nullptr;
};

}  // namespace gui
