// The main function of the test programs of the window layer and above: one QApplication for all
// tests, on the offscreen platform unless the environment names another, Japanese texts unless a
// test chooses another language; then every test.
#include <cstdlib>

#include <QApplication>
#include <gtest/gtest.h>

#include "foundation/ResString.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (!std::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    // Kept for the whole process, as widgets of static objects may outlive main.
    static int appArgc = 1;
    static char name[] = "lvx_tests";
    static char* appArgv[] = {name, nullptr};
    static QApplication* app = new QApplication(appArgc, appArgv);
    app->setQuitOnLastWindowClosed(false);
    SetUiLanguage(1041);
    return RUN_ALL_TESTS();
}
