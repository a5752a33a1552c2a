#include "fonts/FontMetrics.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H
#include FT_ADVANCES_H

#include <utf8proc.h>

#include <algorithm>
#include <cmath>

#include "base/Format.h"
#include "fonts/FontFile.h"

namespace fonts {

struct FontMetrics::Face {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    ~Face() {
        if (face) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }
};

FontMetrics::FontMetrics(std::unique_ptr<Face> face) : face_(std::move(face)) {
    FT_Face f = face_->face;
    const TT_OS2* os2 = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(f, FT_SFNT_OS2));
    if (os2 && os2->version >= 2 && os2->sCapHeight > 0) capHeight_ = os2->sCapHeight;
    if (capHeight_ <= 0 && FT_Load_Char(f, 'H', FT_LOAD_NO_SCALE) == 0 && f->glyph->metrics.height > 0)
        capHeight_ = static_cast<double>(f->glyph->metrics.height);
    if (capHeight_ <= 0) capHeight_ = 0.7 * (f->units_per_EM ? f->units_per_EM : 1000);
}

FontMetrics::FontMetrics(FontMetrics&&) noexcept = default;
FontMetrics& FontMetrics::operator=(FontMetrics&&) noexcept = default;
FontMetrics::~FontMetrics() = default;

base::Result<FontMetrics> FontMetrics::Open(const std::string& path) {
    auto face = std::make_unique<Face>();
    if (FT_Init_FreeType(&face->library) != 0) return base::Status::Error("FreeType could not start");
    FT_Error error = FT_New_Face(face->library, path.c_str(), 0, &face->face);
    if (error != 0) {
        const char* reason = FT_Error_String(error);
        return base::Status::Error(path + " is no font FreeType reads" + (reason ? std::string(": ") + reason : ""));
    }
    if (!FT_IS_SCALABLE(face->face)) return base::Status::Error(path + " is a bitmap font without outlines");
    return FontMetrics(std::move(face));
}

double FontMetrics::TextWidth(std::string_view text, double height) const {
    FT_Face f = face_->face;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    utf8proc_ssize_t at = 0, size = static_cast<utf8proc_ssize_t>(text.size());
    long long units = 0;
    FT_UInt previous = 0;
    while (at < size) {
        utf8proc_int32_t code = 0;
        utf8proc_ssize_t read = utf8proc_iterate(bytes + at, size - at, &code);
        if (read <= 0) {
            code = 0xFFFD;
            read = 1;
        }
        at += read;
        FT_UInt glyph = FT_Get_Char_Index(f, static_cast<FT_ULong>(code));
        if (previous && glyph && FT_HAS_KERNING(f)) {
            FT_Vector kerning{};
            if (FT_Get_Kerning(f, previous, glyph, FT_KERNING_UNSCALED, &kerning) == 0) units += kerning.x;
        }
        FT_Fixed advance = 0;
        if (FT_Get_Advance(f, glyph, FT_LOAD_NO_SCALE, &advance) == 0) units += advance;
        previous = glyph;
    }
    return static_cast<double>(units) * height / capHeight_;
}

int FontMetrics::MaxDigitPixels(double pixelsPerEm) const {
    FT_Face f = face_->face;
    FT_Fixed widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        FT_Fixed advance = 0;
        if (FT_Get_Advance(f, FT_Get_Char_Index(f, static_cast<FT_ULong>(digit)), FT_LOAD_NO_SCALE, &advance) == 0)
            widest = std::max(widest, advance);
    }
    double em = f->units_per_EM ? f->units_per_EM : 1000;
    return static_cast<int>(std::lround(static_cast<double>(widest) * pixelsPerEm / em));
}

base::Result<int> MaxDigitWidth(std::string_view family, double points) {
    if (!(points > 0)) return base::Status::Error(base::Sprintf("%s at %g points has no size", std::string(family), points));
    std::string file = FindFontFile(family);
    if (file.empty()) return base::Status::Error("fontconfig finds no font at all for " + std::string(family));
    auto metrics = FontMetrics::Open(file);
    if (!metrics) return metrics.GetStatus();
    return metrics.Value().MaxDigitPixels(points * 96 / 72);
}

}  // namespace fonts
