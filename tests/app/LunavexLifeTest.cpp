// The whole life of the window program: the real lunavex started as a child process on the
// offscreen platform with its folders in a temporary place, closed by its test hook once shown.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <vector>

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTest>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "image/reference/WholeConversion.h"
#include "platform/RegistryExport.h"
#include "resources/StringIds.h"
#include "support/Files.h"
#include "support/LanguageGuard.h"
#include "support/PixelTestUtil.h"
#include "support/RegistryValues.h"
#include "support/ShellCommand.h"
#include "support/XdgSandbox.h"

namespace {

namespace fs = std::filesystem;

const std::wstring kSetting = L"Software\\Harrowmere\\Lunavex32\\Setting";

// The settings file as the program's own reader sees it; empty when it is no valid store.
CRegTree ReadStore(const fs::path& file) {
    CRegTree tree;
    EXPECT_TRUE(ParseRegistryExport(testutil::ReadBytes(file), tree)) << file;
    return tree;
}

// A value of the settings as the file holds it; an empty one when it is missing.
RegValueData ValueOf(const CRegTree& tree, const std::wstring& key, const std::wstring& name) {
    const RegKeyData* found = tree.FindKey(key);
    const RegValueData* value = found ? found->Find(name) : nullptr;
    return value ? *value : RegValueData{};
}

using testutil::Dword;

class LunavexLifeTest : public ::testing::Test {
protected:
    // The program's folders below home, the offscreen platform, Japanese; closed by its test hook
    // once shown when closeAfterShow is set.
    QProcessEnvironment Environment(bool closeAfterShow) const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        QString base = QString::fromStdString(home.string());
        env.insert(QStringLiteral("HOME"), base);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), base + QStringLiteral("/config"));
        env.insert(QStringLiteral("XDG_STATE_HOME"), base + QStringLiteral("/state"));
        // The window's socket for later starts: one for each test, whatever runs beside it.
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), base);
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("LANG"), QStringLiteral("ja_JP.UTF-8"));
        env.remove(QStringLiteral("LVX_TEST_CLOSE_AFTER_SHOW"));
        if (closeAfterShow)
            env.insert(QStringLiteral("LVX_TEST_CLOSE_AFTER_SHOW"), QStringLiteral("1"));
        env.remove(QStringLiteral("LVX_TEST_OPEN_ABOUT"));
        return env;
    }

    // What a run of the program said: its exit code, standard output and standard error.
    struct Ran {
        int code;
        QString out, err;
    };

    // Runs the program with args until it ends by itself; a box or a hang fails by the timeout.
    Ran RunProgram(const QProcessEnvironment& env, const QStringList& args = {}) {
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(LVX_GUI_EXE), args);
        const int code = Finish(process, "lunavex did not end by itself: a box may be waiting");
        return {code, QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    // Starts the program with no test hook and args in folder, waits until it has read its
    // settings (which makes the settings file) and until every file of waitFor is there, runs
    // meanwhile, sends SIGTERM and returns the exit code.
    int RunAndTerminate(const QStringList& args = {}, const fs::path& folder = {},
                        const std::vector<fs::path>& waitFor = {},
                        const std::function<void()>& meanwhile = {},
                        const QString& program = QStringLiteral(LVX_GUI_EXE)) {
        QProcess process;
        process.setProcessEnvironment(Environment(false));
        if (!folder.empty())
            process.setWorkingDirectory(QString::fromStdString(folder.string()));
        process.start(program, args);
        if (!process.waitForStarted(10000))
            return -1000;
        auto arrived = [&] {
            if (!fs::exists(SettingsFile()))
                return false;
            for (const fs::path& file : waitFor) {
                if (!fs::exists(file))
                    return false;
            }
            return true;
        };
        for (int i = 0; i < 600 && !arrived(); ++i)
            process.waitForFinished(100);
        EXPECT_TRUE(fs::exists(SettingsFile())) << "the program read its settings";
        for (const fs::path& file : waitFor)
            EXPECT_TRUE(fs::exists(file)) << file;
        if (meanwhile)
            meanwhile();
        process.terminate(); // SIGTERM
        return Finish(process, "lunavex did not end on SIGTERM");
    }

    // The exit code of a started process once it has ended normally (not by a signal); a process
    // that does not end within a minute is killed and fails the test with hang.
    static int Finish(QProcess& process, const char* hang) {
        if (!process.waitForStarted(10000))
            return -1000;
        if (!process.waitForFinished(60000)) {
            process.kill();
            process.waitForFinished(5000);
            ADD_FAILURE() << hang;
            return -1001;
        }
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "not ended by a signal";
        return process.exitCode();
    }

    fs::path SettingsFile() const { return home / "config" / "Harrowmere" / "Lunavex32.reg"; }
    fs::path LogFile() const { return home / "state" / "Harrowmere" / "Lunavex32" / "LOG.txt"; }

    testutil::CTempDir temp;
    const fs::path home = temp.Path();
};

