#include "attbat/export/TableTextExtents.h"

#include <filesystem>

#include "base/Text.h"
#include "cad/Database.h"
#include "cad/SymbolRecord.h"
#include "fonts/FontFile.h"
#include "fonts/FontMetrics.h"

namespace attbat {

namespace {

// The font a text style names: its file (3), or the family AutoCAD keeps in the style's "ACAD"
// extended data when the file is left empty.
std::string FontName(const cad::SymbolRecord& style) {
    std::string file = style.GetText(3);
    if (!file.empty()) return file;
    for (const cad::Tag& tag : style.Xdata("ACAD"))
        if (tag.code == 1000 && !tag.value.empty()) return tag.value;
    return {};
}

// SHX fonts: named with .shx, or with no extension at all, as AutoCAD lets "txt" stand for
// "txt.shx".
bool IsShapeFont(std::string_view name) {
    std::string extension = std::filesystem::path(std::string(name)).extension().string();
    return extension.empty() || base::EqualNoCase(extension, ".shx");
}

}  // namespace

TableTextExtents::TableTextExtents(cad::Database& db, std::string_view styleName) {
    cad::SymbolRecord style = db.FindRecord("STYLE", styleName);
    if (!style) return;
    fixedHeight_ = style.GetReal(40, 0);
    widthFactor_ = style.GetReal(41, 1);
    if (widthFactor_ <= 0) widthFactor_ = 1;
    const std::string name = FontName(style);
    if (name.empty() || IsShapeFont(name)) return;
    std::string path = fonts::FindFontFile(name);
    if (path.empty()) return;
    auto metrics = fonts::FontMetrics::Open(path);
    if (!metrics) return;
    metrics_ = std::make_unique<fonts::FontMetrics>(std::move(*metrics));
    fontPath_ = path;
}

TableTextExtents::~TableTextExtents() = default;

double TableTextExtents::Width(std::string_view text) const {
    return fixedHeight_ <= 0 ? 0 : WidthAt(text, fixedHeight_);
}

double TableTextExtents::WidthAt(std::string_view text, double height) const {
    if (height <= 0 || text.empty()) return 0;
    if (metrics_) return metrics_->TextWidth(text, height) * widthFactor_;
    return static_cast<double>(base::Length(text)) * height * widthFactor_ * kStandInAdvance;
}

}  // namespace attbat
