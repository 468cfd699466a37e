// Tests of the file layer: the atomic replacement with links, leftovers of dead processes, files
// of our own opened without following links, and whole-file reads that never wait on a pipe.
#include "foundation/FileIo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/Paths.h"
#include "foundation/Win32Error.h"
#include "support/ChildProcess.h"
#include "support/Files.h"

namespace fs = std::filesystem;
using namespace testutil;

namespace {

i32 WriteAtomically(const fs::path& path, const std::string& text,
                    const AtomicWriteOptions& options = {}) {
    return WriteFileAtomically(W(path), reinterpret_cast<const u8*>(text.data()), text.size(),
                               options);
}

std::string TempName(pid_t pid, int n) {
    return ".lvx" + std::to_string(pid) + "-" + std::to_string(n) + ".tmp";
}

} // namespace

TEST(FileIoTest, AtomicWriteReplacesTheWholeFileAndLeavesNothingBeside) {
    CTempDir dir;
    AtomicWriteOptions privateFile;
    privateFile.newFileMode = 0600;
    ASSERT_EQ(WriteAtomically(dir / "a.bin", std::string("one\0two", 7), privateFile), 0);
    EXPECT_EQ(ReadText(dir / "a.bin"), std::string("one\0two", 7));
    EXPECT_EQ(fs::status(dir / "a.bin").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);

    // A file that exists is replaced as a whole and keeps its permissions.
    WriteText(dir / "b.bin", std::string(5000, 'x'));
    fs::permissions(dir / "b.bin",
                    fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    ASSERT_EQ(WriteAtomically(dir / "b.bin", "short"), 0);
    EXPECT_EQ(ReadText(dir / "b.bin"), "short");
    EXPECT_EQ(fs::status(dir / "b.bin").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    EXPECT_EQ(FileNames(dir.Path()), (std::vector<std::string>{"a.bin", "b.bin"}));

    // A missing folder, and a folder in the target's place: nothing is left behind.
    EXPECT_EQ(WriteAtomically(dir / "missing" / "c.bin", "x"), win32::kFileNotFound);
    fs::create_directory(dir / "taken");
    EXPECT_NE(WriteAtomically(dir / "taken", "x"), 0);
    EXPECT_EQ(FileNames(dir.Path()), (std::vector<std::string>{"a.bin", "b.bin", "taken"}));

    // A write stopped before the rename leaves the old file and, its file unnamed, nothing beside.
    AtomicWriteOptions stopped;
    stopped.beforeReplace = [] { return false; };
    EXPECT_EQ(WriteAtomically(dir / "b.bin", "never", stopped), win32::kOperationAborted);
    EXPECT_EQ(ReadText(dir / "b.bin"), "short");
    EXPECT_EQ(FileNames(dir.Path()), (std::vector<std::string>{"a.bin", "b.bin", "taken"}));
}

TEST(FileIoTest, ALinkAsTargetIsReplacedOrWrittenThroughAsAsked) {
    CTempDir dir;
    fs::create_directories(dir / "dotfiles");
    fs::create_directories(dir / "config");
    WriteText(dir / "dotfiles" / "settings", "old");

    // Through a relative link in a chain of two: the file pointed to is replaced, the links stay.
    fs::create_symlink("../dotfiles/settings", dir / "config" / "first");
    fs::create_symlink("first", dir / "config" / "settings");
    AtomicWriteOptions through;
    through.throughLinks = true;
    ASSERT_EQ(WriteAtomically(dir / "config" / "settings", "new", through), 0);
    EXPECT_TRUE(fs::is_symlink(dir / "config" / "settings"));
    EXPECT_TRUE(fs::is_symlink(dir / "config" / "first"));
    EXPECT_EQ(ReadText(dir / "dotfiles" / "settings"), "new");
    EXPECT_EQ(FileNames(dir / "dotfiles"), std::vector<std::string>{"settings"});

    // A link to a file that does not exist yet: the file is made where the link points.
    fs::create_symlink(dir / "dotfiles" / "later", dir / "config" / "later");
    ASSERT_EQ(WriteAtomically(dir / "config" / "later", "made", through), 0);
    EXPECT_TRUE(fs::is_symlink(dir / "config" / "later"));
    EXPECT_EQ(ReadText(dir / "dotfiles" / "later"), "made");

    std::wstring end;
    EXPECT_EQ(ResolveLinks(W(dir / "config" / "settings"), end), 0);
    EXPECT_EQ(end, W(dir / "config" / ".." / "dotfiles" / "settings"));
    fs::create_symlink("loop-b", dir / "config" / "loop-a");
    fs::create_symlink("loop-a", dir / "config" / "loop-b");
    EXPECT_EQ(ResolveLinks(W(dir / "config" / "loop-a"), end), Win32FromErrno(ELOOP));

    // Without following: the link itself is replaced by a plain file; its target stays.
    ASSERT_EQ(WriteAtomically(dir / "config" / "settings", "plain"), 0);
    EXPECT_FALSE(fs::is_symlink(dir / "config" / "settings"));
    EXPECT_EQ(ReadText(dir / "config" / "settings"), "plain");
    EXPECT_EQ(ReadText(dir / "dotfiles" / "settings"), "new");
}

TEST(FileIoTest, AWriteThatMayNotReplaceTakesOnlyAFreeName) {
    CTempDir dir;
    AtomicWriteOptions onlyNew;
    onlyNew.replaceExisting = false;
    ASSERT_EQ(WriteAtomically(dir / "new.bin", "made", onlyNew), 0);
    EXPECT_EQ(ReadText(dir / "new.bin"), "made");

    // A link (even to nowhere) and a folder under the name stay, with nothing beside them; a file
    // that stays is LunavexTaskTest's (an output that appeared after the check).
    fs::create_symlink(dir / "nowhere", dir / "link");
    EXPECT_EQ(WriteAtomically(dir / "link", "x", onlyNew), win32::kFileExists);
    EXPECT_TRUE(fs::is_symlink(dir / "link"));
    EXPECT_FALSE(fs::exists(dir / "nowhere"));
    fs::create_directory(dir / "folder");
    EXPECT_EQ(WriteAtomically(dir / "folder", "x", onlyNew), win32::kFileExists);
    EXPECT_TRUE(fs::is_empty(dir / "folder"));
    EXPECT_EQ(FileNames(dir.Path()), (std::vector<std::string>{"folder", "link", "new.bin"}));
}

// Only files that an atomic write left go: named in its form with their own inode, one link, held
// by no live writer and no source of the run. Files that merely look like them stay.
TEST(FileIoTest, TheSweepRemovesOnlyWhatAWriterLeft) {
    CTempDir dir;
    const fs::path out = dir / "out";
    fs::create_directories(out);
    const std::string stale = Leftover(out, "s");
    const std::string held = Leftover(out, "h");
    const std::string source = Leftover(out, "k");
    CFileDescriptor writer(::open((out / held).c_str(), O_RDONLY));
    ASSERT_EQ(::flock(writer.Get(), LOCK_EX), 0) << "as a live writer holds its file";
    KeepFromSweeps(W(out / source));
    const std::vector<std::string> lookalikes{
        TempName(DeadPid(), 4),        // the form of a dead process's file, the name a user's
        ".lvx-0123456789abcdef-1.tmp", // a wrong inode: a copy, or a user's
        Numbered(".lvx-0123456789abcdef-", static_cast<long long>(InodeOf(out / stale)), ""),
    };
    for (const std::string& name : lookalikes)
        WriteText(out / name, "mine");
    const std::string linked = Leftover(out, "l");
    fs::create_hard_link(out / linked, dir / "other-link");
    WriteText(dir / "victim", "keep");
    fs::create_symlink(dir / "victim", out / "link");
    const std::string link =
        Numbered(".lvx-0123456789abcdef-", static_cast<long long>(InodeOf(out / "link")), ".tmp");
    fs::rename(out / "link", out / link);

    ASSERT_EQ(WriteAtomically(out / "a.png", "image"), 0);
    std::vector<std::string> kept = lookalikes;
    kept.insert(kept.end(), {held, source, linked, link, "a.png"});
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(FileNames(out), kept);
    for (const std::string& name : lookalikes)
        EXPECT_EQ(ReadText(out / name), "mine");
    EXPECT_EQ(ReadText(dir / "victim"), "keep");

    // A save killed between writing and naming leaves nothing, whether it replaces or not.
    for (const bool replace : {false, true}) {
        fs::create_directories(dir / "round");
        ASSERT_EQ(InChild([&] {
                      AtomicWriteOptions killed;
                      killed.replaceExisting = replace;
                      killed.beforeReplace = [] {
                          ::_exit(7);
                          return true;
                      };
                      WriteAtomically(dir / "round" / "b.png", "half", killed);
                  }),
                  7);
        EXPECT_TRUE(FileNames(dir / "round").empty());
    }
}

TEST(FileIoTest, OwnFilesAreNeverOpenedThroughALinkOrWaitedOn) {
    CTempDir dir;
    WriteText(dir / "victim", "precious");
    fs::create_symlink(dir / "victim", dir / "LOG.txt");
    fs::create_symlink(dir / "nowhere", dir / "lock");
    CFileDescriptor fd;
    EXPECT_EQ(OpenOwnFile(W(dir / "LOG.txt"), O_WRONLY | O_CREAT | O_TRUNC, fd),
              Win32FromErrno(ELOOP));
    EXPECT_FALSE(fd.Valid());
    EXPECT_EQ(ReadText(dir / "victim"), "precious");
    EXPECT_EQ(OpenOwnFile(W(dir / "lock"), O_RDWR | O_CREAT, fd), Win32FromErrno(ELOOP));
    EXPECT_FALSE(fs::exists(dir / "nowhere"));

    // A pipe is refused at once, for writing and for reading.
    ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(OpenOwnFile(W(dir / "pipe"), O_RDWR | O_CREAT, fd), win32::kAccessDenied);
    std::vector<u8> bytes{1, 2, 3};
    bool exists = false;
    u64 size = 0;
    EXPECT_EQ(ReadWholeFile(W(dir / "pipe"), 99, bytes, exists, size), win32::kAccessDenied);
    EXPECT_TRUE(exists);
    EXPECT_EQ(bytes, (std::vector<u8>{1, 2, 3}));

    // A regular file opens, cut when asked; a new one is made with the owner's rights only.
    WriteText(dir / "own", "old contents");
    ASSERT_EQ(OpenOwnFile(W(dir / "own"), O_WRONLY | O_TRUNC, fd), 0);
    EXPECT_EQ(WriteAll(fd.Get(), reinterpret_cast<const u8*>("ab"), 2), 0);
    EXPECT_EQ(fd.Close(), 0);
    EXPECT_EQ(ReadText(dir / "own"), "ab");
    ASSERT_EQ(OpenOwnFile(W(dir / "fresh"), O_RDWR | O_CREAT, fd), 0);
    EXPECT_EQ(fs::status(dir / "fresh").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);

    // Whole-file reads: exact bytes, and a missing file is no failure.
    EXPECT_EQ(ReadWholeFile(W(dir / "victim"), 8, bytes, exists, size), 0);
    EXPECT_TRUE(exists);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "precious");
    EXPECT_EQ(ReadWholeFile(W(dir / "missing"), 99, bytes, exists, size), 0);
    EXPECT_FALSE(exists);
    EXPECT_EQ(ReadWholeFile(W(dir.Path()), 99, bytes, exists, size), win32::kDirectory);
    // One byte over the limit is refused on the size alone.
    EXPECT_EQ(ReadWholeFile(W(dir / "victim"), 7, bytes, exists, size), win32::kFileTooLarge);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "precious");
}
