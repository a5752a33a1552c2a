// `velmar insert-blocks` end to end: a sheet of rows made into references of the sample drawing,
// then brought in line again after the sheet changed.

#include "attbat/authoring/InsertBlocksCommand.h"

#include <gtest/gtest.h>

#include "SampleRun.h"
#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "base/File.h"
#include "cad/BlockReference.h"
#include "cad/Text.h"
#include "cli/ExitCodes.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

struct InsertFixture : SampleRun {
    std::string rows = temp / "rows.xlsx";

    // A sheet "Rows" with a header row and two doors.
    InsertFixture() {
        Write({{"Block", "Position X", "Position Y", "MARK"}, {"DOOR", "100", "50", "D10"}, {"DOOR", "110", "50", "D11"}});
    }
    void Write(const std::vector<std::vector<std::string>>& cells) {
        excel::FileBackendOptions options;
        options.output = rows;
        options.force = true;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::StartExcel(false) && ExcelUtils::AddWorkbook());
        ExcelUtils::Worksheet->SetName("Rows");
        for (std::size_t r = 0; r < cells.size(); ++r)
            for (std::size_t c = 0; c < cells[r].size(); ++c)
                ExcelUtils::SetCellValue(static_cast<int>(r) + 1, static_cast<int>(c) + 1, cells[r][c]);
        ExcelUtils::Disconnect();
        ASSERT_TRUE(scope.Save());
    }
    int Insert(std::vector<std::string> options) {
        std::vector<std::string> args = {"--workbook", rows, "insert-blocks", "--block-name-column", "A",
                                         "--tags-from", "header-row", "--header-row", "1"};
        args.insert(args.end(), options.begin(), options.end());
        return Run(args);
    }
    // The MARK texts and X positions of the references made from the sheet, in drawing order.
    std::vector<std::pair<std::string, double>> Inserted() {
        std::vector<std::pair<std::string, double>> out;
        auto db = cad::Database::Open(drawing);
        EXPECT_TRUE(db);
        if (!db) return out;
        for (const cad::Entity& e : (*db)->Select({{0, "INSERT"}})) {
            if (cad::ParseHandle(e.HandleString()) < 0x14A) continue;
            cad::BlockReference ref(e.GetDatabase(), e.Index());
            out.emplace_back(ref.FindAttribute("MARK").TextString(), ref.Position().x);
        }
        return out;
    }
};

TEST(InsertBlocksCommand, TheRowsBecomeReferencesOfTheDrawing) {
    InsertFixture f;
    ASSERT_EQ(f.Insert({}), cli::exitOk) << f.Printed();
    EXPECT_EQ(f.Inserted(), (std::vector<std::pair<std::string, double>>{{"D10", 100}, {"D11", 110}}));
    EXPECT_TRUE(std::filesystem::exists(f.temp / "floor.bak"));
    EXPECT_NE(f.Printed().find("Insert block DOOR successfully."), std::string::npos);
}

TEST(InsertBlocksCommand, UpdateBringsTheReferencesInLineWithTheChangedSheet) {
    InsertFixture f;
    ASSERT_EQ(f.Insert({}), cli::exitOk) << f.Printed();
    f.Write({{"Block", "Position X", "Position Y", "MARK"}, {"DOOR", "100", "50", "D10"}, {"DOOR", "150", "50", "D11-NEW"}});
    ASSERT_EQ(f.Insert({"--update"}), cli::exitOk) << f.Printed();
    EXPECT_EQ(f.Inserted(), (std::vector<std::pair<std::string, double>>{{"D10", 100}, {"D11-NEW", 150}}));
    EXPECT_NE(f.Printed().find("Update the blocks successfully."), std::string::npos) << f.Printed();
}

TEST(InsertBlocksCommand, ADryRunWritesNothing) {
    InsertFixture f;
    const std::string before = base::ReadFile(f.drawing).Value();
    ASSERT_EQ(f.Insert({"--dry-run"}), cli::exitOk) << f.Printed();
    EXPECT_NE(f.Printed().find("Insert block DOOR successfully."), std::string::npos);
    EXPECT_NE(f.Printed().find("Nothing was written (dry run)."), std::string::npos);
    EXPECT_TRUE(base::ReadFile(f.drawing).Value() == before);
}

TEST(InsertBlocksCommand, TheInsertionPointMovesEachReferenceOfTheCurrentDrawing) {
    InsertFixture f;
    ASSERT_EQ(f.Insert({"--insertion-point-on-screen", "on", "--insertion-point", "5,6"}), cli::exitOk) << f.Printed();
    EXPECT_EQ(f.Inserted(), (std::vector<std::pair<std::string, double>>{{"D10", 5}, {"D11", 5}}));
}

TEST(InsertBlocksCommand, ValuesTheDialogRefusesEndTheCommand) {
    InsertFixture f;
    EXPECT_EQ(f.Run({"--workbook", f.rows, "insert-blocks", "--tags-from", "header-row", "--header-row", "0"}),
              cli::exitFailed);
    EXPECT_NE(f.Printed().find("Header Row is invalid."), std::string::npos) << f.Printed();
    EXPECT_EQ(f.Insert({"--insertion-point", "5;6"}), cli::exitUsage);
    EXPECT_EQ(f.Insert({"--burst-column", "7"}), cli::exitOk);
    EXPECT_EQ(f.Insert({"--drawing-path-column", "?"}), cli::exitUsage);
    EXPECT_EQ(f.Insert({"--worksheet", "Nope"}), cli::exitFailed);
    EXPECT_NE(f.Printed().find("has no sheet \"Nope\""), std::string::npos) << f.Printed();
}

}  // namespace
}  // namespace attbat
