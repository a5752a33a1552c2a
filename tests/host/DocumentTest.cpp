#include "host/Document.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "TempFolder.h"
#include "base/File.h"
#include "cad/BlockRecord.h"
#include "host/Printer.h"
#include "host/WorkingDatabase.h"

namespace {

std::string CopyCorpus(const TempFolder& dir, const std::string& name) {
    std::string target = dir.File(name);
    std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/" + name, target);
    return target;
}

struct DocumentManagerTest : ::testing::Test {
    ~DocumentManagerTest() override { host::DocumentManager::Instance().CloseAll(); }
    TempFolder dir;
};

TEST_F(DocumentManagerTest, OpenCurrentFindsAnOpenDrawingWithoutRegardToCase) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto& manager = host::DocumentManager::Instance();
    auto doc = manager.OpenCurrent(path);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    EXPECT_EQ(manager.CurDocument(), doc.Value());
    std::string upper = dir.Path() + "/ATTRIBUTE-AC1032.DXF";
    EXPECT_EQ(manager.Find(upper), doc.Value());
    auto again = manager.Open(path);
    ASSERT_TRUE(again);
    EXPECT_EQ(again.Value(), doc.Value());
    EXPECT_EQ(manager.Documents().size(), 1u);
}

TEST_F(DocumentManagerTest, OtherDrawingsStayBesideTheCurrentOne) {
    std::string a = CopyCorpus(dir, "attribute-ac1032.dxf");
    std::string b = CopyCorpus(dir, "entities-attribs-ac1015.dxf");
    auto& manager = host::DocumentManager::Instance();
    ASSERT_TRUE(manager.OpenCurrent(a));
    auto other = manager.Open(b);
    ASSERT_TRUE(other);
    EXPECT_EQ(manager.CurDocument()->FileName(), a);
    auto docs = manager.Documents();
    ASSERT_EQ(docs.size(), 2u);
    EXPECT_EQ(docs[0], manager.CurDocument());
    manager.Close(manager.CurDocument());
    EXPECT_EQ(manager.CurDocument(), nullptr);
    EXPECT_EQ(manager.Documents().size(), 1u);
}

TEST_F(DocumentManagerTest, DwgFileIsRefusedWithWhatToDo) {
    auto doc = host::DocumentManager::Instance().Open(dir.File("plan.dwg"));
    ASSERT_FALSE(doc);
    EXPECT_NE(doc.GetStatus().Message().find("DXF"), std::string::npos);
}

TEST_F(DocumentManagerTest, AReleasedDrawingIsReadAgainOnItsNextUse) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    std::size_t blocks = (*doc)->Database().Blocks().size();
    EXPECT_TRUE((*doc)->Release());
    EXPECT_TRUE((*doc)->IsReleased());
    EXPECT_EQ((*doc)->FileName(), path);
    // Saving a released drawing writes nothing.
    EXPECT_TRUE((*doc)->Save());
    EXPECT_EQ((*doc)->Database().Blocks().size(), blocks);
    EXPECT_FALSE((*doc)->IsReleased());
    EXPECT_TRUE((*doc)->LoadStatus());
}

TEST_F(DocumentManagerTest, ADrawingReadOnFirstUseIsReadThenAndNotAtOpen) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto doc = host::DocumentManager::Instance().OpenCurrent(path, host::ReadKind::OnFirstUse);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    EXPECT_TRUE((*doc)->IsReleased());
    EXPECT_EQ((*doc)->FileName(), path);
    // An unread drawing is never written.
    EXPECT_TRUE((*doc)->Save());
    // What is read is the file as it is at the first use.
    std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/attribute-ac1032.dxf", path,
                               std::filesystem::copy_options::overwrite_existing);
    auto direct = cad::Database::Open(path);
    ASSERT_TRUE(direct);
    ASSERT_TRUE((*doc)->Load());
    EXPECT_FALSE((*doc)->IsReleased());
    EXPECT_EQ((*doc)->Database().Blocks().size(), (*direct)->Blocks().size());
}

TEST_F(DocumentManagerTest, ADrawingReadAheadIsTakenAtFirstUseAsReadAtOpen) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto direct = cad::Database::Open(path);
    ASSERT_TRUE(direct);
    auto doc = host::DocumentManager::Instance().OpenCurrent(path, host::ReadKind::Ahead);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    EXPECT_TRUE((*doc)->IsReleased());
    ASSERT_TRUE((*doc)->Load());
    EXPECT_FALSE((*doc)->IsReleased());
    EXPECT_EQ((*doc)->Database().Blocks().size(), (*direct)->Blocks().size());
    EXPECT_EQ((*doc)->Database().Write(), (*direct)->Write());
    EXPECT_TRUE((*doc)->Save());
    EXPECT_EQ(*base::ReadFile(path), (*direct)->Write());
}

