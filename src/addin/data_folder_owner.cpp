#include "addin/data_folder_owner.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int kConnectMs = 2000;

QString WithSlash(const QString& folder) {
    return folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
}

const char* KindName(OwnerRequestKind kind) {
    switch (kind) {
    case OwnerRequestKind::Command:
        return "command";
    case OwnerRequestKind::ShowOptions:
        return "show-options";
    case OwnerRequestKind::Stop:
        return "stop";
    case OwnerRequestKind::Unknown:
        break;
    }
    return "";
}
} // namespace

QByteArray EncodeOwnerLine(const QJsonObject& message) {
    return QJsonDocument(message).toJson(QJsonDocument::Compact) + '\n';
}

QString OwnerSocketPath(const QString& dataFolder) {
    const QByteArray hash = QCryptographicHash::hash(
        QDir::cleanPath(QDir(dataFolder).absolutePath()).toUtf8(), QCryptographicHash::Sha1);
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) +
           QStringLiteral("/stowaway-") + QString::fromLatin1(hash.toHex().left(16)) +
           QStringLiteral(".sock");
}

QString DescribeHolder(const DataFolderHolder& holder) {
    if (holder.pid <= 0) return QStringLiteral("another process");
    return QStringLiteral("process %1 (%2)").arg(holder.pid).arg(holder.command);
}

// --- OwnerCall --------------------------------------------------------------------------------

OwnerCall::OwnerCall(QLocalSocket* socket, QObject* parent) : QObject(parent), m_socket(socket) {
    socket->setParent(this);
    connect(socket, &QLocalSocket::readyRead, this, &OwnerCall::readLines);
    connect(socket, &QLocalSocket::disconnected, this, [this] {
        emit disconnected();
        if (m_finished) deleteLater();
    });
}

OwnerRequestKind OwnerCall::kind() const {
    const QString t = m_request.value(QLatin1String("t")).toString();
    for (OwnerRequestKind k :
         {OwnerRequestKind::Command, OwnerRequestKind::ShowOptions, OwnerRequestKind::Stop})
        if (t == QLatin1String(KindName(k))) return k;
    return OwnerRequestKind::Unknown;
}

bool OwnerCall::connected() const {
    return m_socket->state() == QLocalSocket::ConnectedState;
}

void OwnerCall::send(const QJsonObject& message) {
    if (!connected()) return;
    m_socket->write(EncodeOwnerLine(message));
    m_socket->flush();
}

void OwnerCall::readLines() {
    while (m_socket->canReadLine()) {
        const QJsonObject message = QJsonDocument::fromJson(m_socket->readLine()).object();
        if (!m_haveRequest) {
            m_request = message;
            m_haveRequest = true;
            emit requestReady();
        } else if (message.value(QLatin1String("t")).toString() == QLatin1String("answer")) {
            m_answer = message.value(QLatin1String("v"));
            m_haveAnswer = true;
            emit answerReady();
        }
    }
}

QJsonValue OwnerCall::ask(const QJsonObject& question) {
    if (!connected()) return {};
    m_haveAnswer = false;
    send(question);
    QEventLoop loop;
    connect(this, &OwnerCall::answerReady, &loop, &QEventLoop::quit);
    connect(this, &OwnerCall::disconnected, &loop, &QEventLoop::quit);
    // The answer may already be read while the question was sent.
    if (!m_haveAnswer && connected()) loop.exec();
    if (!m_haveAnswer) return {};
    m_haveAnswer = false;
    return m_answer;
}

void OwnerCall::finish(int status) {
    if (m_finished) return;
    m_finished = true;
    if (connected()) {
        send(QJsonObject{{QStringLiteral("t"), QStringLiteral("exit")},
                         {QStringLiteral("code"), status}});
        m_socket->disconnectFromServer();
    }
    if (!connected()) deleteLater();
}

// --- DataFolderOwner --------------------------------------------------------------------------

DataFolderOwner::DataFolderOwner(const QString& dataFolder, QObject* parent)
    : QObject(parent), m_dataFolder(WithSlash(dataFolder)) {}

DataFolderOwner::~DataFolderOwner() {
    release();
}

QString DataFolderOwner::lockFilePath() const {
    return m_dataFolder + QStringLiteral("QWKStowaway.lock");
}

QString DataFolderOwner::socketPath() const {
    return OwnerSocketPath(m_dataFolder);
}

