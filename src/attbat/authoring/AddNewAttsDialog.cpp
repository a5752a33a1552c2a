#include "attbat/authoring/AddNewAttsDialog.h"

#include <cstdlib>

#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "base/Format.h"
#include "base/Text.h"
#include "base/Wildcard.h"
#include "cad/AttributeSync.h"
#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "host/Ui.h"
#include "tables/CStringTable.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

// The worksheet's columns, in their fixed order from the first column of the range.
enum Column { kX, kY, kZ, kHeight, kLayer, kStyle, kTag, kPrompt, kColumns };

// A number as the spreadsheet program's runtime reads one: its leading number, 0 when none.
double LeadingNumber(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

// The blocks a user may add to: no layouts, external references or anonymous blocks.
bool Offered(const cad::BlockRecord& block) {
    return !block.IsLayout() && !block.IsFromExternalReference() && !block.IsAnonymous() &&
           block.Name().find('|') == std::string::npos;
}

}  // namespace

const std::vector<Control>& CNewAttsToBlocksDlg::Controls() {
    static const std::vector<Control> controls = {
        {"use-selected-range", ControlKind::Check,
         "\"Use Selected Range\" (of the running spreadsheet's active sheet) instead of its used range"},
        {"filter", ControlKind::Text, "\"Filter:\" of the block list (a prefix; wildcards work)", {}, "TEXT"},
        {"block", ControlKind::List, "a block of the list to add the attributes to (\"Add to Blocks\")", {}, "NAME",
         true},
    };
    return controls;
}

void CNewAttsToBlocksDlg::OnInitDialog() {
    m_allBlockNames.RemoveAll();
    for (const cad::BlockRecord& block : db_.Blocks()) {
        if (Offered(block)) m_allBlockNames.Add(block.Name());
    }
    OnFilterChanged(m_filter);
}

bool CNewAttsToBlocksDlg::OnGetAttributes() {
    if (!ExcelUtils::ConnectToExcel(false) || !ExcelUtils::Workbook) {
        if (!ExcelUtils::StartExcel(false) || !ExcelUtils::EnsureWorkbook()) return false;
    }
    if (!ExcelUtils::Worksheet) return false;
    std::string address;
    if (useSelectedRange) {
        address = ExcelUtils::SelectionAddress();
        if (address.find(':') == std::string::npos) address.clear();
    }
    if (address.empty()) {
        address = ExcelUtils::Worksheet->UsedRange()->Address();
        if (address.find(':') == std::string::npos) {
            host::ShowMessage(base::Sprintf("\nInvalid used range: %s.", address), "Orvane Velmar");
            return false;
        }
    }
    tables::CStringTable table;
    if (!ExcelUtils::ReadCellsSlow(table, address, true)) return false;
    FillFromTable(table);
    return true;
}

void CNewAttsToBlocksDlg::FillFromTable(const tables::CStringTable& table) {
    m_list.clear();
    m_attributeDefs.RemoveAll();
    for (int r = 0; r < table.GetSize(); ++r) {
        const tables::CStringArrayEx& cells = table[r];
        if (r == 0) {
            bool header = false;
            for (const std::string& cell : cells) header = header || base::EqualNoCase(cell, "X");
            if (header) continue;
        }
        std::string text[kColumns];
        for (int c = 0; c < kColumns && c < cells.GetSize(); ++c) text[c] = cells[c];
        AcadAttributeDef def;
        def.position = {LeadingNumber(text[kX]), LeadingNumber(text[kY]), LeadingNumber(text[kZ])};
        def.height = LeadingNumber(text[kHeight]);
        def.layer = text[kLayer];
        def.textStyle = text[kStyle];
        def.tag = text[kTag];
        def.prompt = text[kPrompt];
        def.invisible = 1;
        m_list.push_back({base::Sprintf("%s, %s, %s", arxutils::DistanceText(&db_, def.position.x),
                                        arxutils::DistanceText(&db_, def.position.y),
                                        arxutils::DistanceText(&db_, def.position.z)),
                          arxutils::DistanceText(&db_, def.height), def.layer, def.textStyle, def.tag, def.prompt});
        if (!def.tag.empty()) m_attributeDefs.AddAppend(std::move(def));
    }
}

void CNewAttsToBlocksDlg::OnFilterChanged(std::string_view filter) {
    m_filter = std::string(filter);
    m_blockList.RemoveAll();
    for (const std::string& name : m_allBlockNames) {
        if (m_filter.empty() || base::WcMatch(name, m_filter + "*", true)) m_blockList.Add(name);
    }
    m_checks.assign(static_cast<std::size_t>(m_blockList.GetSize()), false);
}

bool CNewAttsToBlocksDlg::Check(std::string_view name) {
    const int index = m_blockList.FindString(name, true);
    if (index < 0) return false;
    m_checks[static_cast<std::size_t>(index)] = true;
    return true;
}

bool CNewAttsToBlocksDlg::OnOK(Report& report) {
    m_selectedBlocks.RemoveAll();
    for (int i = 0; i < m_blockList.GetSize(); ++i) {
        if (m_checks[static_cast<std::size_t>(i)]) m_selectedBlocks.Add(m_blockList[i]);
    }
    if (m_selectedBlocks.IsEmpty()) {
        host::ShowMessage("Please select a block first.", "Orvane Velmar");
        return false;
    }
    const std::string defaultLayer = db_.HeaderText("$CLAYER", "0");
    for (const std::string& name : m_selectedBlocks) {
        cad::BlockRecord block = db_.FindBlock(name);
        if (!block) continue;
        tables::CStringArrayEx tags;
        for (const cad::AttributeDefinition& def : block.AttributeDefinitions()) tags.Add(def.Tag());
        for (const AcadAttributeDef& def : m_attributeDefs) {
            if (tags.FindString(def.tag, false) >= 0) {
                ++report.passedOver;
                continue;
            }
            auto made = block.AddAttributeDefinition(def.tag, def.prompt, "",
                                                     {def.position.x, def.position.y, def.position.z}, def.height,
                                                     1, defaultLayer);
            if (!made) continue;
            // A layer or text style the drawing lacks leaves the drawing's default, silently.
            made->SetLayer(def.layer);
            if (cad::SymbolRecord style = db_.FindRecord("STYLE", def.textStyle); style && !def.textStyle.empty())
                made->SetText(7, style.Name(), "AcDbText");
            ++report.added;
            report.lines.push_back(base::Sprintf("%s: %s", block.Name(), def.tag));
        }
    }
    // As the host's ATTSYNC over every block: references of blocks with definitions follow them.
    for (const cad::BlockRecord& block : db_.Blocks()) {
        if (block.IsLayout() || block.IsFromExternalReference() || !block.HasAttributeDefinitions()) continue;
        auto synced = cad::SyncAttributes(block);
        if (!synced) continue;
        report.references += synced->references;
        report.changedReferences += synced->changed;
        report.attributesAdded += synced->added;
        report.attributesRemoved += synced->removed;
    }
    return true;
}

}  // namespace attbat
