// The whole life of the window program: the real lunavex started as a child process on the
// offscreen platform with its folders in a temporary place, closed by its test hook once shown.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include "support/Files.h"

namespace {

namespace fs = std::filesystem;

using Section = std::map<QString, QString>; // value name ("@" for the default) -> raw data
using RegFile = std::map<QString, Section>; // key path below HKEY_CURRENT_USER -> values

// Parses the settings file: UTF-16LE with a byte order mark, "[HKEY_CURRENT_USER\...]" sections,
// "name"=data lines.
RegFile ParseRegFile(const std::string& bytes) {
    RegFile file;
    if (bytes.size() < 2 || static_cast<unsigned char>(bytes[0]) != 0xFF ||
        static_cast<unsigned char>(bytes[1]) != 0xFE)
        return file;
    QString text = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.data() + 2),
                                      (bytes.size() - 2) / 2);
    const QString root = QStringLiteral("HKEY_CURRENT_USER\\");
    QString current;
    for (QString line : text.split(QLatin1Char('\n'))) {
        line = line.trimmed();
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            current = line.mid(1, line.size() - 2);
            if (current.startsWith(root))
                current = current.mid(root.size());
            file[current];
            continue;
        }
        int equals = line.indexOf(QLatin1String("\"="));
        if (line.startsWith(QLatin1Char('"')) && equals > 0) {
            file[current][line.mid(1, equals - 1)] = line.mid(equals + 2);
            continue;
        }
        if (line.startsWith(QLatin1String("@=")))
            file[current][QStringLiteral("@")] = line.mid(2);
    }
    return file;
}

QString Dword(unsigned value) {
    return QStringLiteral("dword:%1").arg(value, 8, 16, QLatin1Char('0'));
}

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
        if (!process.waitForStarted(10000))
            return -1000;
        if (!process.waitForFinished(60000)) {
            process.kill();
            process.waitForFinished(5000);
            ADD_FAILURE() << "lunavex did not end by itself: a box may be waiting";
            return -1001;
        }
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return process.exitCode();
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
        if (!process.waitForFinished(60000)) {
            process.kill();
            process.waitForFinished(5000);
            ADD_FAILURE() << "lunavex did not end on SIGTERM";
            return -1001;
        }
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "not ended by the signal";
        return process.exitCode();
    }

    fs::path SettingsFile() const { return home / "config" / "Harrowmere" / "Lunavex32.reg"; }
    fs::path LogFile() const { return home / "state" / "Harrowmere" / "Lunavex32" / "LOG.txt"; }

    testutil::CTempDir temp;
    const fs::path home = temp.Path();
};

