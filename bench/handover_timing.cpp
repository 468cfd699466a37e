// How long the window's thread is held by the output-folder button when the desktop's opener
// never returns: a stand-in xdg-open that sleeps until it is killed comes first on PATH, and the
// command behind the button is timed on the main thread. Prints one line per run, in milliseconds.
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <QApplication>

#include "app/CommandExplorer.h"
#include "batch/Setting.h"
#include "foundation/Msg.h"
#include "foundation/Paths.h"
#include "platform/qt/QtChildWatch.h"

namespace {

constexpr int kRuns = 3;

// The pid that the stand-in wrote, once it has; 0 when it never did within a minute.
pid_t WaitForPid(const std::filesystem::path& file) {
    for (int i = 0; i < 6000; ++i) {
        pid_t pid = 0;
        if (std::ifstream(file) >> pid)
            return pid;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (!std::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication application(argc, argv);
    CQtChildWatch childWatch;
    std::string pattern = (std::filesystem::temp_directory_path() / "lvx-handover-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        return 1;
    const std::filesystem::path dir = pattern;
    std::filesystem::create_directories(dir / "bin");
    const std::filesystem::path pidFile = dir / "opener.pid";
    const std::filesystem::path opener = dir / "bin" / "xdg-open";
    std::ofstream(opener) << "#!/bin/sh\necho $$ > '" << pidFile.string()
                          << "'\nexec sleep 100000\n";
    ::chmod(opener.c_str(), 0755);
    const char* path = std::getenv("PATH");
    ::setenv("PATH", ((dir / "bin").string() + ":" + (path ? path : "")).c_str(), 1);

    TheSetting().outputPath = FromFileSystemPath(dir.string());
    CMsg msg;
    lvx::CCommandExplorerOutputPath command(&msg);
    int status = 0;
    for (int run = 0; run < kRuns; ++run) {
        std::filesystem::remove(pidFile);
        auto start = std::chrono::steady_clock::now();
        command.Execute(true, false);
        auto held = std::chrono::steady_clock::now() - start;
        std::printf("run %d: window thread held %.1f ms\n", run + 1,
                    std::chrono::duration<double, std::milli>(held).count());
        pid_t pid = WaitForPid(pidFile);
        if (pid <= 0) {
            std::puts("the stand-in opener did not start");
            status = 1;
            break;
        }
        ::kill(pid, SIGKILL);
        QCoreApplication::processEvents();
    }
    std::filesystem::remove_all(dir);
    return status;
}
