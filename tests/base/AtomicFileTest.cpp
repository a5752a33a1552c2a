// Files written in pieces and put in place whole, with a backup of what they replace.
#include "base/AtomicFile.h"
#include "base/Path.h"

#include <algorithm>
#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/File.h"

namespace {

std::string Folder(const std::string& name) {
    std::string folder = ::testing::TempDir() + "/base-atomic-" + name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

std::size_t EntriesIn(const std::string& folder) {
    std::size_t n = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++n;
    return n;
}

TEST(AtomicFile, PiecesOfEverySizeArriveInOrder) {
    std::string folder = Folder("pieces");
    std::string expected;
    base::AtomicFile file(folder + "/out.dxf");
    ASSERT_TRUE(file.Open());
    for (std::size_t size : {0u, 1u, 100u, 300000u, 7u, 262144u, 262143u, 5u, 1000000u, 3u}) {
        std::string piece(size, static_cast<char>('a' + size % 26));
        expected += piece;
        file.Write(piece);
    }
    ASSERT_TRUE(file.Commit());
    EXPECT_TRUE(*base::ReadFile(folder + "/out.dxf") == expected);
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, AFileWrittenToDiskWhileItIsWrittenArrivesWhole) {
    // Past every 16 MiB the system is told to start writing; the file is the same.
    std::string folder = Folder("handed");
    std::string expected;
    base::AtomicFile file(folder + "/big.dxf");
    ASSERT_TRUE(file.Open());
    for (int i = 0; i < 40; ++i) {
        std::string piece((i % 3 + 1) * 700000 + i, static_cast<char>('a' + i % 26));
        expected += piece;
        file.Write(piece);
    }
    ASSERT_GT(expected.size(), std::size_t{48} << 20);
    ASSERT_TRUE(file.Commit());
    EXPECT_TRUE(*base::ReadFile(folder + "/big.dxf") == expected);
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, KeepsTheOldFileAsBackupAndItsPermissions) {
    std::string folder = Folder("backup");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    ::chmod(path.c_str(), 0600);
    base::AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    file.Write("new");
    ASSERT_TRUE(file.Commit(folder + "/plan.bak"));
    EXPECT_EQ(*base::ReadFile(path), "new");
    EXPECT_EQ(*base::ReadFile(folder + "/plan.bak"), "old");
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST(AtomicFile, AnUncommittedFileLeavesTheTargetAndNoTrace) {
    std::string folder = Folder("abandon");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    {
        base::AtomicFile file(path);
        ASSERT_TRUE(file.Open());
        file.Write("half of it");
    }
    EXPECT_EQ(*base::ReadFile(path), "old");
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, AMissingFolderIsReportedWithTheTarget) {
    base::AtomicFile file("/nonexistent-folder/plan.dxf");
    base::Status status = file.Open();
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("/nonexistent-folder/plan.dxf"), std::string::npos);
    EXPECT_FALSE(file.Commit());
}

TEST(AtomicFile, AFailedWriteIsReportedAtCommitAndTheTargetStays) {
    // A file size limit makes the writes fail part way, as a full disk would.
    std::string folder = Folder("full");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    base::AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    struct rlimit old {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = old;
    small.rlim_cur = 100000;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    file.Write(std::string(1000000, 'x'));
    file.Write("more");
    base::Status status = file.Commit();
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("cannot write"), std::string::npos) << status.Message();
    EXPECT_NE(status.Message().find("the original is unchanged"), std::string::npos);
    EXPECT_EQ(*base::ReadFile(path), "old");
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, AFailedRenameIsReportedAndTheTemporaryFileRemoved) {
    // A folder stands where the file should go: the rename fails, whoever runs the test.
    std::string folder = Folder("rename");
    std::string path = folder + "/plan.dxf";
    std::filesystem::create_directories(path + "/inside");
    base::AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    file.Write("new");
    base::Status status = file.Commit();
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("cannot replace"), std::string::npos) << status.Message();
    EXPECT_TRUE(std::filesystem::is_directory(path + "/inside"));
    EXPECT_EQ(EntriesIn(folder), 1u);
}

// Neither root nor the user running the tests: the owner of files that are not the user's.
constexpr uid_t kOtherUser = 65534;
constexpr gid_t kOtherGroup = 65534;

struct stat StatOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info;
}