// The settings are read at the start and saved on the way out, by the window's close and by
// SIGTERM; a save that fails at SIGTERM (its lock made a folder) waits on no box but logs.
TEST_F(LunavexLifeTest, TheSettingsAreReadAtTheStartAndSavedOnEveryWayOut) {
    EXPECT_EQ(RunAndTerminate(), 1);
    const CRegTree store = ReadStore(SettingsFile());
    EXPECT_EQ(ValueOf(store, kSetting, L"SaveType"), Dword(2));
    EXPECT_EQ(ValueOf(store, kSetting + L"\\SubFolder\\00", L""), testutil::Text(1, L"round"));

    // A store that holds the quality alone: it is read, and the close saves the rest.
    const std::vector<u8> body =
        Utf16LeFromWide(L"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\" +
                        kSetting + L"]\r\n\"JpegQuality\"=dword:0000005a\r\n");
    testutil::WriteText(SettingsFile(), "\xFF\xFE" + std::string(body.begin(), body.end()));
    EXPECT_EQ(RunProgram(Environment(true)).code, 1);
    const CRegTree closed = ReadStore(SettingsFile());
    EXPECT_EQ(ValueOf(closed, kSetting, L"JpegQuality"), Dword(90));
    EXPECT_EQ(ValueOf(closed, kSetting, L"OutputPath"),
              testutil::Text(1, (home / "Pictures").wstring()));
    EXPECT_EQ(testutil::ReadText(LogFile()), std::string("\xFF\xFE"));

    fs::remove_all(home / "config");
    fs::remove_all(home / "state");
    const fs::path lock = SettingsFile().string() + ".lock";
    EXPECT_EQ(RunAndTerminate({}, {}, {},
                              [&] {
                                  fs::remove(lock);
                                  fs::create_directory(lock);
                              }),
              1);
    CLanguageGuard japanese(1041);
    std::wstring line;
    FormatResString(line, strid::kSaveSettingsFailedAtEnd, {SettingsFile().wstring()});
    EXPECT_EQ(XdgSandbox::ReadUtf16File(LogFile()), line + L"\r\n");
}

