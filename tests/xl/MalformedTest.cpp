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

const char kMainNs[] = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const char kWorkbookRelsWithStrings[] =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" "
    "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" "
    "Target=\"worksheets/sheet1.xml\"/>"
    "<Relationship Id=\"rId2\" "
    "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/sharedStrings\" "
    "Target=\"sharedStrings.xml\"/>"
    "</Relationships>";

std::string SheetXml(const std::string& rows) {
    return std::string("<worksheet xmlns=\"") + kMainNs + "\"><sheetData>" + rows +
           "</sheetData></worksheet>";
}

// A table of `count` strings "s0", "s1"...
std::string StringTable(int count) {
    std::string xml =
        std::string("<sst xmlns=\"") + kMainNs + "\" count=\"" + std::to_string(count) + "\">";
    for (int i = 0; i < count; ++i) xml += "<si><t>s" + std::to_string(i) + "</t></si>";
    return xml + "</sst>";
}

// A workbook whose sheet refers to a shared-string part; `strings` as given, or none at all.
std::string PackageWithStrings(const std::string& sheet, const std::string* strings) {
    std::vector<std::pair<std::string, std::string>> parts = {
        {"[Content_Types].xml", kTypes},
        {"_rels/.rels", kRootRels},
        {"xl/workbook.xml", kWorkbook},
        {"xl/_rels/workbook.xml.rels", kWorkbookRelsWithStrings},
        {"xl/worksheets/sheet1.xml", sheet}};
    if (strings) parts.emplace_back("xl/sharedStrings.xml", *strings);
    return MakeZip(parts);
}

// Overwrites `bytes` bytes at `offset` of the central directory record of `name` with `value`.
void PatchCentral(std::string& zip, const std::string& name, int offset, std::uint64_t value,
                  int bytes) {
    for (std::size_t at = zip.find(std::string("PK\x01\x02", 4)); at != std::string::npos;
         at = zip.find(std::string("PK\x01\x02", 4), at + 4)) {
        if (zip.compare(at + 46, name.size(), name) != 0) continue;
        for (int i = 0; i < bytes; ++i) zip[at + offset + i] = static_cast<char>(value >> (8 * i));
        return;
    }
    ADD_FAILURE() << "no entry " << name;
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
                "<dimension ref=\"A1:XFD1048576\"/><sheetData><row r=\"1048576\"><c "
                "r=\"XFD1048576\"><v>1</v></c></row>"
                "</sheetData></worksheet>"),
        "huge.xlsx");
    ASSERT_TRUE(book.IsOk());
    EXPECT_EQ((*book)->Sheet(0)->Text(1048576, 16384), "1");
    EXPECT_EQ((*book)->Sheet(0)->LastFilledRow(), 1048576);
}

