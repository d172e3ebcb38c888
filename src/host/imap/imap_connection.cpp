#include "host/imap/imap_connection.h"

#include "data/log.h"

#include <QDeadlineTimer>
#include <QTimer>

OpError ImapError(const ImapEndpoint& endpoint, const QString& what) {
    return OpError::make(ErrNo::Failed, QStringLiteral("IMAP %1: %2").arg(endpoint.host, what));
}

OpError ImapJob::completed(const ImapResponse& tagged) {
    if (tagged.status == "OK") return OpError::none();
    return OpError::make(
        ErrNo::Failed, QStringLiteral("the server answered %1 %2 to %3")
                           .arg(QLatin1String(tagged.status), tagged.text, QLatin1String(name())));
}

namespace {

// The job that asks for the capabilities when the greeting did not list them.
class CapabilityProbe : public ImapJob {
  public:
    std::vector<ImapArg> command() const override { return {{"CAPABILITY"}}; }
    QByteArray name() const override { return "CAPABILITY"; }
};

class StartTlsJob : public ImapJob {
  public:
    std::vector<ImapArg> command() const override { return {{"STARTTLS"}}; }
    QByteArray name() const override { return "STARTTLS"; }
};

} // namespace

ImapConnection::ImapConnection(ImapEndpoint endpoint, ImapLimits limits, int timeoutMs)
    : endpoint_(std::move(endpoint)), limits_(limits), timeoutMs_(timeoutMs), reader_(limits) {}

ImapConnection::~ImapConnection() {
    close();
}

bool ImapConnection::isOpen() const {
    return socket_ && socket_->state() == QAbstractSocket::ConnectedState && !reader_.failed();
}

void ImapConnection::close() {
    stopAsync();
    if (socket_) {
        socket_->abort();
        socket_.reset();
    }
}

OpError ImapConnection::fail(const OpError& error) {
    close();
    return error;
}

OpError ImapConnection::writeAll(const QByteArray& bytes) {
    if (!socket_) return ImapError(endpoint_, QStringLiteral("not connected"));
    socket_->write(bytes);
    while (socket_->bytesToWrite() > 0) {
        if (!socket_->waitForBytesWritten(timeoutMs_))
            return fail(
                ImapError(endpoint_, QStringLiteral("the connection failed while sending: ") +
                                         socket_->errorString()));
    }
    return OpError::none();
}

Result<ImapResponse> ImapConnection::nextResponse() {
    for (;;) {
        if (std::optional<Result<ImapResponse>> r = reader_.next()) {
            if (!r->ok()) return {{}, fail(ImapError(endpoint_, r->error.description))};
            return std::move(*r);
        }
        if (!socket_ || socket_->state() != QAbstractSocket::ConnectedState)
            return {{},
                    fail(ImapError(endpoint_, QStringLiteral("the server closed the connection")))};
        // What came while a write was waiting is in the buffer already: no new data may follow.
        if (socket_->bytesAvailable() == 0 && !socket_->waitForReadyRead(timeoutMs_)) {
            QString why = QStringLiteral("the connection failed: ") + socket_->errorString();
            if (socket_->error() == QAbstractSocket::SocketTimeoutError)
                why = QStringLiteral("no answer within %1 s").arg(timeoutMs_ / 1000);
            else if (socket_->error() == QAbstractSocket::RemoteHostClosedError)
                why = QStringLiteral("the server closed the connection");
            return {{}, fail(ImapError(endpoint_, why))};
        }
        reader_.feed(socket_->readAll());
    }
}

void ImapConnection::noteCapabilities(const ImapResponse& r) {
    const std::vector<ImapValue>* list = nullptr;
    if (r.code == "CAPABILITY")
        list = &r.codeArgs;
    else if (!r.data.empty() && r.data[0].isAtom("CAPABILITY"))
        list = &r.data;
    if (!list) return;
    caps_.clear();
    for (const ImapValue& v : *list)
        if (v.kind == ImapValue::Kind::Atom && !v.isAtom("CAPABILITY"))
            caps_.insert(v.text.toUpper());
}

