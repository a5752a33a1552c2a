#include "attbat/schedules/CCountBlockDialog.h"

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/RegistrySettingsStore.h"
#include "attbat/model/AcadDatabase.h"
#include "attbat/schedules/CountFormula.h"
#include "base/Format.h"
#include "base/Path.h"
#include "host/Document.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

constexpr std::string_view kSection = "Velmar";
constexpr std::string_view kIncludeCurrent = "IncludeCurrentDrawing";

// Appends what `from` holds that `out` lacks; the two collections each give distinct lists, and
// together they must stay distinct.
void AddMissing(tables::CStringArrayEx& out, const tables::CStringArrayEx& from, bool ignoreCase) {
    for (const std::string& item : from) {
        if (out.FindString(item, ignoreCase) < 0) out.Add(item);
    }
}

std::string CurrentFileName() {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    return current ? current->FileName() : std::string();
}

// Brackets a button's work: the buttons are disabled during it and enabled at its end, unless
// the work asked them to stay as they are.
class DisabledButtons {
public:
    explicit DisabledButtons(bool& enabled) : enabled_(enabled) { enabled_ = false; }
    ~DisabledButtons() {
        if (!keep_) enabled_ = true;
    }
    void KeepDisabled() { keep_ = true; }

private:
    bool& enabled_;
    bool keep_ = false;
};

}  // namespace

const std::vector<Control>& CCountBlockDialog::Controls() {
    static const std::vector<Control> controls = {
        {"add", ControlKind::List, "\"Add\": drawings to count over (the list's columns \"Drawing\", \"Folder\")",
         {}, "FILE.dxf", true},
        {"remove", ControlKind::List, "\"Remove\": drawings taken off the list", {}, "FILE.dxf", true},
        {"load-list", ControlKind::Text, "\"Load List\": the list from a drawing list file", {}, "FILE.lst"},
        {"save-list", ControlKind::Text, "\"Save List\": the list to a drawing list file", {}, "FILE.lst"},
        {"include-current-drawing", ControlKind::Check, "\"Include Current Drawing\""},
        {"block-name", ControlKind::Text, "\"Block Name:\"", {}, "NAME"},
        {"layer", ControlKind::Text, "\"Layer:\" (\"*All*\" or empty: any layer)", {}, "NAME"},
        {"attribute-tag", ControlKind::Text, "\"Attribute Tag:\" (empty counts references)", {}, "TAG"},
        {"value", ControlKind::Text, "\"Value:\"", {}, "TEXT"},
        {"insert-function", ControlKind::Button, "\"Insert Function to Excel Active Cell\""},
        {"update-results", ControlKind::Button, "\"Update Results in Active Workbook\""},
    };
    return controls;
}

void CCountBlockDialog::OnInitDialog() {
    currentFile_ = CurrentFileName();
    m_includeCurrent = CRegistry::GetInt(kSection, kIncludeCurrent, 1);
    if (m_includeCurrent) {
        RegistrySettingsStore settings;
        m_currentBlocks.RemoveAll();
        if (!ReadDrawing(m_currentBlocks, "", &settings)) m_currentBlocks.RemoveAll();
    }
    FillCombos();
}

void CCountBlockDialog::OnIncludeCurrent(bool on) {
    m_includeCurrent = on ? 1 : 0;
    CRegistry::SetInt(kSection, kIncludeCurrent, m_includeCurrent);
}

bool CCountBlockDialog::AddPaths(const std::vector<std::string>& paths) {
    DisabledButtons buttons(buttonsEnabled);
    for (const std::string& path : paths) {
        if (base::FileExists(path)) m_drawingList.Add(path);
    }
    if (!ReadListedDrawings()) {
        buttons.KeepDisabled();
        return false;
    }
    FillCombos();
    return true;
}

bool CCountBlockDialog::ReadListedDrawings() {
    RegistrySettingsStore settings;
    const tables::CStringArrayEx& paths = m_drawingList.Paths();
    host::ProgressMeter meter("Reading the drawings...", paths.GetSize());
    for (int i = 0; i < paths.GetSize(); ++i) {
        meter.SetPosition(i);
        // A drawing read again replaces its earlier rows, so a second "Add" doesn't count twice.
        m_drawingBlocks.RemoveFile(paths[i]);
        if (base::Status read = ReadDrawing(m_drawingBlocks, paths[i], &settings); !read) {
            host::ShowMessage(base::Sprintf("Failed to read %s: %s", paths[i], read.Message()), "Orvane Velmar");
            return false;
        }
    }
    return true;
}

void CCountBlockDialog::Remove() {
    m_drawingList.RemoveSelected([this](const std::string& path) { m_drawingBlocks.RemoveFile(path); });
    FillCombos();
}