// The pid of a process that has ended.
pid_t EndedPid() {
    const pid_t pid = ::fork();
    if (pid == 0)
        ::_exit(0);
    ::waitpid(pid, nullptr, 0);
    return pid;
}

std::string MakeTemporary(const std::string& folder, const std::string& target, pid_t pid,
                          const std::string& contents = "half a drawing") {
    std::string path = folder + "/." + target + ".velmar-tmp." + std::to_string(pid) + ".k3j9x2aa";
    EXPECT_TRUE(base::WriteFileAtomic(path, contents));
    return path;
}

void MakeOld(const std::string& path, int seconds) {
    struct timespec times[2];
    ::clock_gettime(CLOCK_REALTIME, &times[0]);
    times[0].tv_sec -= seconds;
    times[1] = times[0];
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST(AtomicFile, AReadOnlyTargetIsRefusedWithItsModeAndStaysAsItWas) {
    // 0444 is read-only whoever runs the test: for root through the mode bits, for others
    // through the access check.
    std::string folder = Folder("readonly");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    base::AtomicFile file(path);
    base::Status status = file.Open();
    ASSERT_FALSE(status);
    EXPECT_EQ(status.Message(), "Cannot save " + path +
                                    ": the file is read-only (mode 0444); make it writable or save "
                                    "under another name.");
    EXPECT_FALSE(file.Commit());
    EXPECT_FALSE(base::WriteFileAtomic(path, "new"));
    EXPECT_EQ(*base::ReadFile(path), "old");
    EXPECT_EQ(StatOf(path).st_mode & 07777, 0444u);
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, APipeOrDeviceAtTheTargetIsNotReplacedByAFile) {
    std::string folder = Folder("fifo");
    std::string path = folder + "/plan.dxf";
    ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0);
    base::Status status = base::WriteFileAtomic(path, "new");
    ASSERT_FALSE(status);
    EXPECT_EQ(status.Message(),
              "Cannot save " + path + ": it is not a regular file; save under another name.");
    struct stat info {};
    ASSERT_EQ(::lstat(path.c_str(), &info), 0);
    EXPECT_TRUE(S_ISFIFO(info.st_mode));
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, RootReplacesAFileWithAWriteBitKeepingItsOwnerGroupAndMode) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may give a file to another user";
    std::string folder = Folder("root-owner");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    ASSERT_EQ(::chown(path.c_str(), kOtherUser, kOtherGroup), 0);
    // Writable by its owner only: root may still write it in place, so the save goes ahead.
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    EXPECT_FALSE(base::IsReadOnlyForUs(path));
    ASSERT_TRUE(base::WriteFileAtomic(path, "new", {folder + "/plan.bak"}));
    EXPECT_EQ(*base::ReadFile(path), "new");
    struct stat info = StatOf(path);
    EXPECT_EQ(info.st_uid, kOtherUser);
    EXPECT_EQ(info.st_gid, kOtherGroup);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    struct stat backup = StatOf(folder + "/plan.bak");
    EXPECT_EQ(backup.st_uid, kOtherUser);
    EXPECT_EQ(backup.st_mode & 07777, 0640u);
}

TEST(AtomicFile, RootIsRefusedAFileWithoutAnyWriteBit) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "the mode rule is root's; others have the access check";
    std::string folder = Folder("root-nowrite");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    ASSERT_EQ(::chown(path.c_str(), kOtherUser, kOtherGroup), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0500), 0);
    EXPECT_TRUE(base::IsReadOnlyForUs(path));
    base::Status status = base::WriteFileAtomic(path, "new");
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("the file is read-only (mode 0500)"), std::string::npos)
        << status.Message();
    EXPECT_EQ(*base::ReadFile(path), "old");
    EXPECT_EQ(StatOf(path).st_uid, kOtherUser);
}

