// The watch of a drawing another program saves: each save uploads exactly what changed, an
// unreadable save uploads nothing, and a workbook open elsewhere waits for its lock to go.

#include "attbat/links/DrawingWatch.h"

#include <fstream>

#include "UploadFixture.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandRun.h"
#include "attbat/links/ExcelLinkStore.h"
#include "attbat/links/LinkCommands.h"
#include "base/File.h"
#include "host/Ui.h"

namespace attbat {
namespace {

class DrawingWatchTest : public UploadTest {
protected:
    void SetUp() override {
        UploadTest::SetUp();
        CRegistry::SetInt("Velmar", "AutoUploadToActiveWorkbook", 1);
        Book({{"A2", "D01", Key("<DE_MARK>")}, {"A3", "D02", Key("<E5_MARK>")}, {"B3", "1000", Key("<E5_WIDTH>")}});
        backend.reset();
        ImplementLinkCommands(TheApp());
        setup.drawing = drawing;
        setup.workbooks.workbook = book;
        setup.settings = File("settings.ini");
        setup.uploadAtLoad = true;
    }
    // Another program changes an attribute and saves the drawing.
    void SaveElsewhere(const std::string& handle, const std::string& tag, const std::string& value) {
        auto db = cad::Database::Open(drawing);
        ASSERT_TRUE(db) << db.GetStatus().Message();
        cad::Object object = arxutils::HandleToId(**db, handle);
        cad::BlockReference(object.GetDatabase(), object.Index()).FindAttribute(tag).SetValue(value);
        ASSERT_TRUE((*db)->Save(drawing));
    }
    // The cell as the workbook file holds it now.
    std::string Saved(const std::string& address) {
        Attach();
        std::string value = Value(address);
        backend.reset();
        return value;
    }

