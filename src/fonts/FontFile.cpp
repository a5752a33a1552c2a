#include "fonts/FontFile.h"

#include <fontconfig/fontconfig.h>

#include <filesystem>
#include <memory>

#include "base/Text.h"

namespace fonts {

namespace {

// The name without folder and extension, as fontconfig knows families ("arial.ttf" -> "arial").
std::string Family(std::string_view name) {
    std::filesystem::path path{std::string(name)};
    return path.stem().string();
}

struct PatternFree {
    void operator()(FcPattern* p) const { FcPatternDestroy(p); }
};
using Pattern = std::unique_ptr<FcPattern, PatternFree>;

}  // namespace

std::string FindFontFile(std::string_view name) {
    std::error_code error;
    if (!name.empty() && std::filesystem::is_regular_file(std::string(name), error)) return std::string(name);
    if (!FcInit()) return {};
    Pattern pattern(FcNameParse(reinterpret_cast<const FcChar8*>(Family(name).c_str())));
    if (!pattern) return {};
    FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    Pattern match(FcFontMatch(nullptr, pattern.get(), &result));
    if (!match) return {};
    FcChar8* file = nullptr;
    if (FcPatternGetString(match.get(), FC_FILE, 0, &file) != FcResultMatch || !file) return {};
    return reinterpret_cast<const char*>(file);
}

bool FontFileMatches(std::string_view name, std::string_view file) {
    if (base::EqualNoCase(Family(name), Family(file))) return true;
    if (!FcInit()) return false;
    // The family names the file gives itself.
    int count = 0;
    FcBlanks* blanks = nullptr;
    Pattern found(FcFreeTypeQuery(reinterpret_cast<const FcChar8*>(std::string(file).c_str()), 0, blanks, &count));
    if (!found) return false;
    FcChar8* family = nullptr;
    for (int i = 0; FcPatternGetString(found.get(), FC_FAMILY, i, &family) == FcResultMatch; ++i)
        if (family && base::EqualNoCase(reinterpret_cast<const char*>(family), Family(name))) return true;
    return false;
}

}  // namespace fonts
