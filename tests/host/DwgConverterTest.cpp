#include "host/DwgConverter.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "TempFolder.h"
#include "base/File.h"
#include "host/Document.h"

namespace {

// The "DWG" of these tests is a DXF under another name; the stand-in converters copy it.
constexpr const char* copyConverter = "cp {in} {out}";

struct DwgConverterTest : ::testing::Test {
    ~DwgConverterTest() override {
        host::DocumentManager::Instance().CloseAll();
        host::SetDwgConverters({});
    }
    // The corpus drawing as a "DWG" named `name`.
    std::string Dwg(const std::string& name = "plan.dwg") {
        std::string target = dir.File(name);
        std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/attribute-ac1032.dxf", target);
        return target;
    }
    // The drawing read through the converters, with one header value changed.
    static std::unique_ptr<cad::Database> ReadAndChange(const std::string& dwg) {
        auto db = host::ReadSideDatabase(dwg);
        EXPECT_TRUE(db) << db.GetStatus().Message();
        if (!db) return nullptr;
        EXPECT_TRUE(db.Value()->SetHeader("$LUNITS", {{70, "4"}}));
        return std::move(db.Value());
    }
    static std::string Bytes(const std::string& path) {
        auto bytes = base::ReadFile(path);
        return bytes ? bytes.Value() : std::string();
    }
    TempFolder dir;
};

TEST_F(DwgConverterTest, WithoutAConverterADwgIsRefusedNamingTheOption) {
    std::string dwg = Dwg();
    auto db = host::ReadSideDatabase(dwg);
    ASSERT_FALSE(db);
    EXPECT_NE(db.GetStatus().Message().find("DWG files can't be read here"), std::string::npos);
    EXPECT_NE(db.GetStatus().Message().find("--dwg-converter"), std::string::npos);
    auto doc = host::DocumentManager::Instance().OpenCurrent(dwg, host::ReadKind::OnFirstUse);
    EXPECT_FALSE(doc);
}

TEST_F(DwgConverterTest, ConverterReadsTheDrawingUnderItsDwgName) {
    std::string dwg = Dwg();
    host::SetDwgConverters({copyConverter, ""});
    auto db = host::ReadSideDatabase(dwg);
    ASSERT_TRUE(db) << db.GetStatus().Message();
    EXPECT_EQ(db.Value()->FileName(), dwg);
    auto direct = cad::Database::Open(dwg);
    ASSERT_TRUE(direct);
    EXPECT_EQ(db.Value()->Blocks().size(), direct.Value()->Blocks().size());
    // The current document is converted at its first use.
    auto doc = host::DocumentManager::Instance().OpenCurrent(dwg, host::ReadKind::OnFirstUse);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    EXPECT_TRUE((*doc)->Load()) << (*doc)->Load().Message();
    EXPECT_EQ((*doc)->Database().Blocks().size(), direct.Value()->Blocks().size());
}

TEST_F(DwgConverterTest, PathsWithBlanksAndQuotesReachTheConverterWhole) {
    std::string dwg = Dwg("it's a plan.dwg");
    host::SetDwgConverters({copyConverter, ""});
    auto db = host::ReadSideDatabase(dwg);
    EXPECT_TRUE(db) << db.GetStatus().Message();
}

TEST_F(DwgConverterTest, FailingConverterIsReportedWithItsCommandAndStatus) {
    std::string dwg = Dwg();
    host::SetDwgConverters({"exit 3; {in} {out}", ""});
    auto db = host::ReadSideDatabase(dwg);
    ASSERT_FALSE(db);
    EXPECT_NE(db.GetStatus().Message().find(dwg + ": the DWG converter failed (exit status 3)"), std::string::npos)
        << db.GetStatus().Message();
}

TEST_F(DwgConverterTest, ConverterThatMakesNoFileIsReported) {
    std::string dwg = Dwg();
    host::SetDwgConverters({"true {in} {out}", ""});
    auto db = host::ReadSideDatabase(dwg);
    ASSERT_FALSE(db);
    EXPECT_NE(db.GetStatus().Message().find("made no file"), std::string::npos);
}

TEST_F(DwgConverterTest, MissingDwgIsReportedBeforeAnyConversion) {
    host::SetDwgConverters({copyConverter, ""});
    auto doc = host::DocumentManager::Instance().OpenCurrent(dir.File("gone.dwg"), host::ReadKind::OnFirstUse);
    ASSERT_FALSE(doc);
    EXPECT_NE(doc.GetStatus().Message().find("no such drawing"), std::string::npos);
}

TEST_F(DwgConverterTest, ChangedDwgWithoutAWayBackIsRefusedAndLeftAsItWas) {
    std::string dwg = Dwg();
    std::string before = Bytes(dwg);
    host::SetDwgConverters({copyConverter, ""});
    auto db = ReadAndChange(dwg);
    ASSERT_TRUE(db);
    base::Status saved = host::SaveSideDatabase(*db);
    ASSERT_FALSE(saved);
    EXPECT_NE(saved.Message().find("no DXF to DWG converter is set (--dxf-to-dwg-converter"), std::string::npos);
    EXPECT_EQ(Bytes(dwg), before);
    EXPECT_FALSE(std::filesystem::exists(dir.File("plan.bak")));
}

TEST_F(DwgConverterTest, ChangedDwgIsWrittenBackThroughTheReverseConverterKeepingTheBackup) {
    std::string dwg = Dwg();
    std::string before = Bytes(dwg);
    host::SetDwgConverters({copyConverter, copyConverter});
    auto db = ReadAndChange(dwg);
    ASSERT_TRUE(db);
    ASSERT_TRUE(host::SaveSideDatabase(*db)) << host::SaveSideDatabase(*db).Message();
    EXPECT_EQ(Bytes(dir.File("plan.bak")), before);
    auto reread = cad::Database::Open(dwg);
    ASSERT_TRUE(reread);
    EXPECT_EQ(reread.Value()->HeaderText("$LUNITS"), "4");
    // Nothing of the conversion is left beside the drawing.
    int files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.Path())) ++files;
    EXPECT_EQ(files, 2);
}

TEST_F(DwgConverterTest, FailingReverseConverterLeavesTheDwgAsItWas) {
    std::string dwg = Dwg();
    std::string before = Bytes(dwg);
    host::SetDwgConverters({copyConverter, "echo broken >&2; exit 1; {in} {out}"});
    auto db = ReadAndChange(dwg);
    ASSERT_TRUE(db);
    base::Status saved = host::SaveSideDatabase(*db);
    ASSERT_FALSE(saved);
    EXPECT_NE(saved.Message().find("the DXF to DWG converter failed"), std::string::npos);
    EXPECT_EQ(Bytes(dwg), before);
}

TEST_F(DwgConverterTest, DwgDrawingsCountAsReadableOnlyWhileAConverterIsSet) {
    EXPECT_TRUE(host::IsReadableDrawingName("/plans/a.DXF"));
    EXPECT_FALSE(host::IsReadableDrawingName("/plans/a.dwg"));
    EXPECT_FALSE(host::IsReadableDrawingName("/plans/a.bak"));
    host::SetDwgConverters({copyConverter, ""});
    EXPECT_TRUE(host::IsReadableDrawingName("/plans/a.DWG"));
}

}  // namespace
