#include "xl/NumberFormat.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    double value;
    const char* code;
    const char* text;
};

class NumberFormatCases : public ::testing::TestWithParam<Case> {};

TEST_P(NumberFormatCases, ShowsValueAsTheSpreadsheetDoes) {
    const Case& c = GetParam();
    EXPECT_EQ(xl::FormatNumber(c.value, c.code), c.text) << c.value << " with " << c.code;
}

const Case kCases[] = {
    // General: up to 11 characters, then scientific.
    {0, "General", "0"},
    {1, "General", "1"},
    {-1, "General", "-1"},
    {1.5, "General", "1.5"},
    {0.1, "General", "0.1"},
    {1.0 / 3, "General", "0.333333333"},
    {2.0 / 3, "General", "0.666666667"},
    {123456.789012345, "General", "123456.789"},
    {12345678901, "General", "12345678901"},
    {123456789012, "General", "1.23457E+11"},
    {1e15, "General", "1E+15"},
    {0.000123456789012, "General", "0.000123457"},
    {0.00001, "General", "0.00001"},
    {1.234e-8, "General", "1.234E-08"},
    {-1234.5, "General", "-1234.5"},
    {100, "General", "100"},
    {3.14159265358979, "General", "3.141592654"},
    // Integers and decimals.
    {1234.5678, "0", "1235"},
    {1234.5678, "0.00", "1234.57"},
    {0.5, "0", "1"},
    {-0.4, "0", "0"},
    {1234.5678, "#,##0", "1,235"},
    {1234567.891, "#,##0.00", "1,234,567.89"},
    {-1234567.891, "#,##0.00", "-1,234,567.89"},
    {0.25, "#.##", ".25"},
    {5, "#.##", "5."},
    {5.1, "0.0#", "5.1"},
    {5.123, "0.0#", "5.12"},
    {12, "000", "012"},
    {123456789, "000-00-0000", "123-45-6789"},
    {5551234, "[<=9999999]###-####;(###) ###-####", "555-1234"},
    {5125551234, "[<=9999999]###-####;(###) ###-####", "(512) 555-1234"},
    {1.5, "?.??", "1.5 "},
    {0, "#,##0", "0"},
    {0, "#", ""},
    // Thousands scaling.
    {1234567, "#,##0,", "1,235"},
    {1234567, "0.0,,", "1.2"},
    {12000, "#,##0,\"K\"", "12K"},
    // Percent.
    {0.123, "0%", "12%"},
    {0.1234, "0.00%", "12.34%"},
    {1, "0%", "100%"},
    {-0.05, "0.0%", "-5.0%"},
    // Scientific.
    {12345, "0.00E+00", "1.23E+04"},
    {0.00012345, "0.00E+00", "1.23E-04"},
    {12345, "##0.0E+0", "12.3E+3"},
    {1234567, "##0.0E+0", "1.2E+6"},
    {0, "0.00E+00", "0.00E+00"},
    {9.999, "0.0E+00", "1.0E+01"},
    // Sections.
    {5, "0;(0)", "5"},
    {-5, "0;(0)", "(5)"},
    {0, "0;(0);\"zero\"", "zero"},
    {-5, "0;-0;0", "-5"},
    {-1234, "#,##0 ;(#,##0)", "(1,234)"},
    {1234, "#,##0 ;(#,##0)", "1,234 "},
    {-1234.5, "#,##0.00;[Red](#,##0.00)", "(1,234.50)"},
    {1234.5, "$#,##0.00_);($#,##0.00)", "$1,234.50 "},
    {-1234.5, "$#,##0.00_);($#,##0.00)", "($1,234.50)"},
    {3, "[Blue]0;[Red]-0", "3"},
    {-3, "[Blue]0;[Red]-0", "-3"},
    // Conditions.
    {50, "[>100]\"big\";[<=100]\"small\"", "small"},
    {150, "[>100]\"big\";[<=100]\"small\"", "big"},
    {5, "[=1]\"one\";0", "5"},
    {1, "[=1]\"one\";0", "one"},
    // Literals and escapes.
    {5, "0\" units\"", "5 units"},
    {5, "\\$0", "$5"},
    {5, "0\\%", "5%"},
    {1234.5, "[$€-407] #,##0.00", "€ 1,234.50"},
    {42, "\"Total: \"0", "Total: 42"},
    {7, "_(0_)", " 7 "},
    // Fractions.
    {1.5, "# ?/?", "1 1/2"},
    {0.75, "# ?/?", " 3/4"},
    {2, "# ?/?", "2    "},
    {3.14159, "# ?\?/??", "3 14/99"},
    {0.5, "# ?\?/??", "  1/2 "},
    {0.333, "?/?", "1/3"},
    {1.25, "?/4", "5/4"},
    {0.5, "# ?/8", " 4/8"},
    {5.125, "0 ?/8", "5 1/8"},
    // Dates (1900 system).
    {1, "yyyy-mm-dd", "1900-01-01"},
    {60, "yyyy-mm-dd", "1900-02-29"},
    {61, "yyyy-mm-dd", "1900-03-01"},
    {45000, "yyyy-mm-dd", "2023-03-15"},
    {45000, "m/d/yyyy", "3/15/2023"},
    {45000, "d-mmm-yy", "15-Mar-23"},
    {45000, "d-mmm", "15-Mar"},
    {45000, "mmm-yy", "Mar-23"},
    {45000, "dddd, mmmm d, yyyy", "Wednesday, March 15, 2023"},
    {45000, "ddd", "Wed"},
    {45000, "mmmmm", "M"},
    {45000.5, "m/d/yyyy h:mm", "3/15/2023 12:00"},
    {0, "yyyy-mm-dd", "1900-01-00"},
    {36526, "dd.mm.yyyy", "01.01.2000"},
    {-1, "yyyy-mm-dd", "###########"},
    // Times.
    {0.5, "h:mm", "12:00"},
    {0.75, "h:mm AM/PM", "6:00 PM"},
    {0.25, "h:mm:ss AM/PM", "6:00:00 AM"},
    {0.999988426, "h:mm:ss", "23:59:59"},
    {0.5 + 1.0 / 1440, "hh:mm", "12:01"},
    {1.5, "[h]:mm:ss", "36:00:00"},
    {0.0104166667, "mm:ss", "15:00"},
    {0.00001157407, "mm:ss.0", "00:01.0"},
    {2.5, "[mm]", "3600"},
    {0.5, "h AM/PM", "12 PM"},
    {0.0, "h:mm a/p", "12:00 a"},
    // Text sections and @ with numbers.
    {5, "0;-0;0;\"text:\"@", "5"},
    {12.5, "@", "12.5"},
};

