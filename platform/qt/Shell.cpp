// QDesktopServices and the file managers' D-Bus interface.
#include "platform/qt/Shell.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDesktopServices>
#include <QUrl>

#include "foundation/Exception.h"
#include "foundation/Paths.h"

namespace {

QUrl UrlOf(const std::wstring& file) {
    QString text = QString::fromStdWString(file);
    QUrl url(text);
    if (url.isValid() && url.scheme().size() > 1)
        return url;
    return QUrl::fromLocalFile(text);
}

} // namespace

void ShellOpen(const std::wstring& file, const std::wstring&) {
    if (QDesktopServices::openUrl(UrlOf(file)))
        return;
    throw my::CException(58831, hr::kFail, file);
}

void ShowInExplorer(const std::wstring& path) {
    QDBusInterface manager(QStringLiteral("org.freedesktop.FileManager1"),
                           QStringLiteral("/org/freedesktop/FileManager1"),
                           QStringLiteral("org.freedesktop.FileManager1"),
                           QDBusConnection::sessionBus());
    if (manager.isValid()) {
        QString uri = QUrl::fromLocalFile(QString::fromStdWString(path)).toString();
        QDBusMessage reply = manager.call(QStringLiteral("ShowItems"), QStringList{uri}, QString());
        if (reply.type() != QDBusMessage::ErrorMessage)
            return;
    }
    ShellOpen(ParentPath(path), L"");
}