// Both programs convert files named on the command line alike, every byte of the name left to the
// kernel: a path of over 300 characters, "lnk/.." (the link target's parent), a name not UTF-8.
// So does a later start of the window program, which hands the names to the running window.
TEST_F(LunavexLifeTest, OddNamesAreTheSameFilesOnEveryRoad) {
    using namespace std::string_literals;
    std::string deep;
    for (char i = '0'; i < '4'; ++i) {
        for (int j = 0; j < 13; ++j)
            deep += "写真フォルダ";
        deep += std::string(1, i) + "/";
    }
    fs::create_directories(home / deep);
    fs::create_directories(home / "n" / "other" / "deep");
    fs::create_directory_symlink("other/deep", home / "n" / "lnk");
    const std::vector<std::string> names = {deep + "a.png", home.string() + "/n/lnk/../x.png",
                                            "p\xE9.png"};
    for (const std::string& at : {names[0], names[2], "n/other/x.png"s, "n/x.png"s})
        ASSERT_TRUE(
            testutil::SaveImage(*testutil::Solid(6, 4, 40, 30, 200), L"image/png", home / at));
    const std::vector<fs::path> outputs = {home / deep / "round" / "a.jpg",
                                           home / "n" / "other" / "round" / "x.jpg",
                                           home / "round" / "p\xE9.jpg"};

    // Both programs convert the same three files into the same outputs; nothing lands in n/round.
    const std::string args = "\"$1\" " + names[1] + " \"$(printf \"p\\351.png\")\"";
    const std::string env = "HOME=" + home.string() + " XDG_CONFIG_HOME=" + home.string() +
                            "/config XDG_STATE_HOME=" + home.string() + "/state ";
    auto inHome = [&](const std::string& moreEnv, const char* program) {
        return "cd " + home.string() + " && " + env + moreEnv + "sh -c 'exec \"$0\" " + args +
               "' " + program + " '" + names[0] + "' 2>&1";
    };
    std::string printed;
    EXPECT_EQ(RunShellCommand(inHome("", LVX_BATCH_EXE), printed), 0) << printed;
    EXPECT_FALSE(fs::exists(home / "n" / "round"));
    std::vector<std::vector<u8>> first;
    for (const fs::path& output : outputs)
        first.push_back(testutil::ReadBytes(output));
    const QStringList shell = {QStringLiteral("-c"), QString::fromStdString("exec \"$0\" " + args),
                               QStringLiteral(LVX_GUI_EXE), QString::fromStdString(names[0])};
    auto handOver = [&] {
        const std::string moreEnv =
            "XDG_RUNTIME_DIR=" + home.string() + " QT_QPA_PLATFORM=offscreen ";
        EXPECT_EQ(RunShellCommand(inHome(moreEnv, LVX_GUI_EXE), printed), 0) << printed;
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return std::ranges::all_of(outputs, [](auto& o) { return fs::exists(o); }); },
            60000));
    };
    for (const bool later : {false, true}) {
        for (const fs::path& output : outputs)
            fs::remove_all(output.parent_path());
        // The window listens before it reads its settings: once their file is made anew, a later
        // start finds it listening.
        fs::remove(SettingsFile());
        EXPECT_EQ(later ? RunAndTerminate({}, {}, {}, handOver)
                        : RunAndTerminate(shell, home, outputs, {}, QStringLiteral("/bin/sh")),
                  1);
        for (size_t i = 0; i < outputs.size(); ++i)
            EXPECT_EQ(testutil::ReadBytes(outputs[i]), first[i]) << outputs[i] << later;
        EXPECT_FALSE(fs::exists(home / "n" / "round"));
    }
}

// The window program's own options answer on standard output; an unknown one, such as an option
// of Qt's own, is refused before any window opens; without a display one line says so.
TEST_F(LunavexLifeTest, OptionsAndAMissingDisplayAnswerWithoutAWindow) {
    const Ran version = RunProgram(Environment(false), {QStringLiteral("--version")});
    EXPECT_EQ(version.code, 0);
    EXPECT_TRUE(version.out.startsWith(QStringLiteral("lunavex ")));
    EXPECT_TRUE(version.err.isEmpty());
    const Ran help = RunProgram(Environment(false), {QStringLiteral("--help")});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("使い方: lunavex ")));
    const Ran wrong =
        RunProgram(Environment(false), {QStringLiteral("-platform"), QStringLiteral("xcb")});
    EXPECT_EQ(wrong.code, 2);
    EXPECT_TRUE(wrong.out.isEmpty());
    EXPECT_EQ(wrong.err, QStringLiteral("不明なオプションです: -platform\n\n") + help.out);

    QProcessEnvironment env = Environment(false);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":9873"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    const Ran ran = RunProgram(env); // not ended by a signal: not an abort
    EXPECT_EQ(ran.code, 2);
    EXPECT_EQ(
        ran.err,
        QStringLiteral("lunavex: ディスプレイに接続できないため起動できません (DISPLAY=:9873)\n"));
    EXPECT_TRUE(ran.out.isEmpty());
    EXPECT_FALSE(fs::exists(SettingsFile())) << "nothing was read or saved";
}

} // namespace
