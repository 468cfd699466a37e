// Tests of the hand-over of a later start's files to the running window: the paths arrive byte
// for byte over the socket and convert as a drop, or are refused while a batch runs; a socket
// left behind is replaced.
#include "app/WindowHandOver.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <future>

#include "app/HandedOverFiles.h"
#include "foundation/FileIo.h"
#include "resources/StringIds.h"
#include "support/BatchViewFixture.h"
#include "support/GateClient.h"

namespace {

namespace fs = std::filesystem;

using WindowHandOverTest = BatchViewFixture;

// Runs start on another thread, as a later start of the program, while this thread's loop serves
// and then does meanwhile; the answer of start.
bool FromAnotherStart(const std::function<bool()>& start, const std::function<void()>& meanwhile) {
    std::future<bool> sent = std::async(std::launch::async, start);
    meanwhile();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return sent.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
        60000));
    return sent.get();
}

// Whether a process of this machine waits for an flock on file, as the kernel's list of locks
// says: its waiters' lines read "N: -> FLOCK ... MAJOR:MINOR:INODE ...".
bool WaitsForLock(const fs::path& file) {
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0)
        return false;
    std::ifstream locks("/proc/locks");
    const std::string inode = ":" + std::to_string(info.st_ino) + " ";
    for (std::string line; std::getline(locks, line);) {
        if (line.find("-> FLOCK") != std::string::npos && line.find(inode) != std::string::npos)
            return true;
    }
    return false;
}

// Sends paths to name from another start; the answer of Send.
bool SendFromAnotherStart(const QString& name, const std::vector<std::string>& paths) {
    return FromAnotherStart([&] { return lvx::CWindowHandOver::Send(name, paths); }, [] {});
}

TEST_F(WindowHandOverTest, PathsArriveByteForByteAndConvertAsADropAndAStaleSocketIsReplaced) {
    Png(dir, "a.png", 200);
    Png(dir, "b\xE9\x80.png", 50); // not UTF-8
    const std::vector<std::string> paths = {(dir / "a.png").string(),
                                            (dir / "b\xE9\x80.png").string()};
    std::vector<std::string> received;
    lvx::CWindowHandOver window([&](const std::vector<std::string>& handed) {
        received = handed;
        lvx::DropHandedOverFiles(handed);
    });
    const QString name = QString::fromStdString((dir / "socket").string());
    EXPECT_FALSE(SendFromAnotherStart(name, paths)) << "no window listens yet";
    ASSERT_TRUE(window.Listen(name));
    EXPECT_EQ(fs::status(dir / "socket").permissions() & fs::perms::others_all, fs::perms::none);

    ASSERT_TRUE(SendFromAnotherStart(name, paths));
    ASSERT_EQ(received, paths);
    ASSERT_TRUE(view->TimerRunning() && RunToEnd());
    EXPECT_TRUE(msg.boxes.empty());
    for (const char* output : {"a.png", "b\xE9\x80.png"})
        EXPECT_TRUE(fs::is_regular_file(dir / "out" / output)) << output;

    // While a batch runs the files are refused as a drop is, with a box that waits for nothing.
    CGateClient gate;
    ASSERT_TRUE(view->Batch().Start({FailingTask(&gate, L"held")}, {}));
    gate.WaitUntilInside();
    ASSERT_TRUE(SendFromAnotherStart(name, {paths[0]}));
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, my::CException(strid::kNoDropWhileRunning).text);
    EXPECT_FALSE(msg.boxes[0].waited);
    gate.Open();
    view->Batch().Wait();

    // A socket bound and never listening, as a crash leaves it, is replaced.
    const std::string left = (dir / "left").string();
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    std::strncpy(address.sun_path, left.c_str(), sizeof(address.sun_path) - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(fd);
    lvx::CWindowHandOver next([&](const std::vector<std::string>& handed) { received = handed; });
    ASSERT_TRUE(next.Listen(QString::fromStdString(left)));
    ASSERT_TRUE(SendFromAnotherStart(QString::fromStdString(left), {"/x/\xFF.jpg"}));
    EXPECT_EQ(received, std::vector<std::string>{"/x/\xFF.jpg"});

    // Starts take turns: one that waits while another holds the turn finds that one listening
    // once it has the turn, and hands over instead of listening itself.
    const QString turns = QString::fromStdString((dir / "turns").string());
    const CFileDescriptor held(::open((dir / "turns.lock").c_str(), O_RDWR | O_CREAT, 0600));
    ASSERT_EQ(::flock(held.Get(), LOCK_EX), 0);
    lvx::CWindowHandOver first([&](const std::vector<std::string>& handed) { received = handed; });
    EXPECT_TRUE(FromAnotherStart(
        [&] {
            lvx::CWindowHandOver later(lvx::CWindowHandOver::Receiver{});
            return later.HandOverOrListen(turns, {"/y.png"});
        },
        [&] {
            EXPECT_TRUE(QTest::qWaitFor([&] { return WaitsForLock(dir / "turns.lock"); }, 20000))
                << "the later start waits for its turn";
            ASSERT_TRUE(first.Listen(turns));
            ::flock(held.Get(), LOCK_UN);
        }));
    EXPECT_EQ(received, std::vector<std::string>{"/y.png"});
}

} // namespace
