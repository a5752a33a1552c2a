#include "attbat/cellblock/CCreateAttributesFromExcelDialog.h"

#include <cstdlib>

#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/frame/CRegistry.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

constexpr std::string_view kSection = "Velmar";
constexpr double kSmallest = 1e-5;

}  // namespace

bool IsValidSymbolName(std::string_view name) {
    if (name.empty() || base::Length(name) > 255) return false;
    for (char c : name) {
        if (static_cast<unsigned char>(c) < 0x20) return false;
        if (std::string_view("<>/\\\":;?*|,=`").find(c) != std::string_view::npos) return false;
    }
    return true;
}

const std::vector<Control>& CCreateAttributesFromExcelDialog::Controls() {
    static const std::vector<Control> controls = {
        {"get-range", ControlKind::Button,
         "\"Get Range\": the workbook, worksheet and selection of the running spreadsheet (--workbook, --sheet, "
         "--selection)"},
        {"block-name", ControlKind::Text, "\"Block Name:\" (OK: makes the block)", {}, "NAME"},
        {"block-layer", ControlKind::Text, "\"Insert Block on Layer:\" (made when missing; the current layer by default)",
         {}, "LAYER"},
        {"drawing-units", ControlKind::Text, "\"Text Height Scale:\" ... \"drawing units = \"", {}, "DISTANCE"},
        {"font-points", ControlKind::Text, "... \"Excel font points\"", {}, "NUMBER"},
        {"text-layer", ControlKind::Text, "\"Text Layer:\" of the attribute definitions (made when missing)", {},
         "LAYER"},
    };
    return controls;
}

void CCreateAttributesFromExcelDialog::OnInitDialog() {
    m_layers.clear();
    for (const cad::SymbolRecord& layer : db_.TableRecords("LAYER")) m_layers.push_back(layer.Name());
    m_blockLayer = db_.HeaderText("$CLAYER", "0");
    m_textLayer.clear();
    m_drawingUnits = CRegistry::GetString(kSection, "TextScaleDrawingUnits", "1");
    m_fontPoints = CRegistry::GetString(kSection, "TextScaleFontPoints", "1");
    OnGetRange();
}

void CCreateAttributesFromExcelDialog::OnGetRange() {
    m_workbook = ExcelUtils::Workbook ? ExcelUtils::Workbook->FullName() : std::string();
    m_worksheet = ExcelUtils::Worksheet ? ExcelUtils::Worksheet->GetName() : std::string();
    m_selection = ExcelUtils::Worksheet ? ExcelUtils::SelectionAddress() : std::string();
}

bool CCreateAttributesFromExcelDialog::Refuse(std::string_view text) {
    host::ShowMessage(text, "Velmar");
    return false;
}

bool CCreateAttributesFromExcelDialog::OnOK(bool store) {
    if (!IsValidSymbolName(m_blockName)) return Refuse("Invalid block name.");
    if (!m_blockLayer.empty() && !IsValidSymbolName(m_blockLayer)) return Refuse("Invalid block layer.");
    if (!m_textLayer.empty() && !IsValidSymbolName(m_textLayer)) return Refuse("Invalid attribute layer.");
    units_ = 0;
    if (!arxutils::TryTextToDistance(&db_, m_drawingUnits, -1, units_)) units_ = 0;
    if (units_ < kSmallest) return Refuse("Invalid drawing units.");
    points_ = std::strtod(m_fontPoints.c_str(), nullptr);
    if (points_ < kSmallest) return Refuse("Invalid Excel font points.");
    m_erasedReferences = 0;
    if (cad::BlockRecord existing = db_.FindBlock(m_blockName)) {
        if (!host::AskYesNo(m_blockName + " is already defined as a block. Do you want to redefine it?", "Velmar"))
            return false;
        const int references = static_cast<int>(existing.References().size());
        base::Status erased = db_.EraseBlock(existing);
        if (!erased) {
            return Refuse(base::Sprintf("Cannot redefine the block %s: %s.", m_blockName, erased.Message()));
        }
        m_erasedReferences = references;
    }
    for (const std::string& layer : {m_blockLayer, m_textLayer})
        if (!layer.empty() && !db_.FindLayer(layer)) db_.AddLayer(layer);
    if (!store) return true;
    CRegistry::SetString(kSection, "TextScaleDrawingUnits", m_drawingUnits);
    CRegistry::SetString(kSection, "TextScaleFontPoints", m_fontPoints);
    return true;
}

}  // namespace attbat
