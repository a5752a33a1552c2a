#include "attbat/schedules/CExportAttDefDialog.h"

#include <memory>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/schedules/AttDefKey.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/Ui.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

constexpr std::string_view kSection = CExportAttDefDialog::settingsSection;

std::string CurrentFileName() {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    return current ? current->FileName() : std::string();
}

}  // namespace

const std::string& DrawingOf(const AcadAttributeDef& def) { return def.extra1; }
const std::string& HandleOf(const AcadAttributeDef& def) { return def.extra2; }

const std::vector<Control>& CExportAttDefDialog::Controls() {
    static const std::vector<Control> controls = {
        {"data-source", ControlKind::Choice, "\"Current Drawing\" or \"Select Drawings\"", {"current", "select"}},
        {"add", ControlKind::List, "\"Add\": drawings of \"Select Drawings\" (the list's columns \"Drawing\", \"Folder\")",
         {}, "FILE.dxf", true},
        {"remove", ControlKind::List, "\"Remove\": drawings taken off the list", {}, "FILE.dxf", true},
        {"load-list", ControlKind::Text, "\"Load List\": the list from a drawing list file", {}, "FILE.lst"},
        {"save-list", ControlKind::Text, "\"Save List\": the list to a drawing list file", {}, "FILE.lst"},
        {"tick", ControlKind::List, "\"Attribute Definition Tag:\" only these tags ticked (all are by default)", {},
         "TAG", true},
        {"untick", ControlKind::List, "\"Attribute Definition Tag:\" a tag left unticked", {}, "TAG", true},
        {"tag", ControlKind::Check, "\"Tag\""},
        {"prompt", ControlKind::Check, "\"Prompt\""},
        {"default-value", ControlKind::Check, "\"Default Value\""},
        {"workbook-option", ControlKind::Choice, "\"New Workbook\" or \"Active Workbook\"", {"new", "active"}},
        {"start-column", ControlKind::Text, "\"Start Column:\"", {}, "LETTERS"},
        {"start-row", ControlKind::Text, "\"Start Row:\"", {}, "N"},
        {"drawing-name", ControlKind::Check, "\"Drawing Name\""},
        {"header", ControlKind::Check, "\"Header\""},
    };
    return controls;
}

void CExportAttDefDialog::OnInitDialog() {
    m_dataSource = CRegistry::GetInt(kSection, "DataSource", 0);
    m_attDefTag = CRegistry::GetInt(kSection, "AttDefTag", 1);
    m_attDefPrompt = CRegistry::GetInt(kSection, "AttDefPrompt", 1);
    m_attDefValue = CRegistry::GetInt(kSection, "AttDefValue", 1);
    m_workbookOpt = CRegistry::GetInt(kSection, "WorkbookOpt", 0);
    m_startColumn = CRegistry::GetString(kSection, "StartColumn", "A");
    m_startRow = CRegistry::GetInt(kSection, "StartRow", 1);
    m_exportDwgName = CRegistry::GetInt(kSection, "ExportDwgName", 1);
    m_exportHeader = CRegistry::GetInt(kSection, "ExportHeader", 1);
    currentFile_ = CurrentFileName();
    if (host::Document* current = host::DocumentManager::Instance().CurDocument(); current && current->Load())
        ReadAttributeDefinitions(current->Database(), "");
    OnSourceChanged();
}

void CExportAttDefDialog::OnSourceChanged() {
    listEnabled = m_dataSource == 1;
    FillTags();
}

void CExportAttDefDialog::FillTags() {
    m_tagList.RemoveAll();
    for (const AcadAttributeDef& def : m_dataSource == 1 ? m_drawingDefs : m_currentDefs) {
        if (m_tagList.FindString(def.tag, false) < 0) m_tagList.Add(def.tag);
    }
    m_tagChecks.assign(static_cast<std::size_t>(m_tagList.GetSize()), true);
}

