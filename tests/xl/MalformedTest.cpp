// Damaged and hostile input: each gives a clear error or loads leniently, never a crash and
// never unbounded memory. Run under AddressSanitizer by test_xl_asan as well.

#include <gtest/gtest.h>

#include "xl/Package.h"
#include "xl/Workbook.h"
#include "xl/Zip.h"

namespace {

std::string MakeZip(const std::vector<std::pair<std::string, std::string>>& parts) {
    xl::ZipWriter w;
    for (auto& [name, data] : parts) w.Add(name, data);
    return w.Finish();
}

const char kTypes[] =
    "<?xml version=\"1.0\"?><Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
    "<Default Extension=\"xml\" ContentType=\"application/xml\"/></Types>";
const char kRootRels[] =
    "<?xml version=\"1.0\"?><Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>";
const char kWorkbook[] =
    "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\"><sheets>"
    "<sheet name=\"S\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>";
const char kWorkbookRels[] =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" Target=\"worksheets/sheet1.xml\"/></Relationships>";

std::string Package(const std::string& sheet, bool withSheet = true) {
    std::vector<std::pair<std::string, std::string>> parts = {
        {"[Content_Types].xml", kTypes}, {"_rels/.rels", kRootRels}, {"xl/workbook.xml", kWorkbook},
        {"xl/_rels/workbook.xml.rels", kWorkbookRels}};
    if (withSheet) parts.emplace_back("xl/worksheets/sheet1.xml", sheet);
    return MakeZip(parts);
}

TEST(Malformed, TruncatedZipGivesAClearError) {
    std::string zip = Package("<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData/></worksheet>");
    for (std::size_t cut : {std::size_t(10), zip.size() / 2, zip.size() - 10}) {
        auto book = xl::Workbook::OpenImage(zip.substr(0, cut), "cut.xlsx");
        if (!book) { EXPECT_NE(book.GetStatus().Message().find("cut.xlsx"), std::string::npos); }
    }
}

TEST(Malformed, BadXmlNamesThePartAndOffset) {
    auto book = xl::Workbook::OpenImage(Package("<worksheet><sheetData><row></worksheet>"), "bad.xlsx");
    ASSERT_TRUE(book.IsOk());
    base::Status st = (*book)->Sheet(0)->Load();
    EXPECT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("xl/worksheets/sheet1.xml"), std::string::npos) << st.Message();
    EXPECT_NE(st.Message().find("byte"), std::string::npos);
    EXPECT_EQ((*book)->Sheet(0)->Text(1, 1), "");
}

TEST(Malformed, MissingSheetPartIsReportedWhenUsed) {
    auto book = xl::Workbook::OpenImage(Package("", false), "nosheet.xlsx");
    ASSERT_TRUE(book.IsOk());
    base::Status st = (*book)->Sheet(0)->Load();
    EXPECT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("missing"), std::string::npos) << st.Message();
}

TEST(Malformed, WrongContentTypesStillFindTheWorkbookByRelationship) {
    auto book = xl::Workbook::OpenImage(
        Package("<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
                "<row r=\"1\"><c r=\"A1\"><v>7</v></c></row></sheetData></worksheet>"),
        "types.xlsx");
    ASSERT_TRUE(book.IsOk());
    EXPECT_EQ((*book)->Sheet(0)->Text(1, 1), "7");
}

TEST(Malformed, HugeDimensionAndFarCellsStayBounded) {
    auto book = xl::Workbook::OpenImage(
        Package("<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
                "<dimension ref=\"A1:XFD1048576\"/><sheetData><row r=\"1048576\"><c r=\"XFD1048576\"><v>1</v></c></row>"
                "<row r=\"99999999\"><c r=\"ZZZZ1\"><v>1</v></c></row></sheetData></worksheet>"),
        "huge.xlsx");
    ASSERT_TRUE(book.IsOk());
    EXPECT_EQ((*book)->Sheet(0)->Text(1048576, 16384), "1");
    EXPECT_EQ((*book)->Sheet(0)->LastFilledRow(), 1048576);
}

TEST(Malformed, ZipBombIsRefused) {
    // A deflated entry whose header lies about its size.
    xl::ZipWriter w;
    w.Add("[Content_Types].xml", std::string(100000, ' '));
    std::string zip = w.Finish();
    auto reader = xl::ZipReader::Open(zip, "bomb.xlsx");
    ASSERT_TRUE(reader.IsOk());
    xl::ZipEntry e = reader->Entries()[0];
    e.size = 100;
    auto data = reader->Extract(e, 1 << 20);
    EXPECT_FALSE(data.IsOk());
    EXPECT_NE(data.GetStatus().Message().find("zip bomb"), std::string::npos);
    e.size = 1ull << 40;
    EXPECT_FALSE(reader->Extract(e, xl::Package::kPartLimit).IsOk());
}

TEST(Malformed, NotAZipIsNamedAsSuch) {
    auto book = xl::Workbook::OpenImage("hello, this is text", "text.xlsx");
    ASSERT_FALSE(book.IsOk());
    EXPECT_NE(book.GetStatus().Message().find("not a zip"), std::string::npos);
}

TEST(Malformed, EntityDeclarationsAreNeverExpanded) {
    auto book = xl::Workbook::OpenImage(
        Package("<?xml version=\"1.0\"?><!DOCTYPE w [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;\">]>"
                "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
                "<row r=\"1\"><c r=\"A1\" t=\"inlineStr\"><is><t>&b;&b;&b;</t></is></c></row></sheetData></worksheet>"),
        "entity.xlsx");
    ASSERT_TRUE(book.IsOk());
    EXPECT_LT((*book)->Sheet(0)->Text(1, 1).size(), 20u);
}

TEST(Malformed, Zip64ArchivesRoundTrip) {
    // Over 65535 entries forces the zip64 end records.
    xl::ZipWriter w;
    for (int i = 0; i < 70000; ++i) w.Add("p" + std::to_string(i), "");
    std::string zip = w.Finish();
    auto reader = xl::ZipReader::Open(zip, "many.zip");
    ASSERT_TRUE(reader.IsOk()) << reader.GetStatus().Message();
    EXPECT_EQ(reader->Entries().size(), 70000u);
}

TEST(Malformed, RelationshipTargetsResolveAbsoluteAndRelative) {
    EXPECT_EQ(xl::Package::ResolveTarget("xl/workbook.xml", "worksheets/sheet1.xml"), "xl/worksheets/sheet1.xml");
    EXPECT_EQ(xl::Package::ResolveTarget("xl/workbook.xml", "/xl/styles.xml"), "xl/styles.xml");
    EXPECT_EQ(xl::Package::ResolveTarget("xl/worksheets/sheet1.xml", "../comments1.xml"), "xl/comments1.xml");
    EXPECT_EQ(xl::Package::ResolveTarget("", "xl/workbook.xml"), "xl/workbook.xml");
    EXPECT_EQ(xl::Package::RelsPartName("xl/workbook.xml"), "xl/_rels/workbook.xml.rels");
    EXPECT_EQ(xl::Package::RelsPartName(""), "_rels/.rels");
}

}  // namespace
