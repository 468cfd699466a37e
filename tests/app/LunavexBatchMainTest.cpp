// Tests of the lunavex-batch program as a whole: what it says about a settings file that is
// damaged, too deep, no ordinary file or too large, and how a signal or a closed output ends a run.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "resources/StringIds.h"
#include "support/AddressSpaceLimit.h"
#include "support/Files.h"
#include "support/LanguageGuard.h"
#include "support/PixelTestUtil.h"
#include "support/ShellCommand.h"

using namespace testutil;

namespace {

// Runs lunavex-batch with a shell prefix (such as a ulimit) and the given arguments and
// redirections, English texts, the store below config; what the shell captured goes to output.
int RunBatchExe(const std::filesystem::path& config, const std::string& prefix,
                const std::string& args, std::string& output) {
    return RunShellCommand(prefix + "XDG_CONFIG_HOME=" + config.string() +
                               " LANG=C.UTF-8 LC_ALL= " + LVX_BATCH_EXE + " " + args,
                           output);
}

// Starts lunavex-batch as RunBatchExe does, with standard output on out, standard error into
// errors and the signals at their default actions; returns its pid.
pid_t StartBatch(const std::filesystem::path& config, const std::string& args, int out,
                 const std::filesystem::path& errors) {
    const std::string command = "XDG_CONFIG_HOME=" + config.string() +
                                " LANG=C.UTF-8 LC_ALL= exec " + LVX_BATCH_EXE + " " + args + " 2>" +
                                errors.string();
    const pid_t pid = ::fork();
    if (pid != 0)
        return pid;
    ::dup2(out, 1);
    for (int signal : {SIGINT, SIGTERM, SIGPIPE})
        ::signal(signal, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    ::_exit(127);
}

// The exit status of a child that ended normally; 1000 plus the signal that ended it otherwise.
int ExitStatus(pid_t pid) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

std::string Text8(u32 id, std::initializer_list<FormatArg> args = {}) {
    std::wstring text;
    FormatResString(text, id, args);
    return Utf8FromWide(text);
}

std::string Utf16Store(const std::string& asciiBody) {
    std::string bytes = "\xFF\xFE";
    for (char c : "Windows Registry Editor Version 5.00\r\n\r\n" + asciiBody) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

// A temporary folder holding a.png and the store's folder below config; English texts.
class LunavexBatchMainTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(folder);
        ASSERT_TRUE(SaveImage(*Solid(8, 8, 1, 2, 3), L"image/png", dir / "a.png"));
    }

    CLanguageGuard english{1033};
    testutil::CTempDir temp;
    const std::filesystem::path dir = temp.Path();
    const std::filesystem::path folder = dir / "config" / "Harrowmere";
};

} // namespace

// The program's help, in English outside a Japanese locale, and its exit codes as the shell sees
// them; no option of a run is stored.
TEST_F(LunavexBatchMainTest, TheProgramAnswersWithItsExitCodes) {
    auto run = [&](const std::string& args, std::string& output) {
        return RunBatchExe(dir / "config", "", args + " 2>&1", output);
    };
    std::string output;
    EXPECT_EQ(run("--help", output), 0);
    EXPECT_NE(output.find("--overwrite"), std::string::npos);
    EXPECT_NE(output.find("--max-pixels=N"), std::string::npos);
    EXPECT_NE(output.find("Exit status"), std::string::npos);
    EXPECT_EQ(run("--bogus", output), 2);
    EXPECT_EQ(run((dir / "nothing.png").string(), output), 3);
    EXPECT_EQ(run("--format=png " + (dir / "a.png").string(), output), 0);
    EXPECT_EQ(output, (dir / "round" / "a.png").string() + "\n");
    // Reading the store may create the application's key, but no option of the run is stored.
    const std::string store = ReadText(folder / "Lunavex32.reg");
    EXPECT_EQ(store.find(std::string("S\0a\0v\0e\0T\0", 10)), std::string::npos);
}