OpError ImapConnection::secure() {
    if (!socket_->waitForEncrypted(timeoutMs_)) {
        QStringList reasons;
        for (const QSslError& e : socket_->sslHandshakeErrors())
            reasons << e.errorString();
        if (reasons.isEmpty()) reasons << socket_->errorString();
        return fail(ImapError(endpoint_, QStringLiteral("the secure connection was refused: ") +
                                             reasons.join(QStringLiteral("; "))));
    }
    return OpError::none();
}

OpError ImapConnection::open() {
    close();
    reader_ = ImapReader(limits_);
    caps_.clear();
    socket_ = std::make_unique<QSslSocket>();
    socket_->setPeerVerifyName(endpoint_.host);
    // Certificates trusted besides the system's: a server with a certificate of its own (a
    // company CA, a self-signed one) is used by naming that certificate's file, as OpenSSL's
    // tools take it.
    if (const QString extra = qEnvironmentVariable("SSL_CERT_FILE"); !extra.isEmpty()) {
        QSslConfiguration config = socket_->sslConfiguration();
        if (!config.addCaCertificates(extra))
            WriteLog(QStringLiteral("! IMAP: no certificate read from SSL_CERT_FILE ") + extra);
        socket_->setSslConfiguration(config);
    }
    if (endpoint_.security == ImapSecurity::Tls) {
        socket_->connectToHostEncrypted(endpoint_.host, endpoint_.port);
        if (!socket_->waitForConnected(timeoutMs_))
            return fail(
                ImapError(endpoint_, QStringLiteral("cannot connect: ") + socket_->errorString()));
        if (OpError e = secure()) return e;
    } else {
        socket_->connectToHost(endpoint_.host, endpoint_.port);
        if (!socket_->waitForConnected(timeoutMs_))
            return fail(
                ImapError(endpoint_, QStringLiteral("cannot connect: ") + socket_->errorString()));
    }
    socket_->setSocketOption(QAbstractSocket::KeepAliveOption, 1); // once connected
    const Result<ImapResponse> greeting = nextResponse();
    if (!greeting.ok()) return greeting.error;
    if (greeting.value.type != ImapResponse::Type::Untagged || greeting.value.status.isEmpty() ||
        greeting.value.status == "BAD" || greeting.value.status == "NO")
        return fail(ImapError(endpoint_, QStringLiteral("no IMAP greeting")));
    if (greeting.value.status == "BYE")
        return fail(ImapError(endpoint_, QStringLiteral("the server refused the connection: ") +
                                             greeting.value.text));
    noteCapabilities(greeting.value);
    if (endpoint_.security == ImapSecurity::StartTls) {
        if (caps_.isEmpty()) {
            CapabilityProbe probe;
            if (OpError e = run(probe)) return e;
        }
        if (!caps_.contains("STARTTLS"))
            return fail(ImapError(endpoint_, QStringLiteral("the server does not offer STARTTLS")));
        StartTlsJob starttls;
        if (OpError e = run(starttls)) return fail(e);
        socket_->startClientEncryption();
        if (OpError e = secure()) return e;
        caps_.clear(); // capabilities from before TLS are not to be trusted
    }
    if (caps_.isEmpty()) {
        CapabilityProbe probe;
        if (OpError e = run(probe)) return e;
    }
    if (!caps_.contains("IMAP4REV1"))
        return fail(ImapError(endpoint_, QStringLiteral("the server does not speak IMAP4rev1")));
    return OpError::none();
}

