// The entry point of the window program: the program's life on its main thread, in its fixed
// order of start and end.

#include <QApplication>
#include <QMetaObject>

#include "app/CommandTable.h"
#include "foundation/Log.h"
#include "image/Codec.h"
#include "ui/AppIcon.h"
#include "ui/MainFrame.h"

namespace {

// Builds the objects in their order, runs the start-up command and the event loop, and tears
// down in the reverse order. The exit code of a normal run is 1: the frame's destruction ends
// the loop with it.
int Run(char* programPath) {
    // The command line has no effect: Qt is given the program's name alone.
    int argc = 1;
    char* argv[] = {programPath, nullptr};
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(AppIcon());
    EnsureVipsStarted();
    StartLog();
    int code = 1;
    {
        lvx::CMainFrame frame;
        CCommandTable commands;
        commands.init->Execute(true, false);
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

int main(int, char** argv) {
    return Run(argv[0]);
}