TEST(AtomicFile, AnOrdinaryUserMayNotReplaceAnotherUsersFileInTheirFolder) {
    // An ordinary user who owns the folder may rename over anything in it; the save must refuse
    // what the user couldn't write in place. Root tries it as another user.
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to act as two users";
    std::string folder = Folder("other-user");
    std::string theirs = folder + "/theirs.dxf";
    std::string mine = folder + "/mine.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(theirs, "theirs"));
    ASSERT_EQ(::chmod(theirs.c_str(), 0644), 0);
    ASSERT_TRUE(base::WriteFileAtomic(mine, "mine"));
    ASSERT_EQ(::chown(mine.c_str(), kOtherUser, kOtherGroup), 0);
    ASSERT_EQ(::chown(folder.c_str(), kOtherUser, kOtherGroup), 0);
    ASSERT_EQ(::chmod(folder.c_str(), 0755), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgroups(0, nullptr) != 0 || ::setgid(kOtherGroup) != 0 || ::setuid(kOtherUser) != 0)
            ::_exit(10);
        base::Status refused = base::WriteFileAtomic(theirs, "replaced");
        if (refused)
            ::_exit(11);
        if (refused.Message() != "Cannot save " + theirs +
                                     ": the file is read-only (mode 0644); make it writable or "
                                     "save under another name.")
            ::_exit(12);
        if (!base::WriteFileAtomic(mine, "mine, new"))
            ::_exit(13);
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(*base::ReadFile(theirs), "theirs");
    EXPECT_EQ(StatOf(theirs).st_uid, 0u);
    EXPECT_EQ(*base::ReadFile(mine), "mine, new");
    EXPECT_EQ(EntriesIn(folder), 2u);
}

TEST(AtomicFile, ABackupCopiedWhereNoLinkCanBeMadeKeepsTheOldMode) {
    std::string folder = Folder("backup-copy");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    base::InjectAtomicFileFailure(base::AtomicFileStep::Backup, EXDEV);
    ASSERT_TRUE(base::WriteFileAtomic(path, "new", {folder + "/plan.bak"}));
    EXPECT_EQ(*base::ReadFile(folder + "/plan.bak"), "old");
    EXPECT_NE(StatOf(folder + "/plan.bak").st_ino, StatOf(path).st_ino);
    EXPECT_EQ(StatOf(folder + "/plan.bak").st_mode & 07777, 0640u);
    EXPECT_EQ(StatOf(path).st_mode & 07777, 0640u);
}

TEST(AtomicFile, ABackupThatCannotBeMadeStopsTheSaveNamingTheBackup) {
    std::string folder = Folder("backup-fails");
    std::string path = folder + "/plan.dxf";
    std::string backup = folder + "/missing/plan.bak";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    base::Status status = base::WriteFileAtomic(path, "new", {backup});
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("cannot keep the backup \"" + backup + "\""), std::string::npos)
        << status.Message();
    EXPECT_EQ(*base::ReadFile(path), "old");
    EXPECT_EQ(EntriesIn(folder), 1u);
}

struct InjectedFailure {
    base::AtomicFileStep step;
    int error;
    const char* words;  // the start of the message
};

class AtomicFileFailure : public ::testing::TestWithParam<InjectedFailure> {};

