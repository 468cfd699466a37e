// The local socket between a later start of the program and its running window.
#include "app/WindowHandOver.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include <QByteArray>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QUrl>

#include "foundation/FileIo.h"

namespace lvx {

namespace {

constexpr char kMagic[] = "LVXH";
constexpr qint64 kMagicSize = 4;
constexpr char kReceipt = 1;
constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_0;
// A local socket connects at once when a window listens; its answer comes from the window's
// loop, which a long box or a large drop may hold for a while.
constexpr int kConnectMs = 2000;
constexpr int kReceiptMs = 20000;
// More paths than this in one message are taken as a broken message.
constexpr quint32 kMostPaths = 1u << 20;

QString Variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? QString::fromLocal8Bit(value) : QString();
}

// The paths of a whole message at the start of the socket's data; false while it is incomplete
// (the data stay for the next try) and for a broken one (broken set).
bool ReadMessage(QLocalSocket* socket, std::vector<std::string>& paths, bool& broken) {
    broken = false;
    if (socket->bytesAvailable() < kMagicSize)
        return false;
    if (socket->peek(kMagicSize) != QByteArray(kMagic, kMagicSize)) {
        broken = true;
        return false;
    }
    QDataStream in(socket);
    in.setVersion(kStreamVersion);
    in.startTransaction();
    in.skipRawData(static_cast<int>(kMagicSize));
    quint32 count = 0;
    in >> count;
    if (in.status() == QDataStream::Ok && count > kMostPaths) {
        broken = true;
        return false;
    }
    std::vector<std::string> read;
    for (quint32 k = 0; k < count && in.status() == QDataStream::Ok; ++k) {
        QByteArray path;
        in >> path;
        read.push_back(path.toStdString());
    }
    if (!in.commitTransaction())
        return false;
    paths = std::move(read);
    return true;
}

// An flock on the file beside the socket, held until the descriptor goes. Holds nothing where
// the file cannot be made (another user's file of that name in the shared temporary folder):
// the start then goes on as it would alone.
CFileDescriptor LockStart(const QString& name) {
    const QByteArray path = QFile::encodeName(name + QStringLiteral(".lock"));
    CFileDescriptor fd(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (fd.Valid()) {
        while (::flock(fd.Get(), LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    return fd;
}

} // namespace

CWindowHandOver::CWindowHandOver(Receiver receiver)
    : server_(new QLocalServer(this)), receiver_(std::move(receiver)) {
    connect(server_, &QLocalServer::newConnection, this, [this] { OnConnection(); });
}

CWindowHandOver::~CWindowHandOver() = default;

QString CWindowHandOver::SocketName() {
    QString display = Variable("WAYLAND_DISPLAY");
    if (display.isEmpty())
        display = Variable("DISPLAY");
    QString folder = Variable("XDG_RUNTIME_DIR");
    if (folder.isEmpty())
        folder = QDir::tempPath();
    // Percent-encoded, so that two displays never share a name and "/" makes no folder.
    const QString name = QStringLiteral("lunavex-%1-%2")
                             .arg(::getuid())
                             .arg(QString::fromLatin1(QUrl::toPercentEncoding(display)));
    return folder + QLatin1Char('/') + name;
}

bool CWindowHandOver::Send(const QString& name, const std::vector<std::string>& paths) {
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(kConnectMs))
        return false;
    QByteArray message(kMagic, kMagicSize);
    {
        QDataStream out(&message, QIODevice::Append);
        out.setVersion(kStreamVersion);
        out << static_cast<quint32>(paths.size());
        for (const std::string& path : paths)
            out << QByteArray(path.data(), static_cast<qsizetype>(path.size()));
    }
    socket.write(message);
    socket.flush();
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(kReceiptMs))
            return false;
    }
    return socket.read(1) == QByteArray(1, kReceipt);
}

bool CWindowHandOver::Listen(const QString& name) {
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (server_->listen(name))
        return true;
    if (server_->serverError() != QAbstractSocket::AddressInUseError)
        return false;
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(kConnectMs))
        return false;
    QLocalServer::removeServer(name);
    return server_->listen(name);
}

bool CWindowHandOver::HandOverOrListen(const QString& name, const std::vector<std::string>& paths) {
    // A listen replaces the socket file of a start that listens already, so two starts at the
    // same moment would both become windows. They take turns instead: the later one finds the
    // earlier one listening and hands over.
    const CFileDescriptor turn = LockStart(name);
    if (Send(name, paths))
        return true;
    // Another start may have begun to listen since: the files then go to its window.
    return !Listen(name) && Send(name, paths);
}

void CWindowHandOver::OnConnection() {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { OnReadable(socket); });
        if (socket->bytesAvailable() > 0)
            OnReadable(socket);
    }
}

void CWindowHandOver::OnReadable(QLocalSocket* socket) {
    std::vector<std::string> paths;
    bool broken = false;
    if (!ReadMessage(socket, paths, broken)) {
        if (broken)
            socket->abort();
        return;
    }
    socket->write(QByteArray(1, kReceipt));
    socket->flush();
    socket->disconnectFromServer();
    if (receiver_)
        receiver_(paths);
}

} // namespace lvx