TEST_F(DocumentManagerTest, ADrawingReadAheadIsNotSavedOverWhatAnotherProgramWroteMeanwhile) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto doc = host::DocumentManager::Instance().OpenCurrent(path, host::ReadKind::Ahead);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    ASSERT_TRUE((*doc)->Load());
    ASSERT_TRUE((*doc)->Database().SetHeader("$USERI1", {{70, "5"}}));
    std::string theirs = *base::ReadFile(path) + "999\nadded by another program\n";
    {
        std::ofstream out(path, std::ios::app | std::ios::binary);
        out << "999\nadded by another program\n";
    }
    base::Status saved = (*doc)->Save();
    ASSERT_FALSE(saved);
    EXPECT_NE(saved.Message().find("attribute-ac1032.dxf: the file changed on disk while it was open"),
              std::string::npos)
        << saved.Message();
    EXPECT_EQ(*base::ReadFile(path), theirs);
    EXPECT_FALSE(std::filesystem::exists(dir.File("attribute-ac1032.bak")));
}

TEST_F(DocumentManagerTest, AMalformedDrawingReadAheadLoadsAsEmptyAndSaysWhere) {
    std::string path = dir.File("broken.dxf");
    ASSERT_TRUE(base::WriteFileAtomic(path, "0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n"));
    auto doc = host::DocumentManager::Instance().OpenCurrent(path, host::ReadKind::Ahead);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    const base::Status& loaded = (*doc)->Load();
    ASSERT_FALSE(loaded);
    EXPECT_NE(loaded.Message().find("broken.dxf"), std::string::npos);
    EXPECT_TRUE((*doc)->Save());
    EXPECT_EQ(*base::ReadFile(path), "0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n");
}

TEST_F(DocumentManagerTest, AMissingDrawingIsRefusedAtOpenWhenReadAhead) {
    auto missing = host::DocumentManager::Instance().OpenCurrent(dir.File("gone.dxf"), host::ReadKind::Ahead);
    ASSERT_FALSE(missing);
    EXPECT_NE(missing.GetStatus().Message().find("gone.dxf: cannot open"), std::string::npos);
}

TEST_F(DocumentManagerTest, AReloadAfterAReadAheadReadsTheFileAsItIsNow) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto doc = host::DocumentManager::Instance().OpenCurrent(path, host::ReadKind::Ahead);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    ASSERT_TRUE(base::WriteFileAtomic(path, "  0\nSECTION\n  2\nENTITIES\n  0\nENDSEC\n  0\nEOF\n"));
    ASSERT_TRUE((*doc)->Reload());
    EXPECT_EQ((*doc)->Database().Write(), "  0\nSECTION\n  2\nENTITIES\n  0\nENDSEC\n  0\nEOF\n");
}

TEST_F(DocumentManagerTest, AMissingOrDwgDrawingIsRefusedAtOpenAlsoWhenReadOnFirstUse) {
    auto& manager = host::DocumentManager::Instance();
    auto missing = manager.OpenCurrent(dir.File("gone.dxf"), host::ReadKind::OnFirstUse);
    ASSERT_FALSE(missing);
    EXPECT_NE(missing.GetStatus().Message().find("gone.dxf: cannot open"), std::string::npos);
    auto dwg = manager.OpenCurrent(dir.File("plan.dwg"), host::ReadKind::OnFirstUse);
    ASSERT_FALSE(dwg);
    EXPECT_NE(dwg.GetStatus().Message().find("DXF"), std::string::npos);
    EXPECT_EQ(manager.CurDocument(), nullptr);
}

TEST_F(DocumentManagerTest, AMalformedDrawingReadOnFirstUseLoadsAsEmptyAndSaysWhere) {
    std::string path = dir.File("broken.dxf");
    ASSERT_TRUE(base::WriteFileAtomic(path, "0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n"));
    auto doc = host::DocumentManager::Instance().OpenCurrent(path, host::ReadKind::OnFirstUse);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    const base::Status& loaded = (*doc)->Load();
    ASSERT_FALSE(loaded);
    EXPECT_NE(loaded.Message().find("broken.dxf"), std::string::npos);
    EXPECT_FALSE((*doc)->Database().IsModified());
    EXPECT_TRUE((*doc)->Save());
    EXPECT_EQ(*base::ReadFile(path), "0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n");
}