void CExportAttDefDialog::AddOnce(AcadAttributeDefArray& defs, const AcadAttributeDef& def) {
    for (const AcadAttributeDef& held : defs) {
        if (HandleOf(held) == HandleOf(def) && base::EqualNoCase(DrawingOf(held), DrawingOf(def))) return;
    }
    defs.Add(def);
}

void CExportAttDefDialog::ReadAttributeDefinitions(cad::Database& db, const std::string& path) {
    const std::string drawing = path.empty() ? currentFile_ : path;
    const bool current = base::EqualNoCase(drawing, currentFile_);
    // Only the spaces' entities are selected: definitions inside blocks belong to those blocks.
    for (const cad::Entity& entity : db.Select({{0, "ATTDEF"}})) {
        const cad::AttributeDefinition def(entity.GetDatabase(), entity.Index());
        const cad::Point3 at = def.Position();
        AcadAttributeDef made(def.Tag(), def.Prompt(), {at.x, at.y, at.z}, def.IsConstant(), def.IsInvisible(),
                              def.IsPreset(), def.IsVerifiable(), 0);
        made.defaultValue = def.DefaultValue();
        made.extra1 = drawing;
        made.extra2 = def.HandleString();
        if (current) {
            AddOnce(m_currentDefs, made);
            if (m_dataSource == 1) AddOnce(m_drawingDefs, made);
        } else {
            AddOnce(m_drawingDefs, made);
        }
    }
}

bool CExportAttDefDialog::AddDrawing(const std::string& path) {
    if (m_drawingList.Paths().FindString(path, false) >= 0) return true;
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (path.empty() || (current && base::EqualNoCase(path, currentFile_))) {
        if (!current || !current->Load()) return false;
        m_drawingList.Add(currentFile_);
        // The current drawing counts once, from wherever the source takes it.
        for (const AcadAttributeDef& def : m_currentDefs) AddOnce(m_drawingDefs, def);
        FillTags();
        return true;
    }
    auto side = host::ReadSideDatabase(path);
    if (!side) {
        host::Printf("Failed to read %s: %s", path, host::StatusText(side.GetStatus()));
        return false;
    }
    m_drawingList.Add(path);
    ReadAttributeDefinitions(**side, path);
    FillTags();
    return true;
}

bool CExportAttDefDialog::AddPaths(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        if (!AddDrawing(path)) return false;
    }
    return true;
}

void CExportAttDefDialog::Remove() {
    m_drawingList.RemoveSelected([this](const std::string& path) {
        for (int i = m_drawingDefs.GetUpperBound(); i >= 0; --i) {
            if (base::EqualNoCase(DrawingOf(m_drawingDefs[i]), path)) m_drawingDefs.RemoveAt(i);
        }
    });
    FillTags();
}

base::Status CExportAttDefDialog::LoadList(const std::string& path) {
    auto lines = m_drawingList.ClearAndLoad(path);
    if (!lines) return lines.GetStatus();
    for (const std::string& line : *lines) AddDrawing(line);
    return base::Status::Ok();
}

bool CExportAttDefDialog::SetTick(std::string_view tag, bool on) {
    const int index = m_tagList.FindString(tag, false);
    if (index < 0) return false;
    m_tagChecks[static_cast<std::size_t>(index)] = on;
    return true;
}

void CExportAttDefDialog::OnOK() {
    if (tables::ColumnNumber(m_startColumn) < 1) m_startColumn = "A";
    if (m_startRow < 1) m_startRow = 1;
    m_selectedTags.RemoveAll();
    for (int i = 0; i < m_tagList.GetSize(); ++i) {
        if (m_tagChecks[static_cast<std::size_t>(i)]) m_selectedTags.Add(m_tagList[i]);
    }
    CRegistry::SetInt(kSection, "DataSource", m_dataSource);
    CRegistry::SetInt(kSection, "AttDefTag", m_attDefTag);
    CRegistry::SetInt(kSection, "AttDefPrompt", m_attDefPrompt);
    CRegistry::SetInt(kSection, "AttDefValue", m_attDefValue);
    CRegistry::SetInt(kSection, "WorkbookOpt", m_workbookOpt);
    CRegistry::SetString(kSection, "StartColumn", m_startColumn);
    CRegistry::SetInt(kSection, "StartRow", m_startRow);
    CRegistry::SetInt(kSection, "ExportDwgName", m_exportDwgName);
    CRegistry::SetInt(kSection, "ExportHeader", m_exportHeader);
}