TEST_P(AtomicFileFailure, IsReportedNamingThePathAndLeavesTheTargetAndNoTemporary) {
    const InjectedFailure& failure = GetParam();
    std::string folder = Folder("injected-" + std::to_string(static_cast<int>(failure.step)) + "-" +
                                std::to_string(failure.error));
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    base::InjectAtomicFileFailure(failure.step, failure.error);
    base::AtomicFile file(path);
    base::Status status = file.Open();
    if (status) {
        file.Write(std::string(300000, 'x'));
        status = file.Commit(folder + "/plan.bak");
    }
    base::InjectAtomicFileFailure(failure.step, 0);
    ASSERT_FALSE(status);
    const std::string expected =
        std::string(failure.words) + " \"" + path + "\": " + std::strerror(failure.error);
    EXPECT_EQ(status.Message().substr(0, expected.size()), expected) << status.Message();
    EXPECT_EQ(*base::ReadFile(path), "old");
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(name == "plan.dxf" || name == "plan.bak") << name;
    }
}

INSTANTIATE_TEST_SUITE_P(
    EverySystemCall, AtomicFileFailure,
    ::testing::Values(InjectedFailure{base::AtomicFileStep::Create, EACCES,
                                      "cannot create a temporary file beside"},
                      InjectedFailure{base::AtomicFileStep::Create, ENOSPC,
                                      "cannot create a temporary file beside"},
                      InjectedFailure{base::AtomicFileStep::Write, ENOSPC, "cannot write"},
                      InjectedFailure{base::AtomicFileStep::Write, EIO, "cannot write"},
                      InjectedFailure{base::AtomicFileStep::Sync, EIO, "cannot write"},
                      InjectedFailure{base::AtomicFileStep::Sync, ENOSPC, "cannot write"},
                      InjectedFailure{base::AtomicFileStep::Close, EIO, "cannot write"},
                      InjectedFailure{base::AtomicFileStep::Rename, EEXIST, "cannot replace"},
                      InjectedFailure{base::AtomicFileStep::Rename, EACCES, "cannot replace"},
                      InjectedFailure{base::AtomicFileStep::Rename, EXDEV, "cannot replace"}));

TEST(AtomicFile, ATemporaryNameAlreadyTakenIsNotFatal) {
    std::string folder = Folder("taken");
    std::string path = folder + "/plan.dxf";
    base::InjectAtomicFileFailure(base::AtomicFileStep::Create, EEXIST);
    ASSERT_TRUE(base::WriteFileAtomic(path, "new"));
    EXPECT_EQ(*base::ReadFile(path), "new");
}

TEST(AtomicFile, TemporariesAreNamedAfterTheTargetAndTheWritersPid) {
    std::string folder = Folder("naming");
    base::AtomicFile file(folder + "/plan.dxf");
    ASSERT_TRUE(file.Open());
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    ASSERT_EQ(names.size(), 1u);
    const std::string prefix = ".plan.dxf.velmar-tmp." + std::to_string(::getpid()) + ".";
    EXPECT_EQ(names[0].substr(0, prefix.size()), prefix) << names[0];
    EXPECT_GT(names[0].size(), prefix.size());
}

TEST(AtomicFile, ALeftoverOfAWriterThatEndedIsRemovedAndNamed) {
    std::string folder = Folder("stale-ended");
    std::string leftover = MakeTemporary(folder, "plan.dxf", EndedPid());
    EXPECT_EQ(base::RemoveStaleTemporaries(folder + "/plan.dxf"),
              std::vector<std::string>{leftover});
    EXPECT_EQ(EntriesIn(folder), 0u);
    EXPECT_TRUE(base::RemoveStaleTemporaries(folder + "/plan.dxf").empty());
}

TEST(AtomicFile, ATemporaryThatIsHeldIsKeptWhateverItsPidOrAge) {
    std::string folder = Folder("stale-held");
    std::string held = MakeTemporary(folder, "plan.dxf", EndedPid());
    MakeOld(held, 3 * 60 * 60);
    const int fd = ::open(held.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::flock(fd, LOCK_EX), 0);
    EXPECT_TRUE(base::RemoveStaleTemporaries(folder + "/plan.dxf").empty());
    EXPECT_TRUE(std::filesystem::exists(held));
    ::close(fd);
    EXPECT_EQ(base::RemoveStaleTemporaries(folder + "/plan.dxf"), std::vector<std::string>{held});
}

