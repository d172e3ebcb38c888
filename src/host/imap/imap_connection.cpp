#include "host/imap/imap_connection.h"

#include "data/log.h"

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

ImapConnection::ImapConnection(ImapEndpoint endpoint, ImapLimits limits, int timeoutMs,
                               ImapTransportFactory transport)
    : endpoint_(std::move(endpoint)), limits_(limits), timeoutMs_(timeoutMs),
      makeTransport_(std::move(transport)), reader_(limits) {}

ImapConnection::~ImapConnection() {
    close();
}

bool ImapConnection::isOpen() const {
    return transport_ && transport_->isConnected() && !reader_.failed();
}

void ImapConnection::close() {
    stopAsync();
    if (transport_) {
        transport_->abort();
        transport_.reset();
    }
}

OpError ImapConnection::fail(const OpError& error) {
    close();
    return error;
}

OpError ImapConnection::lost(const QString& why) {
    if (bye_.isEmpty()) return fail(ImapError(endpoint_, why));
    return fail(ImapError(endpoint_, QStringLiteral("the server ended the connection: ") + bye_));
}

OpError ImapConnection::writeAll(const QByteArray& bytes) {
    if (!transport_) return ImapError(endpoint_, QStringLiteral("not connected"));
    if (const QString why = transport_->write(bytes, timeoutMs_); !why.isEmpty()) return lost(why);
    return OpError::none();
}

bool ImapConnection::passOver(const Result<ImapResponse>& r, const QByteArray& tag) {
    if (reader_.failed()) return false; // the stream itself is broken
    if (tag.isEmpty()) return false;    // the greeting comes first or not at all
    if (r.value.type == ImapResponse::Type::Tagged && r.value.tag == tag) return false;
    WriteLog(QStringLiteral("! IMAP %1: passed over what the server sent (%2)")
                 .arg(endpoint_.host, r.error.description));
    return true;
}

Result<ImapResponse> ImapConnection::nextResponse(const QByteArray& tag) {
    for (;;) {
        if (std::optional<Result<ImapResponse>> r = reader_.next()) {
            if (r->ok()) return std::move(*r);
            if (passOver(*r, tag)) continue;
            return {{}, fail(ImapError(endpoint_, r->error.description))};
        }
        if (!transport_) return {{}, ImapError(endpoint_, QStringLiteral("not connected"))};
        if (const QString why = transport_->waitForBytes(timeoutMs_); !why.isEmpty())
            return {{}, lost(why)};
        reader_.feed(transport_->readAll());
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

bool ImapConnection::speaksImap4() const {
    // IMAP4rev2 (RFC 9051) keeps every command and answer the client uses.
    return caps_.contains("IMAP4REV1") || caps_.contains("IMAP4REV2");
}

OpError ImapConnection::open() {
    close();
    reader_ = ImapReader(limits_);
    caps_.clear();
    preAuth_ = false;
    bye_.clear();
    transport_ = makeTransport_();
    if (const QString why = transport_->connectTo(endpoint_, timeoutMs_); !why.isEmpty())
        return fail(ImapError(endpoint_, why));
    const Result<ImapResponse> greeting = nextResponse({});
    if (!greeting.ok()) return greeting.error;
    const QByteArray& status = greeting.value.status;
    if (greeting.value.type != ImapResponse::Type::Untagged ||
        (status != "OK" && status != "PREAUTH" && status != "BYE"))
        return fail(ImapError(endpoint_, QStringLiteral("no IMAP greeting")));
    if (status == "BYE")
        return fail(ImapError(endpoint_, QStringLiteral("the server refused the connection: ") +
                                             greeting.value.text));
    preAuth_ = status == "PREAUTH";
    noteCapabilities(greeting.value);
    if (endpoint_.security == ImapSecurity::StartTls) {
        // Logged in before TLS: anyone on the way could have answered in the server's place.
        if (preAuth_)
            return fail(ImapError(endpoint_, QStringLiteral("the server greeted as logged in "
                                                            "(PREAUTH) before STARTTLS")));
        if (caps_.isEmpty()) {
            CapabilityProbe probe;
            if (OpError e = run(probe)) return e;
        }
        if (!caps_.contains("STARTTLS"))
            return fail(ImapError(endpoint_, QStringLiteral("the server does not offer STARTTLS")));
        StartTlsJob starttls;
        if (OpError e = run(starttls)) return fail(e);
        if (const QString why = transport_->startTls(timeoutMs_); !why.isEmpty())
            return fail(ImapError(endpoint_, why));
        caps_.clear(); // capabilities from before TLS are not to be trusted
    }
    if (caps_.isEmpty()) {
        CapabilityProbe probe;
        if (OpError e = run(probe)) return e;
    }
    if (!speaksImap4())
        return fail(ImapError(endpoint_, QStringLiteral("the server does not speak IMAP4rev1")));
    return OpError::none();
}

OpError ImapConnection::run(ImapJob& job) {
    if (!isOpen()) return ImapError(endpoint_, QStringLiteral("not connected"));
    const QByteArray tag = "s" + QByteArray::number(++tagCounter_);
    const std::vector<ImapArg> args = job.command();
    const bool literalPlus = caps_.contains("LITERAL+");
    QByteArray pending = tag + ' ';
    auto untagged = [&](const ImapResponse& r) {
        noteCapabilities(r);
        // The server goes away; its reason is said when the connection then ends.
        if (r.status == "BYE") bye_ = r.text.isEmpty() ? QStringLiteral("BYE") : r.text;
        job.untagged(r);
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
                const Result<ImapResponse> r = nextResponse(tag);
                if (!r.ok()) return r.error;
                if (r.value.type == ImapResponse::Type::Continuation) break;
                if (r.value.type == ImapResponse::Type::Tagged) {
                    if (r.value.tag != tag)
                        return fail(ImapError(endpoint_,
                                              QStringLiteral("an answer to a command never sent")));
                    return job.completed(r.value); // the server refused the literal
                }
                untagged(r.value);
            }
        }
        pending = arg.bytes;
    }
    pending += "\r\n";
    if (OpError e = writeAll(pending)) return e;
    for (;;) {
        const Result<ImapResponse> r = nextResponse(tag);
        if (!r.ok()) return r.error;
        const ImapResponse& resp = r.value;
        if (resp.type == ImapResponse::Type::Tagged) {
            if (resp.tag != tag)
                return fail(
                    ImapError(endpoint_, QStringLiteral("an answer to a command never sent")));
            noteCapabilities(resp);
            const OpError result = job.completed(resp);
            if (!bye_.isEmpty()) close(); // the server is going away
            return result;
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
        untagged(resp);
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
    transport_->watch(
        [this] { onReadyRead(); },
        [this] {
            failLater(ImapError(endpoint_, QStringLiteral("the server closed the connection")));
        });
    // Responses already buffered.
    onReadyRead();
    return OpError::none();
}

void ImapConnection::onReadyRead() {
    if (!transport_) return;
    reader_.feed(transport_->readAll());
    while (std::optional<Result<ImapResponse>> r = reader_.next()) {
        if (!r->ok() && passOver(*r, asyncTag_)) continue;
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
    if (transport_) transport_->watch(nullptr, nullptr);
    onResponse_ = nullptr;
    onFailure_ = nullptr;
}
