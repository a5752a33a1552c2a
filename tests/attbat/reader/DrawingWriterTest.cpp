#include "attbat/model/DrawingWriter.h"

#include <filesystem>

#include "ReaderFixture.h"
#include "arxutils/ArxUtils.h"
#include "attbat/model/AcadDatabase.h"
#include "base/Path.h"
#include "cad/BlockReference.h"

namespace {

using attbat::AcadAttribute;
using attbat::AcadBlockRef;
using attbat::AcadBlockRefArray;

class DrawingWriterTest : public ReaderTest {
protected:
    void SetUp() override {
        path = Copy(ReaderData("writer.dxf"));
        auto read = host::ReadSideDatabase(path);
        ASSERT_TRUE(read);
        db = std::move(read.Value());
        for (const cad::BlockReference& r : db->FindBlock("EQUIP").References())
            (r.Position().x < 20 ? first : second) = r;
    }
    AcadBlockRef Row(const cad::BlockReference& ref) {
        AcadBlockRef row;
        row.dwgFile = path;
        row.handle = ref.HandleString();
        return row;
    }
    // Opens the drawing as the current document and writes `id` into the first reference's ID
    // through the writer's current-drawing road.
    host::Document* UpdateCurrent(const std::string& id) {
        auto doc = host::DocumentManager::Instance().OpenCurrent(path);
        EXPECT_TRUE(doc);
        if (!doc) return nullptr;
        AcadBlockRefArray rows;
        AcadBlockRef row = Row(first);
        row.dwgFile.clear();
        row.attributes.Add(AcadAttribute("ID", id, 0));
        rows.Add(row);
        attbat::UpdateDrawings(rows, nullptr);
        return doc.Value();
    }
    std::string path;
    std::unique_ptr<cad::Database> db;
    cad::BlockReference first, second;
    attbat::WriteTrace trace;
};

TEST_F(DrawingWriterTest, UnchangedValueCausesNoWriteAndNoAdjustAlignment) {
    AcadBlockRef row = Row(first);
    row.attributes.Add(AcadAttribute("ID", "P-101", 0));
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_EQ(trace.textWrites, 0);
    EXPECT_EQ(trace.alignments, 0);
    EXPECT_FALSE(db->IsModified());
}

TEST_F(DrawingWriterTest, SettingAValueToOnlyBlanksDoesNotAdjustAlignment) {
    AcadBlockRef row = Row(first);
    AcadAttribute blank("ID", "", 0);
    blank.value = "   ";
    row.attributes.Add(blank);
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_EQ(trace.textWrites, 1);
    EXPECT_EQ(trace.alignments, 0);
    EXPECT_EQ(first.FindAttribute("ID").TextString(), "   ");
    AcadBlockRef changed = Row(first);
    changed.attributes.Add(AcadAttribute("ID", "P-201", 0));
    attbat::WriteTo(changed, *db, -1, -1, &trace);
    EXPECT_EQ(trace.alignments, 1);
}

TEST_F(DrawingWriterTest, PositionScaleAndRotationChangeInOneRowGiveExactlyOneTransform) {
    AcadBlockRef row = Row(second);
    row.attributes.Add(AcadAttribute("Position X", "60", 1));
    row.attributes.Add(AcadAttribute("Scale X", "2", 8));
    row.attributes.Add(AcadAttribute("Rotation", "90", 64));
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_EQ(trace.transforms, 1);
    EXPECT_EQ(trace.identityTransforms, 0);
    EXPECT_NEAR(second.Rotation(), cad::kPi / 2, 1e-9);
    EXPECT_NEAR(second.ScaleFactors().x, 2, 1e-9);
}

TEST_F(DrawingWriterTest, RowWithNothingChangedGivesOneIdentityTransform) {
    AcadBlockRef row = Row(second);
    row.attributes.Add(AcadAttribute("Position X", "50", 1));
    row.attributes.Add(AcadAttribute("Rotation", "0", 64));
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_EQ(trace.transforms, 1);
    EXPECT_EQ(trace.identityTransforms, 1);
    EXPECT_FALSE(db->IsModified());
}

TEST_F(DrawingWriterTest, ScaleXOf2OnAReferenceOfScale3GivesScale6AndMovesItAwayFromTheOrigin) {
    AcadBlockRef row = Row(first);
    row.attributes.Add(AcadAttribute("Scale X", "2", 8));
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_NEAR(first.ScaleFactors().x, 6, 1e-9);
    EXPECT_NEAR(first.ScaleFactors().y, 6, 1e-9);
    EXPECT_NEAR(first.Position().x, 20, 1e-9);
    EXPECT_NEAR(first.Position().y, 40, 1e-9);
}

TEST_F(DrawingWriterTest, APositionIsTheWorldPointAlsoOnAReferenceSeenFromBelow) {
    // Reference 298 of this corpus drawing has the extrusion (0, 0, -1): its stored x is mirrored.
    std::string corpus = Copy(std::string(VELMAR_CORPUS) + "/dxf/ezdxf-192-inserts-576-attribs-ac1018.dxf");
    auto read = host::ReadSideDatabase(corpus);
    ASSERT_TRUE(read);
    cad::Database& mirrored = **read;
    cad::BlockReference ref(&mirrored, arxutils::HandleToId(mirrored, "298").Index());
    ASSERT_EQ(ref.Normal(), (cad::Point3{0, 0, -1}));
    const cad::Point3 attribute = ref.Attributes().at(0).Position();
    AcadBlockRef row;
    row.handle = "298";
    row.attributes.Add(AcadAttribute("Position X", "100", 1));
    EXPECT_TRUE(attbat::WriteTo(row, mirrored, -1, -1, &trace));
    EXPECT_NEAR(ref.WorldPosition().x, 100, 1e-9);
    EXPECT_NEAR(ref.Position().x, -100, 1e-9);
    // The attributes move with it.
    EXPECT_NEAR(ref.Attributes().at(0).Position().x, attribute.x - 100, 1e-9);
    // The same value again moves nothing.
    EXPECT_TRUE(attbat::WriteTo(row, mirrored, -1, -1, &trace));
    EXPECT_EQ(trace.identityTransforms, 1);
    EXPECT_NEAR(ref.WorldPosition().x, 100, 1e-9);
}

TEST_F(DrawingWriterTest, TagMatchingAnAttributeSetsTheAttributeOnly) {
    AcadBlockRef row = Row(first);
    row.attributes.Add(AcadAttribute("DESC", "Main pump", 0));
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_EQ(first.FindAttribute("DESC").TextString(), "Main pump");
    EXPECT_EQ(second.FindAttribute("DESC").TextString(), "Spare");
    EXPECT_EQ(trace.textWrites, 1);
}

TEST_F(DrawingWriterTest, TagWithAHandleInBracketsReachesThatAttribute) {
    AcadBlockRef row = Row(first);
    std::string handle = second.FindAttribute("ID").HandleString();
    row.attributes.Add(AcadAttribute("ID2(" + handle + ")", "P-999", 0));
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_EQ(second.FindAttribute("ID").TextString(), "P-999");
    EXPECT_EQ(first.FindAttribute("ID").TextString(), "P-101");
}

TEST_F(DrawingWriterTest, LayerChangeMovesTheReferenceToAnExistingLayer) {
    ASSERT_TRUE(db->AddLayer("EQUIPMENT"));
    AcadBlockRef row = Row(first);
    row.attributes.Add(AcadAttribute("Layer", "EQUIPMENT", 128));
    EXPECT_TRUE(attbat::WriteTo(row, *db, -1, -1, &trace));
    EXPECT_EQ(first.LayerName(), "EQUIPMENT");
}

TEST_F(DrawingWriterTest, FileThatDoesNotExistPrintsCannotFindAndTheOthersGoOn) {
    AcadBlockRefArray rows;
    AcadBlockRef missing;
    missing.dwgFile = folder_ + "/gone.dxf";
    missing.handle = "1F";
    missing.attributes.Add(AcadAttribute("ID", "x", 0));
    rows.Add(missing);
    AcadBlockRef row = Row(first);
    row.attributes.Add(AcadAttribute("ID", "P-500", 0));
    rows.Add(row);
    attbat::UpdateDrawings(rows, nullptr);
    EXPECT_NE(Printed().find("Cannot find " + folder_ + "/gone.dxf."), std::string::npos) << Printed();
    EXPECT_NE(Printed().find("Successfully update " + path + "."), std::string::npos) << Printed();
    auto back = host::ReadSideDatabase(path);
    ASSERT_TRUE(back);
    EXPECT_EQ(back.Value()->ObjectByHandle(first.GetHandle()).Type(), "INSERT");
    cad::BlockReference ref(back.Value().get(), back.Value()->ObjectByHandle(first.GetHandle()).Index());
    EXPECT_EQ(ref.FindAttribute("ID").TextString(), "P-500");
}

TEST_F(DrawingWriterTest, OtherDrawingIsSavedInItsVersionWithABackupAndTheLink) {
    AcadBlockRefArray rows;
    AcadBlockRef row = Row(first);
    row.attributes.Add(AcadAttribute("ID", "P-777", 0));
    rows.Add(row);
    std::string link = "book.xlsx|Sheet1";
    attbat::UpdateDrawings(rows, &link);
    EXPECT_TRUE(std::filesystem::exists(base::ReplaceExtension(path, ".bak")));
    auto back = host::ReadSideDatabase(path);
    ASSERT_TRUE(back);
    EXPECT_EQ(back.Value()->Version(), db->Version());
    cad::Object ref = back.Value()->ObjectByHandle(first.GetHandle());
    auto data = arxutils::GetXdata(ref, attbat::kLinkAppName);
    ASSERT_EQ(data.size(), 1u);
    EXPECT_EQ(data[0], link);
}

TEST_F(DrawingWriterTest, CurrentDocumentIsWrittenUnderItsLockAndNotSavedHere) {
    host::Document* doc = UpdateCurrent("P-300");
    ASSERT_NE(doc, nullptr);
    EXPECT_FALSE(doc->IsLocked());
    EXPECT_TRUE(doc->Database().IsModified());
    EXPECT_FALSE(std::filesystem::exists(base::ReplaceExtension(path, ".bak")));
    // Its success line waits for the save at the end of the command.
    EXPECT_EQ(Printed().find("Successfully update"), std::string::npos) << Printed();
    host::CurrentPrinter().ReleaseHeld(true);
    EXPECT_NE(Printed().find("Successfully update " + path + "."), std::string::npos) << Printed();
}

TEST_F(DrawingWriterTest, SuccessLineOfTheCurrentDrawingIsForgottenWhenItsSaveFails) {
    ASSERT_NE(UpdateCurrent("P-301"), nullptr);
    host::CurrentPrinter().ReleaseHeld(false);
    EXPECT_EQ(Printed().find("Successfully update"), std::string::npos) << Printed();
}

TEST_F(DrawingWriterTest, AWalkedUpdateWalksOnceForTheCurrentDrawingAndOnceForEachOtherTakingOnlyItsRows) {
    const std::string other = File("other.dxf");
    std::filesystem::copy_file(path, other);
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    AcadBlockRefArray rows;
    for (const std::string& file : {std::string(), other, path}) {
        AcadBlockRef row = Row(file == path ? second : first);
        row.dwgFile = file;
        row.attributes.Add(AcadAttribute("ID", file.empty() ? "P-1" : file == other ? "P-2" : "P-3", 0));
        rows.Add(row);
    }
    std::vector<std::vector<std::string>> walks;  // the values each walk gave
    attbat::RowWalk walk{{"", other, path}, [&](const attbat::DrawingFilter& wanted, const attbat::RowTaker& take) {
                             walks.emplace_back();
                             for (const AcadBlockRef& row : rows) {
                                 if (!wanted(row.dwgFile)) continue;
                                 walks.back().push_back(row.attributes[0].value);
                                 take(row);
                             }
                         }};
    attbat::UpdateDrawings(walk, nullptr, &trace);
    EXPECT_EQ(walks, (std::vector<std::vector<std::string>>{{"P-1", "P-3"}, {"P-2"}}));
    EXPECT_EQ(trace.textWrites, 3);
    cad::Database& current = doc.Value()->Database();
    EXPECT_EQ(cad::BlockReference(&current, current.ObjectByHandle(first.GetHandle()).Index())
                  .FindAttribute("ID").TextString(), "P-1");
    EXPECT_EQ(cad::BlockReference(&current, current.ObjectByHandle(second.GetHandle()).Index())
                  .FindAttribute("ID").TextString(), "P-3");
    auto back = host::ReadSideDatabase(other);
    ASSERT_TRUE(back);
    cad::BlockReference saved(back.Value().get(), back.Value()->ObjectByHandle(first.GetHandle()).Index());
    EXPECT_EQ(saved.FindAttribute("ID").TextString(), "P-2");
}

TEST_F(DrawingWriterTest, UpdateInCurrentDrawingSetsChangedTextsAndMarkedProperties) {
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    cad::Database& current = doc.Value()->Database();
    AcadBlockRef row = Row(first);
    row.attributes.Add(AcadAttribute("ID", "P-111", 0));
    row.position = {11, 22, 0};
    row.changedMask = 1;
    EXPECT_TRUE(attbat::UpdateInCurrentDrawing(row));
    cad::BlockReference ref(&current, current.ObjectByHandle(first.GetHandle()).Index());
    EXPECT_EQ(ref.FindAttribute("ID").TextString(), "P-111");
    EXPECT_DOUBLE_EQ(ref.Position().x, 11);
    EXPECT_DOUBLE_EQ(ref.Position().y, 20);
}

// A changed value written into a drawing another program made reads back, and nothing else
// in the file changes.
TEST_F(DrawingWriterTest, ChangedValueInACorpusDrawingReadsBackWithEveryOtherObjectIdentical) {
    std::string corpus = Copy(std::string(VELMAR_CORPUS) + "/dxf/ezdxf-192-inserts-576-attribs-ac1018.dxf");
    attbat::AcadBlockArray blocks;
    ASSERT_TRUE(attbat::ReadDrawing(blocks, corpus, nullptr).IsOk());
    const AcadBlockRef* target = nullptr;
    for (const auto& block : blocks)
        for (const auto& r : block.refs)
            if (!target && !r.attributes.IsEmpty() && r.attributes[0].handle != 0) target = &r;
    ASSERT_NE(target, nullptr);
    AcadBlockRef row;
    row.dwgFile = corpus;
    row.handle = target->handle;
    std::string tag = target->attributes[0].tag;
    row.attributes.Add(AcadAttribute(tag, "changed value", 0));
    AcadBlockRefArray rows;
    rows.Add(row);
    auto before = host::ReadSideDatabase(corpus);
    ASSERT_TRUE(before);
    attbat::UpdateDrawings(rows, nullptr);
    auto after = host::ReadSideDatabase(corpus);
    ASSERT_TRUE(after);
    attbat::AcadBlockArray again;
    ASSERT_TRUE(attbat::ReadDrawing(again, corpus, nullptr).IsOk());
    bool found = false;
    for (const auto& block : again)
        for (const auto& r : block.refs)
            if (r.handle == row.handle) found = found || r.attributes.Get(tag, 0) == "changed value";
    EXPECT_TRUE(found);
    auto oldObjects = before.Value()->Objects();
    auto newObjects = after.Value()->Objects();
    ASSERT_EQ(oldObjects.size(), newObjects.size());
    int differing = 0;
    for (std::size_t i = 0; i < oldObjects.size(); ++i)
        if (oldObjects[i].Tags() != newObjects[i].Tags()) {
            ++differing;
            EXPECT_EQ(newObjects[i].HandleString(), target->attributes[0].HandleText());
        }
    EXPECT_EQ(differing, 1);
}

}  // namespace