TEST(AtomicFile, AnUnheldTemporaryOfARunningPidIsKeptForAnHourThenRemoved) {
    // A writer between making its file and locking it runs; after an hour unheld, the pid is
    // taken to be another process's.
    std::string folder = Folder("stale-age");
    std::string fresh = MakeTemporary(folder, "plan.dxf", ::getpid());
    EXPECT_TRUE(base::RemoveStaleTemporaries(folder + "/plan.dxf").empty());
    MakeOld(fresh, 50 * 60);
    EXPECT_TRUE(base::RemoveStaleTemporaries(folder + "/plan.dxf").empty());
    MakeOld(fresh, 2 * 60 * 60);
    EXPECT_EQ(base::RemoveStaleTemporaries(folder + "/plan.dxf"), std::vector<std::string>{fresh});
}

TEST(AtomicFile, OnlyTheTargetsOwnTemporariesAreRemoved) {
    std::string folder = Folder("stale-others");
    const pid_t ended = EndedPid();
    MakeTemporary(folder, "plan.dxf.bak", ended);
    MakeTemporary(folder, "other.dxf", ended);
    ASSERT_TRUE(base::WriteFileAtomic(folder + "/.plan.dxf.tmpAbC123", "an older program's"));
    ASSERT_TRUE(base::WriteFileAtomic(folder + "/.plan.dxf.velmar-tmp.notapid.x", "no pid"));
    ASSERT_TRUE(base::WriteFileAtomic(folder + "/.plan.dxf.velmar-tmp.123", "no random part"));
    std::filesystem::create_directories(folder + "/.plan.dxf.velmar-tmp." + std::to_string(ended) +
                                        ".dir");
    EXPECT_TRUE(base::RemoveStaleTemporaries(folder + "/plan.dxf").empty());
    EXPECT_EQ(EntriesIn(folder), 6u);
}

TEST(AtomicFile, UnderASweepOnceEachFolderIsSweptOnceForTheLeftoversOfEveryFile) {
    const std::string folder = Folder("sweep-once");
    std::string plan = MakeTemporary(folder, "plan.dxf", EndedPid());
    std::string other = MakeTemporary(folder, "other.dxf", EndedPid());
    {
        base::FolderSweepOnce sweep;
        std::vector<std::string> removed = base::RemoveStaleTemporaries(folder + "/plan.dxf");
        std::sort(removed.begin(), removed.end());
        std::vector<std::string> both = {plan, other};
        std::sort(both.begin(), both.end());
        EXPECT_EQ(removed, both);
        // Swept: a leftover that appears meanwhile waits for the next sweep.
        std::string later = MakeTemporary(folder, "plan.dxf", EndedPid());
        EXPECT_TRUE(base::RemoveStaleTemporaries(folder + "/third.dxf").empty());
        EXPECT_TRUE(base::FileExists(later));
    }
    EXPECT_EQ(base::RemoveStaleTemporaries(folder + "/plan.dxf").size(), 1u);
}

TEST(AtomicFile, OpenRemovesTheTargetsLeftoversAndSaysWhich) {
    std::string folder = Folder("stale-open");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    std::string leftover = MakeTemporary(folder, "plan.dxf", EndedPid());
    base::AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    EXPECT_EQ(file.RemovedStale(), std::vector<std::string>{leftover});
    file.Write("new");
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(EntriesIn(folder), 1u);

    std::string another = MakeTemporary(folder, "plan.dxf", EndedPid());
    std::vector<std::string> removed;
    base::AtomicWriteOptions options;
    options.removedStale = &removed;
    ASSERT_TRUE(base::WriteFileAtomic(path, "newer", options));
    EXPECT_EQ(removed, std::vector<std::string>{another});
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, ATargetWithoutAFolderKeepsItsTemporariesInTheWorkingFolder) {
    std::string folder = Folder("relative");
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    std::string leftover = MakeTemporary(".", "plan.dxf", EndedPid());
    std::vector<std::string> removed = base::RemoveStaleTemporaries("plan.dxf");
    std::filesystem::current_path(previous);
    EXPECT_EQ(removed, std::vector<std::string>{".plan.dxf.velmar-tmp." +
                                                leftover.substr(leftover.rfind("tmp.") + 4)});
    EXPECT_EQ(EntriesIn(folder), 0u);
}

