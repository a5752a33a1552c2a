#include "host/FileWatcher.h"

#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "TempFolder.h"

namespace {

using namespace std::chrono_literals;

// Long enough for a loaded machine; a test that gets its event returns long before.
constexpr auto kPatience = 5000ms;
// How long a test listens for an event that must not come.
constexpr auto kSilence = 300ms;

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

// An editor's save: the new contents in a temporary file of the same folder, renamed over the
// target.
void SaveByRename(const std::string& path, const std::string& text) {
    const std::string temporary = path + ".tmp~";
    WriteFile(temporary, text);
    ASSERT_EQ(::rename(temporary.c_str(), path.c_str()), 0);
}

const char* Name(host::WatchOutcome outcome) {
    switch (outcome) {
    case host::WatchOutcome::Saved: return "Saved";
    case host::WatchOutcome::Removed: return "Removed";
    case host::WatchOutcome::Timeout: return "Timeout";
    case host::WatchOutcome::Interrupted: return "Interrupted";
    case host::WatchOutcome::Failed: return "Failed";
    }
    return "?";
}

// Checks one result: its outcome and, for Saved and Removed, the path.
void ExpectEvent(const host::WatchEvent& event, host::WatchOutcome outcome, const std::string& path = {}) {
    EXPECT_STREQ(Name(event.outcome), Name(outcome)) << event.message;
    EXPECT_EQ(event.path, path);
}

class FileWatcherTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(folder.Path().empty());
        WriteFile(drawing, "first\n");
    }

    // Watches the drawing and `second` (the workbook's lock file).
    void WatchDrawingAnd(host::FileWatcher& watcher, const std::string& second) {
        ASSERT_TRUE(watcher.Watch(drawing));
        ASSERT_TRUE(watcher.Watch(second));
    }

    TempFolder folder;
    const std::string drawing = folder.File("plan.dxf");
    const std::string lock = folder.File(".~lock.book.xlsx#");
};

// The two ways editors save: rewriting the file in place, or a temporary file renamed over it.
class EditorSaveTest : public FileWatcherTest,
                       public ::testing::WithParamInterface<void (*)(const std::string&, const std::string&)> {};

TEST_P(EditorSaveTest, IsOneSave) {
    host::FileWatcher watcher;
    ASSERT_TRUE(watcher.Watch(drawing));
    GetParam()(drawing, "second\n");
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Saved, drawing);
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Timeout);
}

INSTANTIATE_TEST_SUITE_P(FileWatcher, EditorSaveTest, ::testing::Values(&WriteFile, &SaveByRename),
                         [](const auto& info) {
                             return std::string(info.param == &WriteFile ? "RewriteInPlace" : "TemporaryFileRenamedOverTheTarget");
                         });

TEST_F(FileWatcherTest, BurstOfWritesWhileWaitingIsOneSave) {
    // A settle time far above the writer's pauses, so the burst holds together under load.
    host::FileWatcher watcher(250ms);
    ASSERT_TRUE(watcher.Watch(drawing));
    std::thread writer([&] {
        for (int i = 0; i < 5; ++i) {
            std::this_thread::sleep_for(10ms);
            WriteFile(drawing, "part " + std::to_string(i) + "\n");
        }
    });
    const host::WatchEvent event = watcher.Wait(kPatience);
    writer.join();
    ExpectEvent(event, host::WatchOutcome::Saved, drawing);
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Timeout);
}

TEST_F(FileWatcherTest, WritesSeparatedByMoreThanTheSettleTimeAreTwoSaves) {
    host::FileWatcher watcher(20ms);
    ASSERT_TRUE(watcher.Watch(drawing));
    WriteFile(drawing, "second\n");
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Saved, drawing);
    WriteFile(drawing, "third\n");
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Saved, drawing);
}

TEST_F(FileWatcherTest, WriteToAnotherFileOfTheFolderIsNotASave) {
    host::FileWatcher watcher;
    ASSERT_TRUE(watcher.Watch(drawing));
    WriteFile(folder.File("other.dxf"), "x\n");
    SaveByRename(folder.File("plan.dxf.bak"), "y\n");
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Timeout);
}

TEST_F(FileWatcherTest, InterruptFromAnotherThreadEndsTheWait) {
    host::FileWatcher watcher;
    ASSERT_TRUE(watcher.Watch(drawing));
    const auto start = std::chrono::steady_clock::now();
    std::thread interrupter([&] {
        std::this_thread::sleep_for(50ms);
        watcher.Interrupt();
    });
    const host::WatchEvent event = watcher.Wait(kPatience);
    interrupter.join();
    ExpectEvent(event, host::WatchOutcome::Interrupted);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience);
    // Told once: the next wait waits again.
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Timeout);
}