TEST_F(DocumentManagerTest, UnitsOfAReleasedDrawingComeWithoutReadingItAgain) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto direct = cad::Database::Open(path);
    ASSERT_TRUE(direct);
    const cad::UnitSettings units = (*direct)->Units();
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    ASSERT_TRUE((*doc)->Release());
    std::filesystem::remove(path);
    EXPECT_EQ((*doc)->Units().lunits, units.lunits);
    EXPECT_EQ((*doc)->Units().luprec, units.luprec);
    EXPECT_EQ((*doc)->Units().aunits, units.aunits);
    EXPECT_TRUE((*doc)->IsReleased());
    EXPECT_TRUE((*doc)->LoadStatus());
}

TEST_F(DocumentManagerTest, AChangedOrLockedDrawingIsNotReleased) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    {
        host::DocumentLock lock(*doc);
        EXPECT_FALSE((*doc)->Release());
    }
    ASSERT_TRUE((*doc)->Database().RegisterApp("VELMAR_TEST"));
    EXPECT_FALSE((*doc)->Release());
    EXPECT_FALSE((*doc)->IsReleased());
}

TEST_F(DocumentManagerTest, ADrawingGoneWhileReleasedReadsAsEmptyAndSaysWhy) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    ASSERT_TRUE((*doc)->Release());
    std::filesystem::remove(path);
    EXPECT_EQ((*doc)->Database().FileName(), path);
    EXPECT_FALSE((*doc)->Database().IsModified());
    EXPECT_FALSE((*doc)->LoadStatus());
    EXPECT_NE((*doc)->LoadStatus().Message().find("attribute-ac1032.dxf"), std::string::npos);
    EXPECT_TRUE((*doc)->Save());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(DocumentManagerTest, LocksNestAndTheGuardReleasesOnScopeEnd) {
    auto& manager = host::DocumentManager::Instance();
    auto doc = manager.OpenCurrent(CopyCorpus(dir, "attribute-ac1032.dxf"));
    ASSERT_TRUE(doc);
    {
        host::DocumentLock lock(doc.Value());
        EXPECT_TRUE(doc.Value()->IsLocked());
        {
            host::DocumentLock inner(doc.Value());
        }
        EXPECT_TRUE(doc.Value()->IsLocked());
    }
    EXPECT_FALSE(doc.Value()->IsLocked());
    doc.Value()->Unlock();
    EXPECT_FALSE(doc.Value()->IsLocked());
}

TEST_F(DocumentManagerTest, StringsSentToADocumentQueueInOrder) {
    auto doc = host::DocumentManager::Instance().OpenCurrent(CopyCorpus(dir, "attribute-ac1032.dxf"));
    ASSERT_TRUE(doc);
    doc.Value()->SendStringToExecute("REGEN\n");
    doc.Value()->SendStringToExecute("Velmar_UpdateParamsInDynamicBlocks\n");
    auto queued = doc.Value()->TakeQueued();
    ASSERT_EQ(queued.size(), 2u);
    EXPECT_EQ(queued[0], "REGEN\n");
    EXPECT_TRUE(doc.Value()->Queued().empty());
}

TEST_F(DocumentManagerTest, UnchangedDocumentIsNotWrittenAndLeavesNoBackup) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    EXPECT_TRUE(doc.Value()->Save().IsOk());
    EXPECT_FALSE(std::filesystem::exists(dir.File("attribute-ac1032.bak")));
}

TEST(SideDatabase, SavedInItsVersionWithTheOldFileKeptAsBak) {
    TempFolder dir;
    std::string path = CopyCorpus(dir, "entities-attribs-ac1015.dxf");
    auto original = base::ReadFile(path);
    ASSERT_TRUE(original);
    auto db = host::ReadSideDatabase(path);
    ASSERT_TRUE(db) << db.GetStatus().Message();
    std::string version = db.Value()->Version();
    ASSERT_TRUE(db.Value()->ModelSpace().AddLine({0, 0, 0}, {1, 1, 0}));
    ASSERT_TRUE(host::SaveSideDatabase(*db.Value()).IsOk());
    auto backup = base::ReadFile(dir.File("entities-attribs-ac1015.bak"));
    ASSERT_TRUE(backup);
    EXPECT_EQ(backup.Value(), original.Value());
    auto again = host::ReadSideDatabase(path);
    ASSERT_TRUE(again);
    EXPECT_EQ(again.Value()->Version(), version);
}

TEST_F(DocumentManagerTest, WorkingDatabaseFollowsTheCurrentDocumentAndTheScopePutsItBack) {
    auto& manager = host::DocumentManager::Instance();
    EXPECT_EQ(host::WorkingDatabase(), nullptr);
    auto doc = manager.OpenCurrent(CopyCorpus(dir, "attribute-ac1032.dxf"));
    ASSERT_TRUE(doc);
    cad::Database* current = &doc.Value()->Database();
    EXPECT_EQ(host::WorkingDatabase(), current);
    auto side = host::ReadSideDatabase(CopyCorpus(dir, "entities-attribs-ac1015.dxf"));
    ASSERT_TRUE(side);
    {
        host::ScopedWorkingDatabase scope(side.Value().get());
        EXPECT_TRUE(scope.Switched());
        EXPECT_EQ(host::WorkingDatabase(), side.Value().get());
        host::ScopedWorkingDatabase same(side.Value().get());
        EXPECT_FALSE(same.Switched());
    }
    EXPECT_EQ(host::WorkingDatabase(), current);
}