// SIGTERM or SIGINT once the first path has arrived ends the run between two files: every file in
// the output folder has been listed, in whole lines, and the exit status and a line on standard
// error say why. Standard output with no reader ends the run after its first file, by a status.
TEST_F(LunavexBatchMainTest, SignalsAndAClosedOutputStopBetweenFilesAndListEveryFileWritten) {
    // Enough files, large enough, that the run is still going when the first path arrives.
    ASSERT_TRUE(SaveImage(*Solid(1500, 1500, 1, 2, 3), L"image/png", dir / "f00.png"));
    std::string args = "--format=png --jobs=1 " + (dir / "f00.png").string();
    for (int i = 10; i < 50; ++i) {
        const auto file = dir / ("f" + std::to_string(i) + ".png");
        std::filesystem::copy_file(dir / "f00.png", file);
        args += " " + file.string();
    }
    const auto errors = dir / "errors.txt";
    for (auto [signal, status, name] :
         {std::tuple{SIGTERM, 143, L"SIGTERM"}, std::tuple{SIGINT, 130, L"SIGINT"}}) {
        std::filesystem::remove_all(dir / "round");
        int pipe[2];
        ASSERT_EQ(::pipe(pipe), 0);
        const pid_t pid = StartBatch(dir / "config", args, pipe[1], errors);
        ::close(pipe[1]);
        std::string listed;
        char buffer[4096];
        for (ssize_t n; (n = ::read(pipe[0], buffer, sizeof buffer)) > 0;) {
            if (listed.empty())
                ::kill(pid, signal);
            listed.append(buffer, static_cast<size_t>(n));
        }
        ::close(pipe[0]);
        const int code = ExitStatus(pid);
        std::string written;
        for (const std::string& file : FileNames(dir / "round"))
            written += (dir / "round" / file).string() + "\n";
        EXPECT_EQ(listed, written) << name;
        // A run that ended before the signal came lists all its files.
        const auto count = std::count(written.begin(), written.end(), '\n');
        if (code == 0 && count == 41)
            continue;
        EXPECT_EQ(code, status) << name;
        EXPECT_LT(count, 41) << name;
        EXPECT_EQ(ReadText(errors), Text8(strid::kStoppedBySignal, {name}) + "\n") << name;
    }

    std::filesystem::remove_all(dir / "round");
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    ::close(pipe[0]);
    const pid_t pid = StartBatch(dir / "config", args, pipe[1], errors);
    ::close(pipe[1]);
    EXPECT_EQ(ExitStatus(pid), 1);
    EXPECT_EQ(ReadText(errors), Text8(strid::kPathListUnwritable) + "\n");
    EXPECT_EQ(FileNames(dir / "round"), std::vector<std::string>{"f00.png"});
}

// A store too deep to read under a memory limit, or of 2 GiB, is kept aside and the run goes on
// with the defaults; one line says why (every other reason a store is unread: RegistryFileTest).
TEST_F(LunavexBatchMainTest, AnUnusableStoreIsKeptAsideAndSaidOnStandardError) {
    LVX_SKIP_UNDER_ADDRESS_LIMIT();
    const auto store = folder / "Lunavex32.reg";
    std::string deep = "[HKEY_CURRENT_USER\\Software";
    for (int i = 0; i < 20000; ++i)
        deep += "\\k";
    for (const std::string kind : {"damaged", "2 GiB"}) {
        std::filesystem::remove_all(dir / "config");
        std::filesystem::remove_all(dir / "round");
        std::filesystem::create_directories(folder);
        if (kind == "damaged")
            WriteText(store, Utf16Store(deep + "]\r\n\"x\"=dword:00000001\r\n"));
        if (kind == "2 GiB") {
            WriteText(store, "");
            std::filesystem::resize_file(store, 2ull << 30);
        }
        const std::string before = kind == "damaged" ? ReadText(store) : "";
        std::string errors;
        EXPECT_EQ(RunBatchExe(dir / "config", "ulimit -v 1048576; ",
                              "--format=png " + (dir / "a.png").string() + " 2>&1 >/dev/null",
                              errors),
                  0)
            << kind << ": " << errors;
        EXPECT_TRUE(std::filesystem::exists(dir / "round" / "a.png")) << kind;
        const std::vector<std::string> names = FileNames(folder);
        ASSERT_EQ(names.size(), 3u) << kind << ": the kept file, the new store and its lock";
        const auto kept = folder / names[1];
        EXPECT_TRUE(names[1].starts_with("Lunavex32.reg.damaged-")) << kind;
        if (kind == "damaged") {
            EXPECT_EQ(ReadText(kept), before);
            EXPECT_EQ(errors, Text8(strid::kSettingsKeptAside, {kept.wstring()}) + "\n");
            continue;
        }
        EXPECT_EQ(std::filesystem::file_size(kept), 2ull << 30);
        EXPECT_EQ(errors,
                  Text8(strid::kSettingsTooLarge, {L"2147483648", L"1048576", kept.wstring()}) +
                      "\n");
    }
}
