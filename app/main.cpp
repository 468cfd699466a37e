// The entry point of the window program: the program's life on its main thread, in its fixed
// order of start and end.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <QApplication>
#include <QMetaObject>

#include "app/CommandTable.h"
#include "app/FileListDropData.h"
#include "app/HandedOverFiles.h"
#include "app/WindowArguments.h"
#include "app/WindowHandOver.h"
#include "foundation/GuardedCall.h"
#include "foundation/Log.h"
#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "image/VipsStart.h"
#include "platform/qt/QtChildWatch.h"
#include "platform/qt/QtOwnParts.h"
#include "platform/qt/QtStartGuard.h"
#include "platform/qt/TerminationSignal.h"
#include "resources/StringIds.h"
#include "resources/Version.h"
#include "ui/AppIcon.h"
#include "ui/MainFrame.h"

namespace {

// The text of id with argument as its %s on standard error; a plain line when that fails too.
void PrintFailure(u32 id, const std::wstring& argument) noexcept {
    try {
        std::wstring text;
        FormatResString(text, id, {argument});
        std::cerr << Utf8FromWide(text) << "\n";
    } catch (...) {
        std::fputs("lunavex: stopped\n", stderr);
    }
}

// Builds the objects in their order, runs the start-up command and the event loop, and tears
// down in the reverse order. Files named on the command line go to the window as one drop once
// it is up. The exit code of a normal run is 1: the frame's destruction ends the loop with it.
// A window of the same user and display that runs already takes the files instead: 0.
int Run(char* programPath, const lvx::WindowArguments& arguments) {
    // Before Qt starts its threads: libvips' start sets the allocator and reads and puts back an
    // environment variable, neither of which may race with another thread.
    EnsureVipsStarted();
    // Qt is given the program's name alone: the command line is ours, not Qt's.
    int argc = 1;
    char* argv[] = {programPath, nullptr};
    // Without a display Qt would abort with lines about its plugins; the user reads one line.
    std::optional<CQtStartGuard> starting;
    {
        const char* display = std::getenv("DISPLAY");
        std::wstring line;
        FormatResString(line, strid::kNoDisplay, {WideFromUtf8(display ? display : "")});
        starting.emplace(Utf8FromWide(ReadableText(line)));
    }
    QApplication application(argc, argv);
    starting.reset();
    // Before the log, which each window makes anew: a start that hands over leaves it alone.
    lvx::CWindowHandOver handOver(&lvx::DropHandedOverFiles);
    if (handOver.HandOverOrListen(lvx::CWindowHandOver::SocketName(), arguments.paths)) {
        StopVips();
        return 0;
    }
    KeepQtSettingsInMemory();
    InstallQtTranslations(UiLanguage());
    application.setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(AppIcon());
    // The desktop entry that the window belongs to, for the desktop's task list.
    QGuiApplication::setDesktopFileName(QStringLiteral("example.harrowmere.Lunavex"));
    StartLog();
    int code = 1;
    {
        // The desktop's helpers report their end on this thread; their answers are dropped once
        // the frame and the commands are gone.
        CQtChildWatch childWatch;
        lvx::CMainFrame frame;
        // The commands, installed as what the window runs until they go.
        CCommandTable commands;
        // SIGTERM ends the session as the desktop's log-out does: the settings are saved first.
        CTerminationSignal termination([&frame] {
            frame.OnEndSession();
            QCoreApplication::exit(1);
        });
        commands.init->Execute(true, false);
        // The files of the command line are dropped on the window: posted, as a drop is, so
        // that the batch and its questions come once the window is shown.
        if (frame.Window() && !arguments.files.empty()) {
            lvx::CFileListDropData dropped(arguments.files);
            commands.SetDropData(&dropped);
            frame.PostCommand(lvx::cmd::kExecData);
        }
        // Without a window nothing would ever end the loop: it ends at once then.
        if (!frame.Window())
            QMetaObject::invokeMethod(
                &application, [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
        code = application.exec();
        StopLog();
    }
    StopVips();
    return code;
}

} // namespace

// What escapes the run (the commands guard their own bodies) is said on standard error; the
// process ends with status 2 instead of a signal.
int main(int argc, char** argv) {
    try {
        lvx::WindowArguments arguments;
        std::wstring error;
        const std::vector<std::string> args(argv + 1, argv + argc);
        // A working folder that was deleted does not stop the start: a relative name then names
        // no file, which the drop reports as for any missing file.
        std::error_code noFolder;
        const std::filesystem::path folder = std::filesystem::current_path(noFolder);
        if (!lvx::ParseWindowArguments(args, noFolder ? std::string("/") : folder.native(),
                                       arguments, error)) {
            std::cerr << Utf8FromWide(error) << "\n\n" << Utf8FromWide(lvx::WindowUsage()) << "\n";
            return 2;
        }
        if (arguments.help) {
            std::cout << Utf8FromWide(lvx::WindowUsage()) << "\n";
            return 0;
        }
        if (arguments.version) {
            std::cout << "lunavex " << Utf8FromWide(LVX_VERSION_WTEXT) << "\n";
            return 0;
        }
        return Run(argv[0], arguments);
    } catch (const std::exception& e) {
        PrintFailure(strid::kStdException, WideFromWhat(e));
    } catch (...) {
        PrintFailure(strid::kUnknownException, L"");
    }
    return 2;
}