TEST(Malformed, RowsAndCellsBeyondTheSheetAreErrorsNamingThePartAndReference) {
    const std::pair<const char*, const char*> cases[] = {
        {"<row r=\"99999999\"><c><v>1</v></c></row>", "\"99999999\""},
        {"<row r=\"1048577\"><c><v>1</v></c></row>", "\"1048577\""},
        {"<row r=\"1\"><c r=\"ZZZZ1\"><v>1</v></c></row>", "\"ZZZZ1\""},
        {"<row r=\"1\"><c r=\"XFE1\"><v>1</v></c></row>", "\"XFE1\""},
        {"<row r=\"1048576\"><c r=\"A1048576\"/></row><row><c><v>1</v></c></row>",
         "beyond the last row"},
        {"<row r=\"1\"><c r=\"XFD1\"/><c><v>1</v></c></row>", "beyond the last column"},
    };
    for (auto& [rows, reference] : cases) {
        SCOPED_TRACE(rows);
        auto book =
            xl::Workbook::OpenImage(Package(std::string("<worksheet "
                                                        "xmlns=\"http://schemas.openxmlformats.org/"
                                                        "spreadsheetml/2006/main\"><sheetData>") +
                                            rows + "</sheetData></worksheet>"),
                                    "far.xlsx");
        ASSERT_TRUE(book.IsOk());
        base::Status st = (*book)->Sheet(0)->Load();
        ASSERT_FALSE(st.IsOk());
        EXPECT_NE(st.Message().find("far.xlsx: xl/worksheets/sheet1.xml, row "), std::string::npos)
            << st.Message();
        EXPECT_NE(st.Message().find(reference), std::string::npos) << st.Message();
    }
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

TEST(Malformed, MalformedCellReferencesAreErrorsNamingThePartAndReference) {
    const std::pair<const char*, const char*> cases[] = {
        {"<row r=\"1\"><c r=\"A1:B2\"><v>1</v></c></row>", "\"A1:B2\""},
        {"<row r=\"1\"><c r=\"$B$1\"><v>1</v></c></row>", "\"$B$1\""},
        {"<row r=\"1\"><c r=\"A1x\"><v>1</v></c></row>", "\"A1x\""},
        {"<row r=\"1\"><c r=\"A 1\"><v>1</v></c></row>", "\"A 1\""},
        {"<row r=\"1\"><c r=\"B\"><v>1</v></c></row>", "\"B\""},
        {"<row r=\"1\"><c r=\"A0\"><v>1</v></c></row>", "\"A0\""},
        {"<row r=\"1\"><c r=\"\"><v>1</v></c></row>", "\"\""},
        {"<row r=\"1\"><c r=\"B3\"><v>1</v></c></row>", "\"B3\" names another row"},
        {"<row r=\"2x\"><c><v>1</v></c></row>", "\"2x\""},
        {"<row r=\"-1\"><c><v>1</v></c></row>", "\"-1\""},
        {"<row r=\"0\"><c><v>1</v></c></row>", "\"0\""},
    };
    for (auto& [rows, reference] : cases) {
        SCOPED_TRACE(rows);
        auto book = xl::Workbook::OpenImage(Package(SheetXml(rows)), "refs.xlsx");
        ASSERT_TRUE(book.IsOk());
        xl::Worksheet* s = (*book)->Sheet(0);
        base::Status st = s->Load();
        ASSERT_FALSE(st.IsOk());
        EXPECT_NE(st.Message().find("refs.xlsx: xl/worksheets/sheet1.xml, row "), std::string::npos)
            << st.Message();
        EXPECT_NE(st.Message().find(reference), std::string::npos) << st.Message();
        EXPECT_EQ(s->Values({1, 1, 3, 3}).size(), 0u);
        EXPECT_FALSE(s->SetNumber(1, 1, 5).IsOk());
    }
}

TEST(Malformed, LowerCaseAndMissingReferencesReadAsTheCellsTheyMean) {
    // LibreOffice reads lower-case references as the same cells; a missing r is the next cell.
    auto book = xl::Workbook::OpenImage(
        Package(SheetXml("<row r=\"2\"><c r=\"b2\"><v>1</v></c><c><v>2</v></c></row><row><c "
                         "r=\"a3\"><v>3</v></c></row>")),
        "lower.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    ASSERT_TRUE(s->Load().IsOk()) << s->Load().Message();
    EXPECT_EQ(s->Text(2, 2), "1");
    EXPECT_EQ(s->Text(2, 3), "2");
    EXPECT_EQ(s->Text(3, 1), "3");
    // The repair is said, once.
    std::vector<std::string> repairs = s->TakeRepairs();
    ASSERT_EQ(repairs.size(), 1u);
    EXPECT_NE(repairs[0].find("lower.xlsx: xl/worksheets/sheet1.xml: cell references in lower case (\"b2\")"),
              std::string::npos) << repairs[0];
    EXPECT_TRUE(s->TakeRepairs().empty());
}

TEST(Malformed, SharedStringIndexOutsideTheTableIsAnErrorNamingThePartAndCell) {
    const std::string table = StringTable(65);
    const std::pair<const char*, const char*> cases[] = {
        {"65", "cell B7: shared string 65 does not exist (the table has 65)"},
        {"4294967295", "cell B7: shared string 4294967295 does not exist (the table has 65)"},
        {"99999999999999999999999",
         "cell B7: the shared-string index \"99999999999999999999999\" is not a number"},
        {"-1", "cell B7: the shared-string index \"-1\" is not a number"},
        {"abc", "cell B7: the shared-string index \"abc\" is not a number"},
        {"1.5", "cell B7: the shared-string index \"1.5\" is not a number"},
    };
    for (auto& [index, message] : cases) {
        SCOPED_TRACE(index);
        std::string rows =
            std::string("<row r=\"7\"><c r=\"A7\" t=\"s\"><v>64</v></c><c r=\"B7\" t=\"s\"><v>") +
            index + "</v></c></row>";
        auto book = xl::Workbook::OpenImage(PackageWithStrings(SheetXml(rows), &table), "sst.xlsx");
        ASSERT_TRUE(book.IsOk());
        base::Status st = (*book)->Sheet(0)->Load();
        ASSERT_FALSE(st.IsOk());
        EXPECT_NE(st.Message().find(std::string("sst.xlsx: xl/worksheets/sheet1.xml, ") + message),
                  std::string::npos)
            << st.Message();
    }
    auto good = xl::Workbook::OpenImage(
        PackageWithStrings(SheetXml("<row r=\"7\"><c r=\"B7\" t=\"s\"><v>64</v></c></row>"),
                           &table),
        "sst.xlsx");
    ASSERT_TRUE(good.IsOk());
    EXPECT_TRUE((*good)->Sheet(0)->Load().IsOk());
    EXPECT_EQ((*good)->Sheet(0)->Text(7, 2), "s64");
}

TEST(Malformed, SharedStringCellsWithoutATableAreAnErrorAndNothingIsWritten) {
    auto book = xl::Workbook::OpenImage(
        Package(SheetXml("<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c></row>")), "nosst.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    base::Status st = s->Load();
    ASSERT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find(
                  "nosst.xlsx: xl/worksheets/sheet1.xml, cell A1: shared string 0 does not exist "
                  "(the workbook has no shared-string table)"),
              std::string::npos)
        << st.Message();
    EXPECT_FALSE(s->SetString(2, 1, "new").IsOk());
    EXPECT_FALSE(s->IsChanged());
    auto image = (*book)->SaveImage();
    ASSERT_TRUE(image.IsOk());
    auto again = xl::Workbook::OpenImage(*image, "again.xlsx");
    ASSERT_TRUE(again.IsOk());
    EXPECT_FALSE((*again)->GetPackage().Has("xl/sharedStrings.xml"));
}

TEST(Malformed, DamagedOrMissingSharedStringPartIsAnErrorNamingBothParts) {
    const std::string damaged = "<sst xmlns=\"x\"><si><t>a</t></si>";
    for (const std::string* strings : {&damaged, static_cast<const std::string*>(nullptr)}) {
        SCOPED_TRACE(strings ? "damaged" : "missing");
        auto book = xl::Workbook::OpenImage(
            PackageWithStrings(SheetXml("<row r=\"3\"><c r=\"C3\" t=\"s\"><v>0</v></c></row>"),
                               strings),
            "bad.xlsx");
        ASSERT_TRUE(book.IsOk());
        base::Status st = (*book)->Sheet(0)->Load();
        ASSERT_FALSE(st.IsOk());
        EXPECT_NE(st.Message().find("bad.xlsx: "), std::string::npos) << st.Message();
        EXPECT_NE(st.Message().find("xl/sharedStrings.xml"), std::string::npos) << st.Message();
        EXPECT_NE(st.Message().find("xl/worksheets/sheet1.xml, cell C3"), std::string::npos)
            << st.Message();
        EXPECT_EQ(st.Message().find("bad.xlsx", 1), std::string::npos)
            << "the file is named once: " << st.Message();
    }
}

TEST(Malformed, ADamagedStringTableTakesNoNewStringsFromAnotherSheet) {
    // The sheet itself holds no shared strings, but a new string would be added to a table that
    // can't be read, and a save would write the table over the damaged one.
    const std::string damaged = "<sst xmlns=\"x\"><si><t>a</t></si>";
    auto book = xl::Workbook::OpenImage(
        PackageWithStrings(SheetXml("<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>"), &damaged),
        "table.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    ASSERT_TRUE(s->Load().IsOk());
    base::Status st = s->SetString(2, 1, "text");
    ASSERT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("xl/sharedStrings.xml"), std::string::npos) << st.Message();
    EXPECT_TRUE(s->SetNumber(2, 1, 3).IsOk());
    auto image = (*book)->SaveImage();
    ASSERT_TRUE(image.IsOk());
    auto again = xl::Workbook::OpenImage(*image, "again.xlsx");
    ASSERT_TRUE(again.IsOk());
    EXPECT_EQ(*(*again)->GetPackage().Read("xl/sharedStrings.xml"), damaged);
}

TEST(Malformed, UnreadableSheetPartsAreErrorsNamingThePartAndNothingIsWritten) {
    const std::string sheet = SheetXml("<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>");
    struct Damage {
        const char* what;
        int offset;  // in the central directory record
        std::uint64_t value;
        int bytes;
        const char* message;
    };
    const Damage damages[] = {
        {"crc", 16, 0x12345678, 4, "CRC mismatch"},
        {"method", 10, 14, 2, "unsupported compression method 14"},
        {"encrypted", 8, 1, 2, "encrypted"},
        {"oversized", 24, xl::Package::kPartLimit + 1, 4, "allowed for one part"},
    };
    for (const Damage& d : damages) {
        SCOPED_TRACE(d.what);
        std::string zip = Package(sheet);
        PatchCentral(zip, "xl/worksheets/sheet1.xml", d.offset, d.value, d.bytes);
        auto book = xl::Workbook::OpenImage(zip, "damaged.xlsx");
        ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
        xl::Worksheet* s = (*book)->Sheet(0);
        base::Status st = s->Load();
        ASSERT_FALSE(st.IsOk());
        EXPECT_NE(st.Message().find("damaged.xlsx: part xl/worksheets/sheet1.xml: "),
                  std::string::npos)
            << st.Message();
        EXPECT_NE(st.Message().find(d.message), std::string::npos) << st.Message();
        EXPECT_TRUE(s->Values({1, 1, 1, 1}).empty());
        EXPECT_FALSE(s->SetString(1, 1, "x").IsOk());
        EXPECT_FALSE(s->ClearValue(1, 1).IsOk());
        EXPECT_FALSE(s->IsChanged());
    }
}

TEST(Malformed, ASheetThatIsNotAWorksheetIsAnError) {
    auto book = xl::Workbook::OpenImage(Package("<html><body/></html>"), "html.xlsx");
    ASSERT_TRUE(book.IsOk());
    base::Status st = (*book)->Sheet(0)->Load();
    ASSERT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("html.xlsx: xl/worksheets/sheet1.xml: the part holds <html>"),
              std::string::npos)
        << st.Message();
}

TEST(Malformed, DamagedWorkbookRelationshipsAreAnErrorNamingThePart) {
    std::vector<std::pair<std::string, std::string>> parts = {
        {"[Content_Types].xml", kTypes},
        {"_rels/.rels", kRootRels},
        {"xl/workbook.xml", kWorkbook},
        {"xl/_rels/workbook.xml.rels", "<Relationships><Relationship Id=\"rId1\""},
        {"xl/worksheets/sheet1.xml", SheetXml("")}};
    auto book = xl::Workbook::OpenImage(MakeZip(parts), "rels.xlsx");
    ASSERT_FALSE(book.IsOk());
    const std::string& message = book.GetStatus().Message();
    EXPECT_EQ(message.rfind("rels.xlsx: xl/_rels/workbook.xml.rels: malformed XML at byte ", 0), 0u)
        << message;
    EXPECT_EQ(message.find("rels.xlsx", 1), std::string::npos) << message;
}

TEST(Malformed, ASheetWithoutItsRelationshipNamesTheSheetAndRelationship) {
    std::vector<std::pair<std::string, std::string>> parts = {
        {"[Content_Types].xml", kTypes},
        {"_rels/.rels", kRootRels},
        {"xl/workbook.xml", kWorkbook},
        {"xl/_rels/workbook.xml.rels",
         "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"/>"},
        {"xl/worksheets/sheet1.xml", SheetXml("")}};
    auto book = xl::Workbook::OpenImage(MakeZip(parts), "norel.xlsx");
    ASSERT_TRUE(book.IsOk());
    base::Status st = (*book)->Sheet(0)->Load();
    ASSERT_FALSE(st.IsOk());
    EXPECT_EQ(st.Message(),
              "norel.xlsx: xl/workbook.xml names sheet \"S\" by relationship \"rId1\", which "
              "xl/_rels/workbook.xml.rels does not have");
}

TEST(Malformed, DamagedSheetRelationshipsAreAnErrorNamingThePart) {
    std::vector<std::pair<std::string, std::string>> parts = {
        {"[Content_Types].xml", kTypes},
        {"_rels/.rels", kRootRels},
        {"xl/workbook.xml", kWorkbook},
        {"xl/_rels/workbook.xml.rels", kWorkbookRels},
        {"xl/worksheets/sheet1.xml", SheetXml("")},
        {"xl/worksheets/_rels/sheet1.xml.rels", "<Relationships"}};
    auto book = xl::Workbook::OpenImage(MakeZip(parts), "sheetrels.xlsx");
    ASSERT_TRUE(book.IsOk());
    base::Status st = (*book)->Sheet(0)->Load();
    ASSERT_FALSE(st.IsOk());
    EXPECT_EQ(
        st.Message().rfind("sheetrels.xlsx: xl/worksheets/_rels/sheet1.xml.rels: malformed XML", 0),
        0u)
        << st.Message();
}

// A sheet with one note, its comments part given (or none) and its drawing.
std::string PackageWithNotes(const std::string* comments) {
    const std::string sheetRels =
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<Relationship Id=\"rId1\" "
        "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/comments\" "
        "Target=\"../comments1.xml\"/>"
        "<Relationship Id=\"rId2\" "
        "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/vmlDrawing\" "
        "Target=\"../drawings/vmlDrawing1.vml\"/>"
        "</Relationships>";
    const std::string sheet =
        std::string("<worksheet xmlns=\"") + kMainNs +
        "\" "
        "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/"
        "relationships\"><sheetData>"
        "<row r=\"1\"><c r=\"A1\"><v>1</v></c></row></sheetData><legacyDrawing "
        "r:id=\"rId2\"/></worksheet>";
    std::vector<std::pair<std::string, std::string>> parts = {
        {"[Content_Types].xml", kTypes},
        {"_rels/.rels", kRootRels},
        {"xl/workbook.xml", kWorkbook},
        {"xl/_rels/workbook.xml.rels", kWorkbookRels},
        {"xl/worksheets/sheet1.xml", sheet},
        {"xl/worksheets/_rels/sheet1.xml.rels", sheetRels},
        {"xl/drawings/vmlDrawing1.vml",
         "<xml xmlns:v=\"urn:schemas-microsoft-com:vml\"><v:shape id=\"button\"/></xml>"}};
    if (comments) parts.emplace_back("xl/comments1.xml", *comments);
    return MakeZip(parts);
}

const char kComments[] =
    "<comments "
    "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><authors><author>a</"
    "author></authors>"
    "<commentList><comment ref=\"A1\" "
    "authorId=\"0\"><text><t>kept</t></text></comment></commentList></comments>";

TEST(Malformed, DamagedOrMissingNotesAreAnErrorAndNoNoteIsWrittenOverThem) {
    const std::string damaged = std::string(kComments).substr(0, 120);
    for (const std::string* comments : {&damaged, static_cast<const std::string*>(nullptr)}) {
        SCOPED_TRACE(comments ? "damaged" : "missing");
        auto book = xl::Workbook::OpenImage(PackageWithNotes(comments), "notes.xlsx");
        ASSERT_TRUE(book.IsOk());
        xl::Worksheet* s = (*book)->Sheet(0);
        ASSERT_TRUE(s->Load().IsOk());
        base::Status st = s->LoadNotes();
        ASSERT_FALSE(st.IsOk());
        EXPECT_EQ(st.Message().rfind("notes.xlsx: ", 0), 0u) << st.Message();
        EXPECT_NE(st.Message().find("xl/comments1.xml"), std::string::npos) << st.Message();
        EXPECT_TRUE(s->Notes().empty());
        EXPECT_FALSE(s->SetNote(2, 1, "new").IsOk());
        auto image = (*book)->SaveImage();
        ASSERT_TRUE(image.IsOk());
        auto again = xl::Workbook::OpenImage(*image, "again.xlsx");
        ASSERT_TRUE(again.IsOk());
        if (comments)
            EXPECT_EQ(*(*again)->GetPackage().Read("xl/comments1.xml"), damaged);
        else
            EXPECT_FALSE((*again)->GetPackage().Has("xl/comments1.xml"));
    }
}

TEST(Malformed, ACommentsPartWhoseCrcIsWrongIsAnErrorThoughItsTextReads) {
    const std::string comments = kComments;
    std::string zip = PackageWithNotes(&comments);
    PatchCentral(zip, "xl/comments1.xml", 16, 0x12345678, 4);
    auto book = xl::Workbook::OpenImage(zip, "notes.xlsx");
    ASSERT_TRUE(book.IsOk());
    base::Status st = (*book)->Sheet(0)->LoadNotes();
    ASSERT_FALSE(st.IsOk());
    EXPECT_EQ(st.Message(), "notes.xlsx: part xl/comments1.xml: CRC mismatch, the data is damaged");
    EXPECT_TRUE((*book)->Sheet(0)->Notes().empty());
}

TEST(Malformed, ABigSheetDamagedInTheMiddleIsAnErrorNamingThePartAndSheet) {
    // The damage is met after some pieces of the part were read: the rows read so far are not kept.
    std::string rows;
    for (int r = 1; r <= 50000; ++r)
        rows += "<row r=\"" + std::to_string(r) + "\"><c r=\"A" + std::to_string(r) + "\"><v>" +
                std::to_string(r * 7919 % 100003) + "</v></c></row>";
    std::string zip = Package(SheetXml(rows));
    auto reader = xl::ZipReader::Open(zip, "big.xlsx");
    ASSERT_TRUE(reader.IsOk());
    for (const xl::ZipEntry& e : reader->Entries())
        if (e.name == "xl/worksheets/sheet1.xml")
            for (std::uint64_t at = e.dataOffset + e.compressedSize / 2; at < e.dataOffset + e.compressedSize / 2 + 64; ++at)
                zip[at] = static_cast<char>(zip[at] ^ 0x5A);
    auto book = xl::Workbook::OpenImage(zip, "big.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    base::Status st = s->Load();
    ASSERT_FALSE(st.IsOk());
    EXPECT_EQ(st.Message().rfind("big.xlsx: part xl/worksheets/sheet1.xml: ", 0), 0u) << st.Message();
    EXPECT_NE(st.Message().find("(sheet \"S\")"), std::string::npos) << st.Message();
    EXPECT_EQ(s->Text(1, 1), "");
    EXPECT_FALSE(s->SetString(1, 1, "x").IsOk());
}

TEST(Malformed, ANoteIsNotSavedOverADrawingThatCantBeRead) {
    const std::string comments = kComments;
    std::string zip = PackageWithNotes(&comments);
    PatchCentral(zip, "xl/drawings/vmlDrawing1.vml", 16, 0x12345678, 4);
    auto book = xl::Workbook::OpenImage(zip, "vml.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    ASSERT_TRUE(s->LoadNotes().IsOk()) << s->LoadNotes().Message();
    ASSERT_EQ(s->Notes().size(), 1u);
    ASSERT_TRUE(s->SetNote(2, 1, "new").IsOk());
    auto image = (*book)->SaveImage();
    ASSERT_FALSE(image.IsOk());
    EXPECT_NE(image.GetStatus().Message().find(
                  "vml.xlsx: part xl/drawings/vmlDrawing1.vml: CRC mismatch"),
              std::string::npos)
        << image.GetStatus().Message();
}

TEST(Malformed, NumbersAndBooleansThatCantBeReadAreErrorsNamingThePartAndCell) {
    const std::pair<const char*, const char*> cases[] = {
        {"<c r=\"C4\"><v>12abc</v></c>", "cell C4: the number \"12abc\" can't be read"},
        {"<c r=\"C4\"><v>abc</v></c>", "cell C4: the number \"abc\" can't be read"},
        {"<c r=\"C4\"><v>1,5</v></c>", "cell C4: the number \"1,5\" can't be read"},
        {"<c r=\"C4\" t=\"b\"><v>2</v></c>", "cell C4: the boolean \"2\" is neither 0 nor 1"},
    };
    for (auto& [cell, message] : cases) {
        SCOPED_TRACE(cell);
        auto book = xl::Workbook::OpenImage(
            Package(SheetXml(std::string("<row r=\"4\">") + cell + "</row>")), "num.xlsx");
        ASSERT_TRUE(book.IsOk());
        base::Status st = (*book)->Sheet(0)->Load();
        ASSERT_FALSE(st.IsOk());
        EXPECT_NE(st.Message().find(std::string("num.xlsx: xl/worksheets/sheet1.xml, ") + message),
                  std::string::npos)
            << st.Message();
    }
}

TEST(Malformed, NumbersInEveryWrittenFormRead) {
    auto book = xl::Workbook::OpenImage(
        Package(SheetXml(
            "<row r=\"1\"><c r=\"A1\"><v>1.00000000</v></c><c r=\"B1\"><v>-1.5E+300</v></c>"
            "<c r=\"C1\"><v>\n  7\n</v></c><c r=\"D1\"><v>+2</v></c><c r=\"E1\"><v>1E-400</v></c>"
            "<c r=\"F1\" t=\"b\"><v>true</v></c><c r=\"G1\"><f>NA()</f><v></v></c></row>")),
        "forms.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    ASSERT_TRUE(s->Load().IsOk()) << s->Load().Message();
    EXPECT_EQ(s->Value(1, 1).number, 1);
    EXPECT_EQ(s->Value(1, 2).number, -1.5e300);
    EXPECT_EQ(s->Value(1, 3).number, 7);
    EXPECT_EQ(s->Value(1, 4).number, 2);
    EXPECT_EQ(s->Value(1, 6).number, 1);
}

TEST(Malformed, ACellGivenTwiceWithDifferentContentsIsAnError) {
    auto book = xl::Workbook::OpenImage(
        Package(SheetXml("<row r=\"1\"><c r=\"B1\"><v>1</v></c></row><row r=\"1\"><c r=\"A1\"/><c><v>3</v></c></row>")),
        "twice.xlsx");
    ASSERT_TRUE(book.IsOk());
    base::Status st = (*book)->Sheet(0)->Load();
    ASSERT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("twice.xlsx: xl/worksheets/sheet1.xml, cell B1: the cell is given twice with "
                                "different contents"),
              std::string::npos)
        << st.Message();
}

TEST(Malformed, ACellGivenTwiceKeepsTheOneThatHoldsSomething) {
    auto book = xl::Workbook::OpenImage(
        Package(SheetXml("<row r=\"1\"><c r=\"A1\" t=\"str\"><v></v></c><c r=\"B1\"><v>2</v></c></row>"
                         "<row r=\"1\"><c r=\"A1\" t=\"str\"><v>Long</v></c><c r=\"B1\" s=\"0\"/></row>"
                         "<row r=\"1\"><c r=\"B1\"><v>2</v></c></row>")),
        "twice.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    ASSERT_TRUE(s->Load().IsOk()) << s->Load().Message();
    EXPECT_EQ(s->Text(1, 1), "Long");
    EXPECT_EQ(s->Text(1, 2), "2");
}

}  // namespace