CExportAttDefDialog::SheetRows CExportAttDefDialog::BuildRows() const {
    SheetRows rows;
    std::vector<int> fields;  // -1 the drawing, else an AttDefField
    if (m_exportDwgName) fields.push_back(-1);
    if (m_attDefTag) fields.push_back(static_cast<int>(AttDefField::Tag));
    if (m_attDefPrompt) fields.push_back(static_cast<int>(AttDefField::Prompt));
    if (m_attDefValue) fields.push_back(static_cast<int>(AttDefField::DefaultValue));
    if (fields.empty()) return rows;
    for (int field : fields)
        rows.titles.emplace_back(field < 0 ? "Drawing" : AttDefColumnTitle(static_cast<AttDefField>(field)));
    if (m_exportHeader) {
        rows.values.push_back(rows.titles);
        rows.comments.emplace_back(fields.size());
    }
    for (const AcadAttributeDef& def : m_dataSource == 1 ? m_drawingDefs : m_currentDefs) {
        if (m_selectedTags.FindString(def.tag, false) < 0) continue;
        std::vector<std::string> values, comments;
        for (int field : fields) {
            if (field < 0) {
                values.push_back(DrawingOf(def));
                comments.emplace_back();
                continue;
            }
            const AttDefField f = static_cast<AttDefField>(field);
            values.push_back(f == AttDefField::Tag ? def.tag : f == AttDefField::Prompt ? def.prompt : def.defaultValue);
            comments.push_back(AttDefComment(DrawingOf(def), HandleOf(def), f));
        }
        rows.values.push_back(std::move(values));
        rows.comments.push_back(std::move(comments));
    }
    return rows;
}

bool CExportAttDefDialog::ExportToExcel() {
    const SheetRows rows = BuildRows();
    if (rows.titles.empty()) return true;
    bool attached = m_workbookOpt == 1 && ExcelUtils::ConnectToExcel(true) && ExcelUtils::Workbook;
    if (!attached) {
        ExcelUtils::Disconnect();
        attached = ExcelUtils::StartExcel(true) && ExcelUtils::AddWorkbook();
    }
    if (!attached || !ExcelUtils::Worksheet) {
        ExcelUtils::Disconnect();
        return false;
    }
    bool done = false;
    try {
        arxutils::ScopedExcelWriting writing;
        const int width = static_cast<int>(rows.titles.size()), height = static_cast<int>(rows.values.size());
        if (height > 0 && ExcelUtils::CreateStagingArray(height, width)) {
            for (int r = 0; r < height; ++r) {
                for (int c = 0; c < width; ++c) ExcelUtils::PutStagedCell(rows.values[r][c], r, c);
            }
            ExcelUtils::FlushStaging(base::Sprintf("$%s$%d", m_startColumn, m_startRow), false, false);
        }
        ExcelUtils::AutoFitUsedColumns();
        const int firstColumn = tables::ColumnNumber(m_startColumn);
        std::unique_ptr<excel::Range> cells = ExcelUtils::Worksheet->Cells();
        for (int r = 0; r < height; ++r) {
            for (int c = 0; c < width; ++c) {
                if (rows.comments[r][c].empty()) continue;
                // Old comments stay: a cell that has one makes this fail, as it always has.
                cells->Item(m_startRow + r, firstColumn + c)->AddComment(rows.comments[r][c]);
            }
        }
        done = true;
    } catch (const excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    }
    if (done) host::PrintfOnceSaved("\nSuccessfully export the data.");
    ExcelUtils::Disconnect();
    return done;
}

}  // namespace attbat