bool DataFolderOwner::acquire(Role role) {
    if (m_fd >= 0) return true;
    m_heldByOther = false;
    QDir().mkpath(m_dataFolder);
    const QByteArray path = QFile::encodeName(lockFilePath());
    // The holder removes the file when it lets go; a lock taken on a file that was removed
    // meanwhile guards nothing, so the name must still lead to the locked file.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0) {
            m_error = QStringLiteral("cannot open ") + lockFilePath() + QStringLiteral(": ") +
                      QString::fromLocal8Bit(std::strerror(errno));
            return false;
        }
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            m_heldByOther = errno == EWOULDBLOCK;
            m_error = m_heldByOther
                          ? QStringLiteral("the data folder is in use")
                          : QStringLiteral("cannot lock ") + lockFilePath() + QStringLiteral(": ") +
                                QString::fromLocal8Bit(std::strerror(errno));
            ::close(fd);
            return false;
        }
        struct stat held = {}, named = {};
        if (::fstat(fd, &held) != 0 || ::stat(path.constData(), &named) != 0 ||
            held.st_ino != named.st_ino || held.st_dev != named.st_dev) {
            ::close(fd);
            continue;
        }
        m_fd = fd;
        // Who holds it, for the messages of the others; the lock itself is what counts.
        const QByteArray text = QByteArray::number(QCoreApplication::applicationPid()) + '\n' +
                                (role == Role::Owner ? "owner" : "command") + '\n' +
                                QCoreApplication::arguments().join(QLatin1Char(' ')).toUtf8() +
                                '\n';
        if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, text.constData(), text.size(), 0) < 0)
            m_error = QStringLiteral("cannot write ") + lockFilePath();
        return true;
    }
    m_error = QStringLiteral("cannot lock ") + lockFilePath();
    return false;
}

bool DataFolderOwner::listen() {
    if (m_fd < 0) {
        m_error = QStringLiteral("the data folder is not held");
        return false;
    }
    if (m_server) return true;
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // A socket file left by an owner that died: the lock says nobody listens on it.
    QLocalServer::removeServer(socketPath());
    if (!m_server->listen(socketPath())) {
        m_error = m_server->errorString();
        delete m_server;
        m_server = nullptr;
        return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            auto* call = new OwnerCall(socket, this);
            connect(call, &OwnerCall::requestReady, this,
                    [this, call] { emit requestArrived(call); });
            connect(call, &OwnerCall::disconnected, call, [call] {
                // A caller gone before its request was complete leaves nothing to do.
                if (call->request().isEmpty()) call->deleteLater();
            });
        }
    });
    return true;
}

void DataFolderOwner::release() {
    if (m_server) {
        m_server->close(); // removes the socket file
        delete m_server;
        m_server = nullptr;
    }
    if (m_fd >= 0) {
        // Removed while still locked, so nobody can lock the old file after this one lets go.
        ::unlink(QFile::encodeName(lockFilePath()).constData());
        ::close(m_fd);
        m_fd = -1;
    }
}

DataFolderHolder DataFolderOwner::holder() const {
    DataFolderHolder h;
    QFile f(lockFilePath());
    if (!f.open(QIODevice::ReadOnly)) return h;
    const QList<QByteArray> lines = f.readAll().split('\n');
    h.pid = lines.value(0).toLongLong();
    h.owner = lines.value(1) == "owner";
    h.command = QString::fromUtf8(lines.value(2));
    return h;
}

// --- the caller's side ------------------------------------------------------------------------

std::unique_ptr<QLocalSocket> ConnectToOwner(const QString& dataFolder) {
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(OwnerSocketPath(WithSlash(dataFolder)));
    if (!socket->waitForConnected(kConnectMs)) return nullptr;
    return socket;
}

int SendOwnerRequest(const QString& dataFolder, OwnerRequestKind kind) {
    const std::unique_ptr<QLocalSocket> socket = ConnectToOwner(dataFolder);
    if (!socket) return -1;
    socket->write(EncodeOwnerLine({{QStringLiteral("t"), QLatin1String(KindName(kind))}}));
    socket->flush();
    for (;;) {
        while (socket->canReadLine()) {
            const QJsonObject m = QJsonDocument::fromJson(socket->readLine()).object();
            if (m.value(QLatin1String("t")).toString() == QLatin1String("exit"))
                return m.value(QLatin1String("code")).toInt();
        }
        if (socket->state() != QLocalSocket::ConnectedState && socket->bytesAvailable() == 0)
            return -1;
        socket->waitForReadyRead(1000);
    }
}