TEST_F(DocumentManagerTest, ASaveThatKeepsTheBackupLeavesAnExistingOneAlone) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    std::string backup = dir.File("attribute-ac1032.bak");
    ASSERT_TRUE(base::WriteFileAtomic(backup, "the drawing before the import"));
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    ASSERT_TRUE((*doc)->Database().RegisterApp("VELMAR_TEST"));
    ASSERT_TRUE((*doc)->Save(host::BackupMode::KeepExisting));
    EXPECT_EQ(*base::ReadFile(backup), "the drawing before the import");
    EXPECT_EQ(*base::ReadFile(path), (*doc)->Database().Write());
    for (const auto& entry : std::filesystem::directory_iterator(dir.Path())) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(name == "attribute-ac1032.dxf" || name == "attribute-ac1032.bak") << name;
    }
}

TEST_F(DocumentManagerTest, ASaveThatKeepsTheBackupMakesOneWhereThereIsNone) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    const std::string original = *base::ReadFile(path);
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    ASSERT_TRUE((*doc)->Database().RegisterApp("VELMAR_TEST"));
    ASSERT_TRUE(host::DocumentManager::Instance().SaveAll(host::BackupMode::KeepExisting));
    EXPECT_TRUE(*base::ReadFile(dir.File("attribute-ac1032.bak")) == original);
}

TEST_F(DocumentManagerTest, TheHostsSaveReplacesTheBackup) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    const std::string original = *base::ReadFile(path);
    ASSERT_TRUE(base::WriteFileAtomic(dir.File("attribute-ac1032.bak"), "an older backup"));
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    ASSERT_TRUE((*doc)->Database().RegisterApp("VELMAR_TEST"));
    ASSERT_TRUE((*doc)->Save());
    EXPECT_TRUE(*base::ReadFile(dir.File("attribute-ac1032.bak")) == original);
}

TEST_F(DocumentManagerTest, AReadOnlyDrawingIsNotSavedAndTheMessageSaysWhatToDo) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    const std::string original = *base::ReadFile(path);
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    ASSERT_TRUE((*doc)->Database().RegisterApp("VELMAR_TEST"));
    base::Status saved = (*doc)->Save();
    ASSERT_FALSE(saved);
    EXPECT_NE(saved.Message().find("Cannot save " + path +
                                   ": the file is read-only (mode 0444); make it writable or save "
                                   "under another name."),
              std::string::npos)
        << saved.Message();
    EXPECT_TRUE(*base::ReadFile(path) == original);
    EXPECT_FALSE(std::filesystem::exists(dir.File("attribute-ac1032.bak")));
}

TEST_F(DocumentManagerTest,
       LeftoversOfAnInterruptedSaveGoWhenTheDrawingIsOpenedOrSavedAndAreNamed) {
    std::string path = CopyCorpus(dir, "attribute-ac1032.dxf");
    auto leftover = [this] {
        const pid_t ended = ::fork();
        if (ended == 0)
            ::_exit(0);
        ::waitpid(ended, nullptr, 0);
        std::string name =
            dir.File(".attribute-ac1032.dxf.velmar-tmp." + std::to_string(ended) + ".q1w2e3r4");
        EXPECT_TRUE(base::WriteFileAtomic(name, "half a drawing"));
        return name;
    };
    host::Printer& printer = host::CurrentPrinter();
    printer.Capture(true);
    printer.ClearCaptured();
    const std::string first = leftover();
    auto doc = host::DocumentManager::Instance().OpenCurrent(path, host::ReadKind::OnFirstUse);
    ASSERT_TRUE(doc);
    EXPECT_FALSE(std::filesystem::exists(first));
    EXPECT_EQ(printer.CapturedWarnings(),
              "Removed a leftover temporary file from an interrupted save: " + first + "\n");
    printer.ClearCaptured();
    ASSERT_TRUE((*doc)->Database().RegisterApp("VELMAR_TEST"));
    printer.ClearCaptured();
    const std::string second = leftover();
    ASSERT_TRUE((*doc)->Save());
    EXPECT_FALSE(std::filesystem::exists(second));
    EXPECT_EQ(printer.CapturedWarnings(),
              "Removed a leftover temporary file from an interrupted save: " + second + "\n");
    printer.Capture(false);
}

}  // namespace