TEST_F(FileWatcherTest, InterruptBeforeTheWaitIsToldByIt) {
    host::FileWatcher watcher;
    ASSERT_TRUE(watcher.Watch(drawing));
    watcher.Interrupt();
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Interrupted);
}

TEST_F(FileWatcherTest, SignalInterruptsTheWaitAndTheOldHandlerComesBack) {
    host::FileWatcher watcher;
    ASSERT_TRUE(watcher.Watch(drawing));
    struct sigaction ignoring {};
    ignoring.sa_handler = SIG_IGN;
    struct sigaction before {};
    ASSERT_EQ(::sigaction(SIGINT, &ignoring, &before), 0);
    {
        host::InterruptOnSignals guard(watcher);
        ASSERT_EQ(::raise(SIGINT), 0);
        ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Interrupted);
        ASSERT_EQ(::raise(SIGTERM), 0);
        ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Interrupted);
    }
    struct sigaction after {};
    ASSERT_EQ(::sigaction(SIGINT, &before, &after), 0);
    EXPECT_EQ(after.sa_handler, SIG_IGN);
}

TEST_F(FileWatcherTest, MissingFolderFailsNamingIt) {
    host::FileWatcher watcher;
    const std::string missing = folder.File("gone");
    const base::Status status = watcher.Watch(missing + "/plan.dxf");
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find(missing), std::string::npos) << status.Message();
    EXPECT_NE(status.Message().find("does not exist"), std::string::npos) << status.Message();
}

TEST_F(FileWatcherTest, PathOfAFolderIsRefused) {
    host::FileWatcher watcher;
    EXPECT_FALSE(watcher.Watch(folder.Path() + "/"));
}

TEST_F(FileWatcherTest, DeletionOfASecondWatchedNameIsReported) {
    WriteFile(lock, "user\n");
    host::FileWatcher watcher;
    WatchDrawingAnd(watcher, lock);
    ASSERT_EQ(::unlink(lock.c_str()), 0);
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Removed, lock);
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Timeout);
}

TEST_F(FileWatcherTest, SecondNameInAnotherFolderIsWatchedToo) {
    TempFolder other;
    const std::string elsewhere = other.File(".~lock.book.xlsx#");
    host::FileWatcher watcher;
    WatchDrawingAnd(watcher, elsewhere);
    WriteFile(elsewhere, "user\n");
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Saved, elsewhere);
    ASSERT_EQ(::unlink(elsewhere.c_str()), 0);
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Removed, elsewhere);
}

TEST_F(FileWatcherTest, SaveAndRemovalInOneBurstAreTwoEventsInOrder) {
    WriteFile(lock, "user\n");
    host::FileWatcher watcher;
    WatchDrawingAnd(watcher, lock);
    WriteFile(drawing, "second\n");
    ASSERT_EQ(::unlink(lock.c_str()), 0);
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Saved, drawing);
    ExpectEvent(watcher.Wait(0ms), host::WatchOutcome::Removed, lock);
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Timeout);
}

TEST_F(FileWatcherTest, FileMovedAwayIsRemovedAndDeletedThenWrittenAnewIsSaved) {
    host::FileWatcher watcher;
    ASSERT_TRUE(watcher.Watch(drawing));
    ASSERT_EQ(::rename(drawing.c_str(), folder.File("plan.old").c_str()), 0);
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Removed, drawing);
    // Some editors move the old file aside and write a new one: the file is there at the end.
    WriteFile(drawing, "anew\n");
    ASSERT_EQ(::unlink(drawing.c_str()), 0);
    WriteFile(drawing, "again\n");
    ExpectEvent(watcher.Wait(kPatience), host::WatchOutcome::Saved, drawing);
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Timeout);
}

TEST_F(FileWatcherTest, RemovedFolderFailsTheWatch) {
    TempFolder other;
    const std::string sub = other.File("sub");
    std::filesystem::create_directory(sub);
    host::FileWatcher watcher;
    ASSERT_TRUE(watcher.Watch(sub + "/plan.dxf"));
    std::filesystem::remove(sub);
    const host::WatchEvent event = watcher.Wait(kPatience);
    ExpectEvent(event, host::WatchOutcome::Failed);
    EXPECT_NE(event.message.find(sub), std::string::npos) << event.message;
    ExpectEvent(watcher.Wait(kSilence), host::WatchOutcome::Failed);
}

}  // namespace