INSTANTIATE_TEST_SUITE_P(Documented, NumberFormatCases, ::testing::ValuesIn(kCases));

TEST(NumberFormat, AFractionWithANineDigitDenominatorIsFoundWithoutTryingEveryDenominator) {
    // A trial of every denominator took 20 s for one such cell of an Excel file.
    EXPECT_EQ(xl::FormatNumber(1.0 / 7, "?/?????????"), "1/7        ");
    EXPECT_EQ(xl::FormatNumber(2.75, "# ?/?????????"), "2 3/4        ");
    const std::string pi = xl::FormatNumber(3.14159265358979, "# ?????????" "/?????????");
    std::size_t slash = pi.find('/');
    ASSERT_NE(slash, std::string::npos) << pi;
    const double numerator = std::stod(pi.substr(2, slash - 2)), denominator = std::stod(pi.substr(slash + 1));
    EXPECT_LE(denominator, 999999999.0);
    EXPECT_NEAR(3 + numerator / denominator, 3.14159265358979, 1e-12) << pi;
}

TEST(NumberFormat, Date1904CountsFrom1904) {
    EXPECT_EQ(xl::FormatNumber(0, "yyyy-mm-dd", true), "1904-01-01");
    EXPECT_EQ(xl::FormatNumber(1, "yyyy-mm-dd", true), "1904-01-02");
}

TEST(NumberFormat, TextGoesThroughTheTextSection) {
    EXPECT_EQ(xl::FormatText("abc", "0;-0;0;\"[\"@\"]\""), "[abc]");
    EXPECT_EQ(xl::FormatText("abc", "\"Name: \"@"), "Name: abc");
    EXPECT_EQ(xl::FormatText("abc", "0.00"), "abc");
    EXPECT_EQ(xl::FormatText("abc", "General"), "abc");
}

TEST(NumberFormat, BuiltinIdsGiveTheirCodes) {
    EXPECT_EQ(xl::BuiltinFormatCode(0), "General");
    EXPECT_EQ(xl::BuiltinFormatCode(14), "m/d/yyyy");
    EXPECT_EQ(xl::BuiltinFormatCode(49), "@");
    EXPECT_EQ(xl::BuiltinFormatCode(300), "");
    EXPECT_EQ(xl::FormatNumber(1234.5, xl::BuiltinFormatCode(4)), "1,234.50");
}

TEST(NumberFormat, DateFormatsAreRecognised) {
    EXPECT_TRUE(xl::IsDateFormat("yyyy-mm-dd"));
    EXPECT_TRUE(xl::IsDateFormat("[h]:mm"));
    EXPECT_FALSE(xl::IsDateFormat("0.00"));
    EXPECT_FALSE(xl::IsDateFormat("\"day\" 0"));
}

}  // namespace
