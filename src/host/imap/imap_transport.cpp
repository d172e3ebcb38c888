#include "host/imap/imap_transport.h"

#include "data/log.h"
#include "host/imap/imap_connection.h"

#include <QSslConfiguration>
#include <QSslSocket>

namespace {

class ImapSocket : public ImapTransport {
  public:
    QString connectTo(const ImapEndpoint& endpoint, int timeoutMs) override {
        socket_.setPeerVerifyName(endpoint.host);
        // A server with a certificate of its own (a company CA, a self-signed one) is used by
        // naming that certificate's file, as OpenSSL's tools take it.
        if (const QString extra = qEnvironmentVariable("SSL_CERT_FILE"); !extra.isEmpty()) {
            QSslConfiguration config = socket_.sslConfiguration();
            if (!config.addCaCertificates(extra))
                WriteLog(QStringLiteral("! IMAP: no certificate read from SSL_CERT_FILE ") + extra);
            socket_.setSslConfiguration(config);
        }
        if (endpoint.security == ImapSecurity::Tls)
            socket_.connectToHostEncrypted(endpoint.host, endpoint.port);
        else
            socket_.connectToHost(endpoint.host, endpoint.port);
        if (!socket_.waitForConnected(timeoutMs))
            return QStringLiteral("cannot connect: ") + socket_.errorString();
        socket_.setSocketOption(QAbstractSocket::KeepAliveOption, 1); // once connected
        return endpoint.security == ImapSecurity::Tls ? waitForTls(timeoutMs) : QString();
    }

    QString startTls(int timeoutMs) override {
        socket_.startClientEncryption();
        return waitForTls(timeoutMs);
    }

    QString write(const QByteArray& bytes, int timeoutMs) override {
        socket_.write(bytes);
        while (socket_.bytesToWrite() > 0)
            if (!socket_.waitForBytesWritten(timeoutMs))
                return QStringLiteral("the connection failed while sending: ") +
                       socket_.errorString();
        return {};
    }

    QString waitForBytes(int timeoutMs) override {
        if (socket_.state() != QAbstractSocket::ConnectedState)
            return QStringLiteral("the server closed the connection");
        // What came while a write was waiting is in the buffer already: no new data may follow.
        if (socket_.bytesAvailable() > 0 || socket_.waitForReadyRead(timeoutMs)) return {};
        if (socket_.error() == QAbstractSocket::SocketTimeoutError)
            return QStringLiteral("no answer within %1 s").arg(timeoutMs / 1000);
        if (socket_.error() == QAbstractSocket::RemoteHostClosedError)
            return QStringLiteral("the server closed the connection");
        return QStringLiteral("the connection failed: ") + socket_.errorString();
    }

    QByteArray readAll() override { return socket_.readAll(); }
    bool isConnected() const override { return socket_.state() == QAbstractSocket::ConnectedState; }
    void abort() override {
        watch(nullptr, nullptr);
        socket_.abort();
    }

    void watch(std::function<void()> onBytes, std::function<void()> onDrop) override {
        QObject::disconnect(readConn_);
        QObject::disconnect(dropConn_);
        if (onBytes) readConn_ = QObject::connect(&socket_, &QIODevice::readyRead, onBytes);
        if (onDrop) dropConn_ = QObject::connect(&socket_, &QAbstractSocket::disconnected, onDrop);
    }

  private:
    QString waitForTls(int timeoutMs) {
        if (socket_.waitForEncrypted(timeoutMs)) return {};
        QStringList reasons;
        for (const QSslError& e : socket_.sslHandshakeErrors())
            reasons << e.errorString();
        if (reasons.isEmpty()) reasons << socket_.errorString();
        return QStringLiteral("the secure connection was refused: ") +
               reasons.join(QStringLiteral("; "));
    }

    QSslSocket socket_;
    QMetaObject::Connection readConn_, dropConn_;
};

} // namespace

std::unique_ptr<ImapTransport> MakeImapSocket() {
    return std::make_unique<ImapSocket>();
}
