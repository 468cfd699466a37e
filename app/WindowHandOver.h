// One window for each user and display: a later `lunavex FILE...` hands its files over a local
// socket to the window that runs already, which converts them as a drop, and ends.
// The main thread only, as the window it serves.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <QObject>
#include <QString>

class QLocalServer;
class QLocalSocket;

namespace lvx {

// The message on the socket: "LVXH", then a QDataStream of the number of paths (quint32) and
// each path as a QByteArray of its bytes; the window answers one byte, 1, once it has them all.
class CWindowHandOver : public QObject {
public:
    // Takes the absolute paths of a hand-over, every byte as the later start was given it.
    using Receiver = std::function<void(const std::vector<std::string>& paths)>;

    explicit CWindowHandOver(Receiver receiver);
    ~CWindowHandOver() override;
    CWindowHandOver(const CWindowHandOver&) = delete;
    CWindowHandOver& operator=(const CWindowHandOver&) = delete;

    // The socket of this user and display: in $XDG_RUNTIME_DIR (the user's own folder), else in
    // the temporary folder, named after the user id and WAYLAND_DISPLAY, else DISPLAY.
    static QString SocketName();

    // Hands paths to the window listening at name and waits for its receipt: true once the
    // window has them. False when no window listens there (nothing was taken) or none answers.
    static bool Send(const QString& name, const std::vector<std::string>& paths);

    // Listens at name, for the owner alone. A socket that no program answers on (left behind by
    // one that crashed) is removed first. False when no socket can be made; the window then runs
    // alone.
    bool Listen(const QString& name);

    // The start of the program: true when a running window took paths (this start then ends),
    // false when this one serves the later starts, or runs alone where it cannot. Starts take
    // turns by an flock on the file name + ".lock", held until this start listens or handed over.
    bool HandOverOrListen(const QString& name, const std::vector<std::string>& paths);

private:
    void OnConnection();
    void OnReadable(QLocalSocket* socket);

    QLocalServer* server_;
    Receiver receiver_;
};

} // namespace lvx
