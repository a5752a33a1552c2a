#include "xl/Styles.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

std::unique_ptr<xl::Styles> Loaded(const std::string& xml) {
    auto styles = std::make_unique<xl::Styles>();
    base::Status loaded = styles->Load(xml, "styles.xml");
    EXPECT_TRUE(loaded) << loaded.Message();
    return styles;
}

TEST(Styles, DefaultFontIsTheFirstFontOfTheStyleSheet) {
    // The first cell format uses the second font; the Normal style's is still the first.
    auto styles = Loaded(
        R"(<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)"
        R"(<fonts count="2"><font><sz val="10"/><name val="Arial"/></font>)"
        R"(<font><b/><sz val="14"/><name val="Cambria"/></font></fonts>)"
        R"(<cellXfs count="1"><xf fontId="1"/></cellXfs></styleSheet>)");
    EXPECT_EQ(styles->DefaultFontName(), "Arial");
    EXPECT_DOUBLE_EQ(styles->DefaultFontSize(), 10);
}

TEST(Styles, DefaultFontWithoutNameOrSizeHasTheProgramsDefaults) {
    auto styles = Loaded(
        R"(<x:styleSheet xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)"
        R"(<x:fonts count="1"><x:font><x:sz val="12.5"/></x:font></x:fonts></x:styleSheet>)");
    EXPECT_EQ(styles->DefaultFontName(), "Calibri");
    EXPECT_DOUBLE_EQ(styles->DefaultFontSize(), 12.5);
    auto bare = Loaded(R"(<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"/>)");
    EXPECT_EQ(bare->DefaultFontName(), "Calibri");
    EXPECT_DOUBLE_EQ(bare->DefaultFontSize(), 11);
}

TEST(Styles, NewStyleSheetHasCalibriEleven) {
    auto styles = Loaded("");
    EXPECT_EQ(styles->DefaultFontName(), "Calibri");
    EXPECT_DOUBLE_EQ(styles->DefaultFontSize(), 11);
}

}  // namespace