OpError ImapConnection::run(ImapJob& job) {
    if (!isOpen()) return ImapError(endpoint_, QStringLiteral("not connected"));
    const QByteArray tag = "s" + QByteArray::number(++tagCounter_);
    const std::vector<ImapArg> args = job.command();
    const bool literalPlus = caps_.contains("LITERAL+");
    QByteArray pending = tag + ' ';
    auto handleOther = [&](const ImapResponse& r) -> OpError {
        noteCapabilities(r);
        if (r.type == ImapResponse::Type::Untagged) {
            job.untagged(r);
            if (r.status == "BYE") return OpError::none(); // the close follows
            return OpError::none();
        }
        return OpError::none();
    };
    for (const ImapArg& arg : args) {
        if (!arg.literal) {
            pending += arg.bytes;
            continue;
        }
        pending += '{' + QByteArray::number(arg.bytes.size()) + (literalPlus ? "+}\r\n" : "}\r\n");
        if (OpError e = writeAll(pending)) return e;
        pending.clear();
        if (!literalPlus) {
            // Wait for the server's go-ahead.
            for (;;) {
                const Result<ImapResponse> r = nextResponse();
                if (!r.ok()) return r.error;
                if (r.value.type == ImapResponse::Type::Continuation) break;
                if (r.value.type == ImapResponse::Type::Tagged) {
                    if (r.value.tag != tag)
                        return fail(ImapError(endpoint_,
                                              QStringLiteral("an answer to a command never sent")));
                    return job.completed(r.value); // the server refused the literal
                }
                handleOther(r.value);
            }
        }
        pending = arg.bytes;
    }
    pending += "\r\n";
    if (OpError e = writeAll(pending)) return e;
    for (;;) {
        const Result<ImapResponse> r = nextResponse();
        if (!r.ok()) return r.error;
        const ImapResponse& resp = r.value;
        if (resp.type == ImapResponse::Type::Tagged) {
            if (resp.tag != tag)
                return fail(
                    ImapError(endpoint_, QStringLiteral("an answer to a command never sent")));
            noteCapabilities(resp);
            return job.completed(resp);
        }
        if (resp.type == ImapResponse::Type::Continuation) {
            QByteArray reply;
            if (!job.continuation(resp, &reply))
                return fail(
                    ImapError(endpoint_, QStringLiteral("an unexpected continuation during ") +
                                             QLatin1String(job.name())));
            if (OpError e = writeAll(reply + "\r\n")) return e;
            continue;
        }
        handleOther(resp);
    }
}

OpError ImapConnection::startAsync(ImapJob& job,
                                   std::function<void(const ImapResponse&)> onResponse,
                                   std::function<void(const OpError&)> onFailure) {
    if (!isOpen()) return ImapError(endpoint_, QStringLiteral("not connected"));
    asyncTag_ = "s" + QByteArray::number(++tagCounter_);
    QByteArray line = asyncTag_ + ' ';
    for (const ImapArg& arg : job.command())
        line += arg.bytes; // no literals in async commands
    onResponse_ = std::move(onResponse);
    onFailure_ = std::move(onFailure);
    if (OpError e = writeAll(line + "\r\n")) return e;
    readConn_ = QObject::connect(socket_.get(), &QIODevice::readyRead, [this] { onReadyRead(); });
    dropConn_ = QObject::connect(socket_.get(), &QAbstractSocket::disconnected, [this] {
        failLater(ImapError(endpoint_, QStringLiteral("the server closed the connection")));
    });
    // Responses already buffered.
    onReadyRead();
    return OpError::none();
}

void ImapConnection::onReadyRead() {
    if (!socket_) return;
    reader_.feed(socket_->readAll());
    while (std::optional<Result<ImapResponse>> r = reader_.next()) {
        if (!r->ok()) {
            failLater(ImapError(endpoint_, r->error.description));
            return;
        }
        if (onResponse_) onResponse_(r->value);
        if (!onResponse_) return; // stopped by the handler
    }
}

void ImapConnection::failLater(const OpError& error) {
    // The socket may not be destroyed inside its own signal: the handler runs afterwards.
    auto failure = onFailure_;
    stopAsync();
    if (failure) QTimer::singleShot(0, [failure, error] { failure(error); });
}

OpError ImapConnection::sendLine(const QByteArray& line) {
    return writeAll(line + "\r\n");
}

void ImapConnection::stopAsync() {
    QObject::disconnect(readConn_);
    QObject::disconnect(dropConn_);
    onResponse_ = nullptr;
    onFailure_ = nullptr;
}
