// Stand-ins for the desktop's helpers (xdg-open, gdbus) first on PATH, for the tests of the
// hand-over. Each appends its name and its arguments, one per line and then "--", to a log and
// exits with the status it was given. A held one first writes its pid, then waits on a pipe until
// the test releases it, and only then leaves a marker and exits.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>

class CStandInShell {
public:
    CStandInShell() {
        std::string name = "lvx-standin-";
        name += std::to_string(::getpid());
        name += '-';
        name += std::to_string(++count_);
        dir_ = std::filesystem::temp_directory_path() / name;
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_ / "bin");
        const char* path = std::getenv("PATH");
        oldPath_ = path ? path : "";
        ::setenv("PATH", ((dir_ / "bin").string() + ":" + oldPath_).c_str(), 1);
        Set("xdg-open", 0);
        Set("gdbus", 0);
    }

    // A held helper that was never released is killed: only its own pid file names it, and the
    // file is gone once the helper has passed its release.
    ~CStandInShell() {
        for (const char* name : {"xdg-open", "gdbus"}) {
            pid_t pid = 0;
            if (std::ifstream(File(name, "pid")) >> pid && pid > 0)
                ::kill(pid, SIGKILL);
        }
        for (auto& [name, fd] : releases_)
            ::close(fd);
        ::setenv("PATH", oldPath_.c_str(), 1);
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    CStandInShell(const CStandInShell&) = delete;
    CStandInShell& operator=(const CStandInShell&) = delete;

    // Makes name exit with status, at once or, when held, once released.
    void Set(const std::string& name, int status, bool held = false) {
        const std::string log = Quoted(dir_ / "calls.log");
        std::ofstream script(dir_ / "bin" / name);
        script << "#!/bin/sh\n";
        if (held) {
            ::mkfifo(File(name, "fifo").c_str(), 0600);
            script << "echo $$ > " << Quoted(File(name, "pid.new")) << "\n"
                   << "mv " << Quoted(File(name, "pid.new")) << " " << Quoted(File(name, "pid"))
                   << "\nread line < " << Quoted(File(name, "fifo")) << "\n"
                   << "rm -f " << Quoted(File(name, "pid")) << "\n"
                   << "echo released > " << Quoted(File(name, "marker")) << "\n";
        }
        script << "echo '" << name << "' >> " << log << "\n"
               << "for a in \"$@\"; do printf '%s\\n' \"$a\" >> " << log << "; done\n"
               << "echo -- >> " << log << "\n"
               << "exit " << status << "\n";
        script.close();
        ::chmod((dir_ / "bin" / name).c_str(), 0755);
    }

    // Leaves PATH with the stand-ins' folder alone, and name out of it: the helper cannot start.
    void Remove(const std::string& name) {
        std::filesystem::remove(dir_ / "bin" / name);
        ::setenv("PATH", (dir_ / "bin").c_str(), 1);
    }

    // True once the held helper name runs (its pid is written).
    bool Started(const std::string& name) const {
        return std::filesystem::exists(File(name, "pid")) || Released(name);
    }

    // Started, waiting for it; false when it has not started within a minute, a bound that only
    // keeps a broken test from hanging. For a helper that the call itself starts: nothing else
    // runs meanwhile.
    bool WaitUntilStarted(const std::string& name) const {
        for (int i = 0; i < 6000 && !Started(name); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return Started(name);
    }

    // Lets the held helper name go on. The pipe is opened for reading and writing, which never
    // blocks, and stays open so that the line waits there for the helper.
    void Release(const std::string& name) {
        int fd = ::open(File(name, "fifo").c_str(), O_RDWR | O_CLOEXEC);
        if (fd < 0)
            return;
        [[maybe_unused]] ssize_t written = ::write(fd, "go\n", 3);
        releases_.emplace(name, fd);
    }

    // True once the held helper name has been released and gone past its wait.
    bool Released(const std::string& name) const {
        return std::filesystem::exists(File(name, "marker"));
    }

    std::string Calls() const {
        std::ifstream in(dir_ / "calls.log");
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    const std::filesystem::path& Dir() const { return dir_; }

private:
    std::filesystem::path File(const std::string& name, const std::string& kind) const {
        return dir_ / (name + "." + kind);
    }
    static std::string Quoted(const std::filesystem::path& path) {
        std::string quoted = "'";
        quoted += path.string();
        quoted += '\'';
        return quoted;
    }

    static inline int count_ = 0;
    std::filesystem::path dir_;
    std::string oldPath_;
    std::multimap<std::string, int> releases_;
};
