#pragma once
// One process at a time works on a data folder. It holds an exclusive lock on a file in the
// folder (the kernel lets go when the process dies, so a crash never leaves it locked). A
// long-lived owner (`stowaway watch`, the desktop program) also listens on a control socket in
// the user's runtime folder that only the user can reach; other processes hand it their
// command, ask it to show its options, or to stop.
//
// The socket speaks lines, each one compact JSON object. The caller's first line is its request
// {"t":"command"|"show-options"|"stop", ...}; the owner answers with lines of its own and ends
// with {"t":"exit","code":N}.
#include <QJsonObject>
#include <QObject>
#include <QString>

#include <memory>

class QLocalServer;
class QLocalSocket;

// Who holds the lock of a data folder, as it wrote into the lock file.
struct DataFolderHolder {
    qint64 pid = 0;
    bool owner = false; // a long-lived owner with a control socket
    QString command;    // its command line
};

enum class OwnerRequestKind { Command, ShowOptions, Stop, Unknown };

// One caller on the control socket.
class OwnerCall : public QObject {
    Q_OBJECT
  public:
    explicit OwnerCall(QLocalSocket* socket, QObject* parent = nullptr);

    OwnerRequestKind kind() const;
    // The caller's first line.
    const QJsonObject& request() const { return m_request; }
    bool connected() const;
    void send(const QJsonObject& message);
    // Sends a question and waits for its answer, running the event loop meanwhile. A null value
    // when the caller went away or the program is ending.
    QJsonValue ask(const QJsonObject& question);
    // Ends the call with the status the caller exits with; the call deletes itself later.
    void finish(int status);

  signals:
    void requestReady();
    void answerReady();
    void disconnected();

  private:
    void readLines();

    QLocalSocket* m_socket;
    QJsonObject m_request;
    bool m_haveRequest = false;
    QJsonValue m_answer;
    bool m_haveAnswer = false;
    bool m_finished = false;
};

class DataFolderOwner : public QObject {
    Q_OBJECT
  public:
    enum class Role {
        Owner,   // long-lived: listens on the control socket
        Command, // one command's run
    };

    // `dataFolder` with or without its closing "/".
    explicit DataFolderOwner(const QString& dataFolder, QObject* parent = nullptr);
    ~DataFolderOwner() override;

    // Takes the lock without waiting. False when another process holds it (see holder()) or the
    // lock file cannot be made (see lastError()).
    bool acquire(Role role);
    // As the owner: opens the control socket. False with lastError() when it cannot.
    bool listen();
    // Closes the socket and lets go of the lock.
    void release();
    bool holds() const { return m_fd >= 0; }
    // After a failed acquire: true when another process holds the lock, false when the lock
    // file could not be used at all.
    bool heldByOther() const { return m_heldByOther; }
    // The process that holds the lock (pid 0 when the file says nothing).
    DataFolderHolder holder() const;
    QString lastError() const { return m_error; }

    QString lockFilePath() const;
    QString socketPath() const;

  signals:
    // A caller's complete request. The call stays valid until it is finished or its caller
    // goes away.
    void requestArrived(OwnerCall* call);

  private:
    QString m_dataFolder;
    int m_fd = -1;
    QLocalServer* m_server = nullptr;
    QString m_error;
    bool m_heldByOther = false;
};

// The control socket of `dataFolder`'s owner: in $XDG_RUNTIME_DIR, named after the folder.
QString OwnerSocketPath(const QString& dataFolder);
// "pid N (command)" for messages.
QString DescribeHolder(const DataFolderHolder& holder);
// A connection to the owner of `dataFolder`; null when no owner listens.
std::unique_ptr<QLocalSocket> ConnectToOwner(const QString& dataFolder);
// Sends a request without arguments ("show-options", "stop") and waits for the owner's status:
// 0 done, another number when the owner refused; -1 when no owner answered.
int SendOwnerRequest(const QString& dataFolder, OwnerRequestKind kind);

// One line of the socket protocol.
QByteArray EncodeOwnerLine(const QJsonObject& message);
