// Qt's messages held back while Qt starts.
#include "platform/qt/QtStartGuard.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace {

constexpr int kFailedToStart = 2;

std::string g_failureLine;
std::vector<QByteArray> g_held;
QtMessageHandler g_previous = nullptr;

void HoldMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", g_failureLine.c_str());
        std::fflush(stderr);
        std::_Exit(kFailedToStart);
    }
    g_held.push_back(qFormatLogMessage(type, context, text).toLocal8Bit());
}

} // namespace

CQtStartGuard::CQtStartGuard(std::string failureLine) {
    g_failureLine = std::move(failureLine);
    g_held.clear();
    g_previous = qInstallMessageHandler(HoldMessage);
}

CQtStartGuard::~CQtStartGuard() {
    qInstallMessageHandler(g_previous);
    for (const QByteArray& line : g_held)
        std::fprintf(stderr, "%s\n", line.constData());
    g_held.clear();
}
