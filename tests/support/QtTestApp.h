// One QApplication for the widget tests of a test program, on the offscreen platform unless the
// environment names another.
#pragma once

#include <cstdlib>

#include <QApplication>

inline QApplication& TestApp() {
    static int argc = 1;
    static char name[] = "lvx_tests";
    static char* argv[] = {name, nullptr};
    if (!std::getenv("QT_QPA_PLATFORM"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static QApplication* app = [] {
        auto* a = new QApplication(argc, argv);
        a->setQuitOnLastWindowClosed(false);
        return a;
    }();
    return *app;
}
