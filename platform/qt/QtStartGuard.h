// The start of Qt as the program's user sees it: Qt ends the process with an abort and several
// lines about its plugins when it cannot reach a display.
#pragma once

#include <string>

// While it lives (around the construction of the application object) Qt's messages are held
// back. A fatal one is replaced by failureLine alone on standard error, and the process ends with
// status 2 instead of an abort. When it ends, the held messages go to standard error as Qt would
// have written them. One object at a time, main thread only.
class CQtStartGuard {
public:
    explicit CQtStartGuard(std::string failureLine);
    CQtStartGuard(const CQtStartGuard&) = delete;
    CQtStartGuard& operator=(const CQtStartGuard&) = delete;
    ~CQtStartGuard();
};