// The writer of the kill test: one step per message on `up`, each waiting for a go on `down`.
[[noreturn]] void WriteInSteps(const std::string& path, const std::string& bytes,
                               std::size_t pieces, int up, int down) {
    auto step = [&] {
        char c = 's';
        if (::write(up, &c, 1) != 1 || ::read(down, &c, 1) != 1)
            ::_exit(20);
    };
    step();
    base::AtomicFile file(path);
    if (!file.Open())
        ::_exit(21);
    step();
    const std::size_t piece = bytes.size() / pieces;
    for (std::size_t k = 0; k < pieces; ++k) {
        file.Write(
            std::string_view(bytes).substr(k * piece, k + 1 == pieces ? std::string::npos : piece));
        step();
    }
    if (!file.Commit(path + ".bak"))
        ::_exit(22);
    step();
    ::_exit(0);
}

TEST(AtomicFile, ASaveKilledAtAnyMomentLeavesTheOldOrTheNewFileAndALeftoverThatIsRemoved) {
    std::string folder = Folder("killed");
    std::string path = folder + "/plan.dxf";
    constexpr std::size_t kPieces = 17;
    std::string oldBytes(3 * 1024 * 1024 + 11, '\0');
    std::string newBytes(4 * 1024 * 1024 + 7, '\0');
    for (std::size_t i = 0; i < oldBytes.size(); ++i)
        oldBytes[i] = static_cast<char>(i * 7 % 251);
    for (std::size_t i = 0; i < newBytes.size(); ++i)
        newBytes[i] = static_cast<char>(i * 13 % 253);
    // Before the file is made, after it is made, after each piece, after the commit.
    constexpr int kMoments = 1 + 1 + static_cast<int>(kPieces) + 1;
    static_assert(kMoments == 20);
    for (int moment = 0; moment < kMoments; ++moment) {
        SCOPED_TRACE("killed at moment " + std::to_string(moment));
        std::filesystem::remove(path + ".bak");
        ASSERT_TRUE(base::WriteFileAtomic(path, oldBytes));
        int up[2], down[2];
        ASSERT_EQ(::pipe(up), 0);
        ASSERT_EQ(::pipe(down), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            WriteInSteps(path, newBytes, kPieces, up[1], down[0]);
        ::close(up[1]);
        ::close(down[0]);
        for (int step = 0;; ++step) {
            char c = 0;
            ASSERT_EQ(::read(up[0], &c, 1), 1) << "the writer stopped at step " << step;
            if (step == moment)
                break;
            ASSERT_EQ(::write(down[1], &c, 1), 1);
        }
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ::close(up[0]);
        ::close(down[1]);
        ASSERT_TRUE(WIFSIGNALED(status));

        const bool committed = moment == kMoments - 1;
        EXPECT_TRUE(*base::ReadFile(path) == (committed ? newBytes : oldBytes));
        if (committed) {
            EXPECT_TRUE(*base::ReadFile(path + ".bak") == oldBytes);
        } else {
            EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
        }
        const bool leftover = moment > 0 && !committed;
        std::vector<std::string> removed = base::RemoveStaleTemporaries(path);
        EXPECT_EQ(removed.size(), leftover ? 1u : 0u);
        EXPECT_EQ(EntriesIn(folder), committed ? 2u : 1u);
    }
}

}  // namespace
