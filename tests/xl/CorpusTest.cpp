// Every workbook of the corpus loads (or fails with a clear message), and an unchanged save
// copies every part as it was.

#include <gtest/gtest.h>

#include <filesystem>

#include "base/File.h"
#include "xl/Package.h"
#include "xl/Workbook.h"
#include "xl/Zip.h"

namespace {

std::vector<std::string> CorpusFiles() {
    std::vector<std::string> out;
    for (auto& e : std::filesystem::directory_iterator(std::string(VELMAR_CORPUS) + "/xlsx")) {
        std::string ext = e.path().extension().string();
        if (ext == ".xlsx" || ext == ".xlsm") out.push_back(e.path().string());
    }
    std::sort(out.begin(), out.end());
    return out;
}

bool IsBad(const std::string& path) {
    return std::filesystem::path(path).filename().string().rfind("bad-", 0) == 0;
}

// A workbook held as a copy of its file, and one read through a map of it.
using Opener = base::Result<std::unique_ptr<xl::Workbook>> (*)(const std::string&);
const std::pair<const char*, Opener> kOpeners[] = {{"copied", &xl::Workbook::Open},
                                                   {"mapped", &xl::Workbook::OpenMapped}};

TEST(Corpus, EveryGoodFileLoadsWithAllSheetsAndSavesUnchangedPartsAsTheyWere) {
    for (const auto& [how, open] : kOpeners) {
        for (const std::string& path : CorpusFiles()) {
            if (IsBad(path)) continue;
            SCOPED_TRACE(path + " " + how);
            auto book = open(path);
            ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
            for (int i = 0; i < (*book)->SheetCount(); ++i) {
                xl::Worksheet* s = (*book)->Sheet(i);
                if (s->Kind() != xl::SheetKind::Worksheet) continue;
                EXPECT_TRUE(s->Load().IsOk()) << s->Load().Message();
                (void)s->Texts(
                    {1, 1, std::max(1, s->LastFilledRow()), std::max(1, s->LastFilledColumn())});
                EXPECT_TRUE(s->LoadNotes().IsOk()) << s->LoadNotes().Message();
                (void)s->Notes();
            }
            auto image = (*book)->SaveImage();
            ASSERT_TRUE(image.IsOk());
            auto original = xl::ZipReader::Open(*base::ReadFile(path), path);
            auto saved = xl::ZipReader::Open(*image, "saved");
            ASSERT_TRUE(saved.IsOk());
            ASSERT_EQ(original->Entries().size(), saved->Entries().size());
            for (std::size_t k = 0; k < original->Entries().size(); ++k) {
                const xl::ZipEntry& a = original->Entries()[k];
                const xl::ZipEntry& b = saved->Entries()[k];
                EXPECT_EQ(a.name, b.name);
                EXPECT_EQ(a.crc, b.crc);
                EXPECT_EQ(original->RawData(a), saved->RawData(b)) << a.name;
            }
        }
    }
}

TEST(Corpus, EditedFilesKeepTheirOtherPartsAndShowTheEdit) {
    for (const auto& [how, open] : kOpeners) {
        for (const std::string& path : CorpusFiles()) {
            if (IsBad(path)) continue;
            SCOPED_TRACE(path + " " + how);
            auto book = open(path);
            ASSERT_TRUE(book.IsOk());
            xl::Worksheet* sheet = nullptr;
            for (int i = 0; i < (*book)->SheetCount() && !sheet; ++i) {
                xl::Worksheet* s = (*book)->Sheet(i);
                if (s->Kind() == xl::SheetKind::Worksheet && s->Load()) sheet = s;
            }
            if (!sheet) continue;
            int row = sheet->LastFilledRow() + 2;
            sheet->SetString(row, 1, "velmar edit");
            sheet->SetNote(row, 1, "velmar note");
            std::size_t notes = sheet->Notes().size();
            auto image = (*book)->SaveImage();
            ASSERT_TRUE(image.IsOk()) << image.GetStatus().Message();
            auto again = xl::Workbook::OpenImage(*image, "edited");
            ASSERT_TRUE(again.IsOk()) << again.GetStatus().Message();
            xl::Worksheet* s2 = (*again)->FindSheet(sheet->Name());
            ASSERT_NE(s2, nullptr);
            EXPECT_EQ(s2->Text(row, 1), "velmar edit");
            EXPECT_EQ(s2->Notes().size(), notes);
            EXPECT_EQ((*again)->SheetCount(), (*book)->SheetCount());
            std::vector<std::string> before = (*book)->GetPackage().PartNames();
            for (const std::string& p : before) EXPECT_TRUE((*again)->GetPackage().Has(p)) << p;
        }
    }
}

struct BadCase {
    const char* file;
    bool loads;              // lenient: the workbook opens
    const char* message;     // part of the error when it doesn't
};

TEST(Corpus, BadFilesLoadLenientlyOrGiveClearErrors) {
    const BadCase cases[] = {
        {"bad-absolute-targets-psmdcp.xlsx", true, ""},
        {"bad-backslash-zip-paths.xlsx", true, ""},
        {"bad-broken-zip-central-directory.xlsx", false, "bad-broken-zip-central-directory.xlsx"},
        {"bad-corrupted-root-rels.xlsx", false, "_rels/.rels"},
        {"bad-duplicate-row-elements.xlsx", true, ""},
        {"bad-encrypted-cfb-not-zip.xlsx", false, "encrypted"},
        {"bad-lowercase-cell-refs.xlsx", true, ""},
        {"bad-mixed-case-part-names.xlsx", true, ""},
        {"bad-no-row-cell-refs-inline-strings.xlsx", true, ""},
        {"bad-workbook-at-package-root.xlsx", true, ""},
        {"bad-wrong-dimension.xlsx", true, ""},
        {"bad-xml-entity-bomb-sst.xlsx", true, ""},
        {"bad-zip-without-ooxml-parts.xlsx", false, "[Content_Types].xml is missing"},
    };
    for (const auto& [how, open] : kOpeners) {
        for (const BadCase& c : cases) {
            SCOPED_TRACE(std::string(c.file) + " " + how);
            auto book = open(std::string(VELMAR_CORPUS) + "/xlsx/" + c.file);
            EXPECT_EQ(book.IsOk(), c.loads) << (book ? "" : book.GetStatus().Message());
            if (!book) {
                EXPECT_NE(book.GetStatus().Message().find(c.message), std::string::npos)
                    << book.GetStatus().Message();
                continue;
            }
            for (int i = 0; i < (*book)->SheetCount(); ++i) {
                xl::Worksheet* s = (*book)->Sheet(i);
                (void)s->Texts(
                    {1, 1, std::max(1, s->LastFilledRow()), std::max(1, s->LastFilledColumn())});
            }
            EXPECT_TRUE((*book)->SaveImage().IsOk());
        }
    }
}

TEST(Corpus, EntityBombIsNotExpanded) {
    auto book = xl::Workbook::Open(std::string(VELMAR_CORPUS) + "/xlsx/bad-xml-entity-bomb-sst.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    // The references stay as written: nothing of the declared entities is substituted.
    std::string text = s->Text(1, 1);
    EXPECT_EQ(text.rfind("test123&a5;", 0), 0u);
    EXPECT_EQ(text.find("aaaa"), std::string::npos);
}

TEST(Corpus, DuplicateRowElementsMergeIntoOneRow) {
    auto book = xl::Workbook::Open(std::string(VELMAR_CORPUS) + "/xlsx/bad-duplicate-row-elements.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    EXPECT_EQ(s->Text(1, 1), "London Metal Exchange");
    EXPECT_GT(s->LastFilledColumn(), 2);
}

TEST(Corpus, StrictIsoDateCellsShowAsDates) {
    auto book = xl::Workbook::Open(std::string(VELMAR_CORPUS) + "/xlsx/excel2016-strict-iso-dates-bools-formulas.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    int dates = 0;
    for (auto& row : s->Values({1, 1, s->LastFilledRow(), s->LastFilledColumn()}))
        for (auto& v : row) dates += v.type == xl::CellType::Number && v.number > 30000;
    EXPECT_GT(dates, 0);
}

}  // namespace
