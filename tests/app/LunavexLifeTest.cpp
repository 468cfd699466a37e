// The whole life of the window program: the real lunavex started as a child process on the
// offscreen platform with its folders in a temporary place, closed by its test hook once shown.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include "platform/RegistryExport.h"
#include "support/Files.h"
#include "support/RegistryValues.h"
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
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("LANG"), QStringLiteral("ja_JP.UTF-8"));
        env.remove(QStringLiteral("LVX_TEST_CLOSE_AFTER_SHOW"));
        if (closeAfterShow)
            env.insert(QStringLiteral("LVX_TEST_CLOSE_AFTER_SHOW"), QStringLiteral("1"));
        env.remove(QStringLiteral("LVX_TEST_OPEN_ABOUT"));
        return env;
    }

    // Runs the program until it ends by itself; a box or a hang fails by the timeout.
    int RunProgram() {
        QProcess process;
        process.setProcessEnvironment(Environment(true));
        process.start(QStringLiteral(LVX_GUI_EXE),
                      QStringList{QStringLiteral("--ignored"), QStringLiteral("-platform")});
        return Finish(process, "lunavex did not end by itself: a box may be waiting");
    }

    // Starts the program with no test hook, waits until it has read its settings (which makes the
    // settings file), sends SIGTERM and returns the exit code.
    int RunAndTerminate() {
        QProcess process;
        process.setProcessEnvironment(Environment(false));
        process.start(QStringLiteral(LVX_GUI_EXE), QStringList{});
        if (!process.waitForStarted(10000))
            return -1000;
        for (int i = 0; i < 600 && !fs::exists(SettingsFile()); ++i)
            process.waitForFinished(100);
        EXPECT_TRUE(fs::exists(SettingsFile())) << "the program read its settings";
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

// The whole saved file is checked value by value by the settings tests; here it is the program
// that saves it, on its way out.
TEST_F(LunavexLifeTest, FirstStartSavesTheDefaultsAndEndsWithOne) {
    ASSERT_FALSE(fs::exists(SettingsFile()));
    EXPECT_EQ(RunProgram(), 1);
    EXPECT_EQ(testutil::ReadText(LogFile()), std::string("\xFF\xFE"));
    const CRegTree store = ReadStore(SettingsFile());
    EXPECT_EQ(ValueOf(store, kSetting, L"OutputPath"),
              testutil::Text(1, (home / "Pictures").wstring()));
    EXPECT_EQ(ValueOf(store, kSetting, L"SaveType"), Dword(2));
    EXPECT_EQ(ValueOf(store, kSetting + L"\\SubFolder\\00", L""), testutil::Text(1, L"round"));
}

TEST_F(LunavexLifeTest, SigtermSavesTheSettingsAsTheEndOfTheSessionDoes) {
    EXPECT_EQ(RunAndTerminate(), 1);
    // Reading creates only the application key; the values come from the save on the way out.
    const CRegTree store = ReadStore(SettingsFile());
    EXPECT_EQ(ValueOf(store, kSetting, L"SaveType"), Dword(2));
    EXPECT_EQ(ValueOf(store, kSetting + L"\\SubFolder\\00", L""), testutil::Text(1, L"round"));
}

TEST_F(LunavexLifeTest, WithoutADisplayOneLineSaysSoAndTheExitCodeIsTwo) {
    for (const char* display : {"", ":9873"}) {
        QProcessEnvironment env = Environment(false);
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(display));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(LVX_GUI_EXE), QStringList{});
        ASSERT_TRUE(process.waitForFinished(60000)) << display;
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "not an abort: " << display;
        EXPECT_EQ(process.exitCode(), 2) << display;
        const QString expected =
            QStringLiteral("lunavex: ディスプレイに接続できないため起動できません (DISPLAY=") +
            QString::fromLatin1(display) + QStringLiteral(")\n");
        EXPECT_EQ(QString::fromUtf8(process.readAllStandardError()), expected);
        EXPECT_TRUE(process.readAllStandardOutput().isEmpty());
        EXPECT_FALSE(fs::exists(SettingsFile())) << "nothing was read or saved";
    }
}

TEST_F(LunavexLifeTest, SecondStartReadsWhatTheFirstSaved) {
    ASSERT_EQ(RunProgram(), 1);
    // A stored value that differs from its default comes back and is saved again.
    const CRegTree first = ReadStore(SettingsFile());
    std::wstring text = XdgSandbox::ReadUtf16File(SettingsFile());
    const std::wstring from = L"\"JpegQuality\"=dword:00000050";
    ASSERT_NE(text.find(from), std::wstring::npos);
    text.replace(text.find(from), from.size(), L"\"JpegQuality\"=dword:0000005a");
    const std::vector<u8> body = Utf16LeFromWide(text);
    testutil::WriteText(SettingsFile(), "\xFF\xFE" + std::string(body.begin(), body.end()));
    EXPECT_EQ(RunProgram(), 1);
    const CRegTree second = ReadStore(SettingsFile());
    EXPECT_EQ(ValueOf(second, kSetting, L"JpegQuality"), Dword(90));
    EXPECT_EQ(ValueOf(second, kSetting, L"OutputPath"), ValueOf(first, kSetting, L"OutputPath"));
    EXPECT_EQ(testutil::ReadText(LogFile()), std::string("\xFF\xFE"));
}

} // namespace