TEST_F(LunavexLifeTest, FirstStartSavesTheDefaultsAndEndsWithOne) {
    ASSERT_FALSE(fs::exists(SettingsFile()));
    EXPECT_EQ(RunProgram(), 1);

    std::string log = testutil::ReadText(LogFile());
    EXPECT_EQ(log, std::string("\xFF\xFE"));

    ASSERT_TRUE(fs::exists(SettingsFile()));
    RegFile reg = ParseRegFile(testutil::ReadText(SettingsFile()));
    const QString key = QStringLiteral("Software\\Harrowmere\\Lunavex32\\Setting");
    ASSERT_TRUE(reg.count(key));
    const QString pictures = QString::fromStdString((home / "Pictures").string());
    EXPECT_EQ(reg[key][QStringLiteral("OutputPath")],
              QLatin1Char('"') + pictures + QLatin1Char('"'));
    EXPECT_EQ(reg[key][QStringLiteral("SaveType")], Dword(2));
    EXPECT_EQ(reg[key][QStringLiteral("JpegQuality")], Dword(80));

    Section shrink = reg[key + QStringLiteral("\\Shrink")];
    EXPECT_EQ(shrink[QStringLiteral("ShrinkType")], Dword(0));
    EXPECT_EQ(shrink[QStringLiteral("ShrinkWidth")], Dword(0));
    EXPECT_EQ(shrink[QStringLiteral("ShrinkHeight")], Dword(0));
    EXPECT_EQ(shrink[QStringLiteral("CustomWidth")], Dword(200));
    EXPECT_EQ(shrink[QStringLiteral("CustomHeight")], Dword(1000));

    Section round = reg[key + QStringLiteral("\\Round")];
    EXPECT_EQ(round[QStringLiteral("BkColor")], Dword(0x00FFFFFF));
    EXPECT_EQ(round[QStringLiteral("Transparent")], Dword(0));
    EXPECT_EQ(round[QStringLiteral("EdgeType")], Dword(15));
    EXPECT_EQ(round[QStringLiteral("BlurType")], Dword(15));

    Section edge = reg[key + QStringLiteral("\\Round\\Edge")];
    EXPECT_EQ(edge[QStringLiteral("UnitType")], Dword(0));
    EXPECT_EQ(edge[QStringLiteral("PixelLength")], Dword(100));
    EXPECT_EQ(edge[QStringLiteral("RateLength")], Dword(50));
    Section blur = reg[key + QStringLiteral("\\Round\\Blur")];
    EXPECT_EQ(blur[QStringLiteral("UnitType")], Dword(0));
    EXPECT_EQ(blur[QStringLiteral("PixelLength")], Dword(10));
    EXPECT_EQ(blur[QStringLiteral("RateLength")], Dword(10));

    Section window = reg[key + QStringLiteral("\\Window")];
    EXPECT_EQ(window[QStringLiteral("FullScreen")], Dword(0));
    for (const char* name : {"Left", "Top", "Right", "Bottom"})
        EXPECT_TRUE(window[QString::fromLatin1(name)].startsWith(QStringLiteral("dword:"))) << name;

    EXPECT_EQ(reg[key + QStringLiteral("\\SubFolder")][QStringLiteral("Count")], Dword(1));
    EXPECT_EQ(reg[key + QStringLiteral("\\SubFolder\\00")][QStringLiteral("@")],
              QStringLiteral("\"round\""));
}

TEST_F(LunavexLifeTest, SigtermSavesTheSettingsAsTheEndOfTheSessionDoes) {
    EXPECT_EQ(RunAndTerminate(), 1);
    RegFile reg = ParseRegFile(testutil::ReadText(SettingsFile()));
    const QString key = QStringLiteral("Software\\Harrowmere\\Lunavex32\\Setting");
    // Reading creates only the application key; the values come from the save on the way out.
    EXPECT_EQ(reg[key][QStringLiteral("SaveType")], Dword(2));
    EXPECT_EQ(reg[key + QStringLiteral("\\SubFolder\\00")][QStringLiteral("@")],
              QStringLiteral("\"round\""));
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
    std::string first = testutil::ReadText(SettingsFile());
    ASSERT_FALSE(first.empty());
    // A stored value that differs from its default comes back and is saved again.
    RegFile before = ParseRegFile(first);
    std::string edited = first;
    QString text = QString::fromUtf16(reinterpret_cast<const char16_t*>(first.data() + 2),
                                      (first.size() - 2) / 2);
    text.replace(QStringLiteral("\"JpegQuality\"=dword:00000050"),
                 QStringLiteral("\"JpegQuality\"=dword:0000005a"));
    std::ofstream(SettingsFile(), std::ios::binary | std::ios::trunc)
        << std::string("\xFF\xFE", 2)
        << std::string(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
    EXPECT_EQ(RunProgram(), 1);
    RegFile after = ParseRegFile(testutil::ReadText(SettingsFile()));
    const QString key = QStringLiteral("Software\\Harrowmere\\Lunavex32\\Setting");
    EXPECT_EQ(after[key][QStringLiteral("JpegQuality")], Dword(90));
    EXPECT_EQ(after[key][QStringLiteral("OutputPath")], before[key][QStringLiteral("OutputPath")]);
    EXPECT_EQ(testutil::ReadText(LogFile()), std::string("\xFF\xFE"));
}

} // namespace