    RunSetup setup;
    host::RecordingUi ui;
};

TEST_F(DrawingWatchTest, EachSaveUploadsTheChangedReferencesOnly) {
    ModuleRun run(TheApp(), setup, ui);
    DrawingWatch watch(run, drawing, book);
    ASSERT_TRUE(watch.Start());
    const std::string before = base::ReadFile(drawing).Value();
    SaveElsewhere("E5", "MARK", "D02-REVISED");
    watch.DrawingSaved();
    EXPECT_EQ(Saved("A3"), "D02-REVISED");
    EXPECT_EQ(Saved("A2"), "D01");
    EXPECT_NE(Printed().find("plan.dxf was saved: 1 reference(s) changed, 0 removed."), std::string::npos) << Printed();
    EXPECT_NE(Printed().find("Doors:$A$3: 'D02' -> 'D02-REVISED'"), std::string::npos) << Printed();
    SaveElsewhere("E5", "WIDTH", "1100");
    watch.DrawingSaved();
    EXPECT_EQ(Saved("B3"), "1100");
    EXPECT_NE(base::ReadFile(drawing).Value(), before);  // the other program's save, not ours
}

TEST_F(DrawingWatchTest, TheLinkedWorkbooksValuesAreNeverWrittenIntoTheWatchedDrawing) {
    CRegistry::SetInt("Velmar", "AutoUpdateAtt", 1);
    {
        auto db = cad::Database::Open(drawing);
        ASSERT_TRUE(db);
        cad::Object e5 = arxutils::HandleToId(**db, "E5");
        ASSERT_TRUE(SetXDataString(e5, kWorkbookLinkApp, book, false));
        cad::BlockReference(e5.GetDatabase(), e5.Index()).FindAttribute("MARK").SetValue("D02-DRAWN");
        ASSERT_TRUE((*db)->Save(drawing));
    }
    const std::string before = base::ReadFile(drawing).Value();
    ModuleRun run(TheApp(), setup, ui);
    DrawingWatch watch(run, drawing, book);
    ASSERT_TRUE(watch.Start());
    EXPECT_TRUE(base::ReadFile(drawing).Value() == before);
    // The drawing's value went to the workbook instead, as the upload at the load sends it.
    EXPECT_EQ(Saved("A3"), "D02-DRAWN");
}

TEST_F(DrawingWatchTest, ASaveWithoutChangesUploadsNothing) {
    ModuleRun run(TheApp(), setup, ui);
    DrawingWatch watch(run, drawing, book);
    ASSERT_TRUE(watch.Start());
    const std::string workbook = base::ReadFile(book).Value();
    host::CurrentPrinter().ClearCaptured();
    auto db = cad::Database::Open(drawing);
    ASSERT_TRUE(db && (*db)->Save(drawing));
    watch.DrawingSaved();
    EXPECT_NE(Printed().find("plan.dxf was saved; no reference changed."), std::string::npos);
    EXPECT_EQ(Printed().find("Uploading"), std::string::npos);
    EXPECT_EQ(base::ReadFile(book).Value(), workbook);
}

TEST_F(DrawingWatchTest, AnUnreadableSaveUploadsNothingAndTheNextSaveDoes) {
    ModuleRun run(TheApp(), setup, ui);
    DrawingWatch watch(run, drawing, book);
    ASSERT_TRUE(watch.Start());
    const std::string whole = base::ReadFile(drawing).Value();
    const std::string workbook = base::ReadFile(book).Value();
    { std::ofstream(drawing, std::ios::binary | std::ios::trunc) << whole.substr(0, whole.size() / 2); }
    watch.DrawingSaved();
    EXPECT_NE(Warnings().find("plan.dxf was saved but can't be read"), std::string::npos) << Warnings();
    EXPECT_EQ(base::ReadFile(book).Value(), workbook);
    { std::ofstream(drawing, std::ios::binary | std::ios::trunc) << whole; }
    SaveElsewhere("DE", "MARK", "D01-REVISED");
    watch.DrawingSaved();
    EXPECT_EQ(Saved("A2"), "D01-REVISED");
}

TEST_F(DrawingWatchTest, AWorkbookOpenElsewhereWaitsForItsLockToGo) {
    const std::string lock = File(".~lock.book.xlsx#");
    { std::ofstream(lock) << "someone,somewhere;"; }
    ModuleRun run(TheApp(), setup, ui);
    DrawingWatch watch(run, drawing, book);
    ASSERT_TRUE(watch.Start());
    EXPECT_TRUE(watch.Pending());
    SaveElsewhere("DE", "MARK", "D01-LOCKED");
    watch.DrawingSaved();
    EXPECT_NE(Printed().find("book.xlsx is open in another program (.~lock.book.xlsx#); the upload waits until it is "
                             "closed there."),
              std::string::npos)
        << Printed();
    EXPECT_EQ(Saved("A2"), "D01");
    std::filesystem::remove(lock);
    watch.UploadIfFree();
    EXPECT_FALSE(watch.Pending());
    EXPECT_EQ(Saved("A2"), "D01-LOCKED");
}

TEST_F(DrawingWatchTest, AnUploadThatCouldNotBeWrittenIsTriedAgainWithTheSameReferences) {
    ModuleRun run(TheApp(), setup, ui);
    DrawingWatch watch(run, drawing, book);
    ASSERT_TRUE(watch.Start());
    std::filesystem::rename(book, book + ".away");
    SaveElsewhere("E5", "MARK", "D02-WHILE-AWAY");
    watch.DrawingSaved();
    EXPECT_TRUE(watch.Pending());
    EXPECT_NE(Printed().find("The upload to book.xlsx is tried again"), std::string::npos) << Printed();
    std::filesystem::rename(book + ".away", book);
    watch.UploadIfFree();
    EXPECT_FALSE(watch.Pending());
    EXPECT_EQ(Saved("A3"), "D02-WHILE-AWAY");
}

TEST_F(DrawingWatchTest, TheStartUploadsWhatTheDrawingHoldsAsTheHostsLoadDoes) {
    SaveElsewhere("DE", "MARK", "D01-BEFORE-THE-WATCH");
    ModuleRun run(TheApp(), setup, ui);
    DrawingWatch watch(run, drawing, book);
    ASSERT_TRUE(watch.Start());
    EXPECT_EQ(Saved("A2"), "D01-BEFORE-THE-WATCH");
}

}  // namespace
}  // namespace attbat