base::Status CCountBlockDialog::LoadList(const std::string& path) {
    auto lines = m_drawingList.ClearAndLoad(path);
    // The list is what is counted over: what the drawings of the old list gave goes with it.
    m_drawingBlocks.RemoveAll();
    if (!lines) {
        FillCombos();
        return lines.GetStatus();
    }
    if (!AddPaths(*lines)) return base::Status::Error("a drawing of the list could not be read");
    return base::Status::Ok();
}

std::vector<const AcadBlockArray*> CCountBlockDialog::Sources() const {
    std::vector<const AcadBlockArray*> sources;
    if (m_includeCurrent) sources.push_back(&m_currentBlocks);
    sources.push_back(&m_drawingBlocks);
    return sources;
}

void CCountBlockDialog::FillCombos() {
    m_blockNames.RemoveAll();
    m_layers.RemoveAll();
    for (const AcadBlockArray* blocks : Sources()) {
        tables::CStringArrayEx names, layers;
        blocks->NamesWithRefs(names, true);
        blocks->AllLayerNames(layers);
        AddMissing(m_blockNames, names, true);
        AddMissing(m_layers, layers, true);
    }
    m_layers.Add("*All*");
}

void CCountBlockDialog::OnDropDownTag() {
    m_tags.RemoveAll();
    if (m_blockName.empty()) return;
    const tables::CStringArrayEx names = {m_blockName};
    for (const AcadBlockArray* blocks : Sources()) {
        tables::CStringArrayEx tags;
        blocks->AllTags(tags, names, false, false);
        AddMissing(m_tags, tags, false);
    }
}

void CCountBlockDialog::OnDropDownValue() {
    m_values.RemoveAll();
    if (m_blockName.empty() || m_tag.empty()) return;
    for (const AcadBlockArray* blocks : Sources()) {
        tables::CStringArrayEx values;
        blocks->ValuesOfTag(m_blockName, m_tag, values);
        AddMissing(m_values, values, false);
    }
}

std::string CCountBlockDialog::EvaluateFormula(std::string_view text) const {
    const std::optional<CountFormula> formula = ParseCountFormula(text);
    if (!formula) return "0";
    const CountFormula& f = *formula;
    int count = 0;
    if (m_includeCurrent) count = m_currentBlocks.CountValue(f.blockName, f.layer, f.tag, f.value, false, currentFile_);
    // The current drawing, when listed as well, counts once: from its own collection while that
    // one is included.
    count += m_drawingBlocks.CountValue(f.blockName, f.layer, f.tag, f.value, m_includeCurrent != 0, currentFile_);
    return base::Sprintf("%d", count);
}

bool CCountBlockDialog::InsertFormula(bool write, Result& result) {
    if (m_blockName.empty()) {
        host::ShowMessage("Invalid block name.", "Velmar");
        return false;
    }
    DisabledButtons buttons(buttonsEnabled);
    const std::string formula = CountFormulaText({m_blockName, m_layer, m_tag, m_value});
    if (!ExcelUtils::ConnectToExcel(false) || !ExcelUtils::Workbook) {
        ExcelUtils::Disconnect();
        host::ShowMessage("Please open a workbook first.", "Velmar");
        return false;
    }
    bool done = false;
    try {
        std::unique_ptr<excel::Range> cell = ExcelUtils::Application->ActiveCell();
        result.sheet = cell->Parent()->GetName();
        result.address = cell->Address();
        result.before = cell->Text().text;
        result.after = EvaluateFormula(formula);
        if (write) {
            if (std::unique_ptr<excel::Comment> old = cell->GetComment()) old->Delete();
            cell->AddComment(formula);
            cell->SetValue(excel::Variant::String(result.after));
        }
        done = true;
    } catch (const excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    }
    ExcelUtils::Disconnect();
    return done;
}

bool CCountBlockDialog::UpdateResults(bool write, std::vector<Result>& results) {
    if (!ExcelUtils::ConnectToExcel(false) || !ExcelUtils::Workbook) {
        ExcelUtils::Disconnect();
        host::ShowMessage("Please open a workbook first.", "Velmar");
        return false;
    }
    DisabledButtons buttons(buttonsEnabled);
    bool done = false;
    try {
        done = ExcelUtils::ForEachWorksheet([&] {
            std::unique_ptr<excel::Comments> comments = ExcelUtils::Worksheet->GetComments();
            const std::string sheet = ExcelUtils::Worksheet->GetName();
            for (int i = 1, n = comments->Count(); i <= n; ++i) {
                std::unique_ptr<excel::Comment> comment = comments->Item(i);
                if (!comment) continue;
                const std::string text = comment->Text();
                std::unique_ptr<excel::Range> cell = comment->Parent();
                if (!cell) continue;
                Result reached{sheet, cell->Address(), cell->Text().text, EvaluateFormula(text)};
                if (write) cell->SetValue(excel::Variant::String(reached.after));
                results.push_back(std::move(reached));
            }
            return true;
        });
    } catch (const excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    }
    ExcelUtils::Disconnect();
    return done;
}

}  // namespace attbat
