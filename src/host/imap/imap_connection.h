#pragma once
// One connection to an IMAP server over a transport (QSslSocket in the program): TLS from the
// start, STARTTLS, or plain (which the account allows only on the loopback). Commands run one at
// a time as jobs (imap_jobs.h); the connection waits for their completion without running the
// event loop, so no other code runs in between.
#include "host/imap/imap_response.h"
#include "host/imap/imap_transport.h"

#include <QSet>

#include <functional>
#include <memory>
#include <vector>

enum class ImapSecurity { Tls, StartTls, Plain };

struct ImapEndpoint {
    QString host;
    quint16 port = 993;
    ImapSecurity security = ImapSecurity::Tls;
};

// One piece of a command: text as is, or a literal sent as "{n}" and its bytes.
struct ImapArg {
    QByteArray bytes;
    bool literal = false;
};

class ImapJob {
  public:
    virtual ~ImapJob() = default;
    // The command after the tag, without the final CRLF.
    virtual std::vector<ImapArg> command() const = 0;
    virtual void untagged(const ImapResponse&) {}
    // A continuation that is not for a literal; `reply` is sent as a line. False: the job did
    // not expect one.
    virtual bool continuation(const ImapResponse&, QByteArray* /*reply*/) { return false; }
    // The tagged completion: OK gives none; NO and BAD an error with the server's text.
    virtual OpError completed(const ImapResponse& tagged);
    // The command's name for messages (no secrets).
    virtual QByteArray name() const = 0;
};

class ImapConnection {
  public:
    explicit ImapConnection(ImapEndpoint endpoint, ImapLimits limits = {}, int timeoutMs = 30000,
                            ImapTransportFactory transport = MakeImapSocket);
    ~ImapConnection();
    ImapConnection(const ImapConnection&) = delete;
    ImapConnection& operator=(const ImapConnection&) = delete;

    // Connects, secures the connection as the endpoint says, reads the greeting and the
    // capabilities.
    OpError open();
    // The greeting was PREAUTH: the session is logged in already.
    bool preAuthenticated() const { return preAuth_; }
    bool isOpen() const;
    void close();
    const ImapEndpoint& endpoint() const { return endpoint_; }
    const QSet<QByteArray>& capabilities() const { return caps_; }
    bool hasCapability(const QByteArray& cap) const { return caps_.contains(cap.toUpper()); }
    // Runs a command to its completion. A network failure or a malformed response closes the
    // connection.
    OpError run(ImapJob& job);

    // Asynchronous use for IDLE: sends the command and returns; responses then go to
    // `onResponse` as they arrive on the event loop, until `stopAsync`.
    OpError startAsync(ImapJob& job, std::function<void(const ImapResponse&)> onResponse,
                       std::function<void(const OpError&)> onFailure);
    // Sends a line while a command started by startAsync runs ("DONE").
    OpError sendLine(const QByteArray& line);
    void stopAsync();

  private:
    OpError fail(const OpError& error);
    OpError writeAll(const QByteArray& bytes);
    // The next response to the command `tag`, waiting for it up to the timeout.
    Result<ImapResponse> nextResponse(const QByteArray& tag);
    // A response the reader could not parse, framed whole: passed over with a LOG line unless
    // it is the answer to the command `tag`.
    bool passOver(const Result<ImapResponse>& r, const QByteArray& tag);
    void noteCapabilities(const ImapResponse& r);
    bool speaksImap4() const;
    OpError lost(const QString& why);
    void onReadyRead();
    void failLater(const OpError& error);

    ImapEndpoint endpoint_;
    ImapLimits limits_;
    int timeoutMs_;
    ImapTransportFactory makeTransport_;
    std::unique_ptr<ImapTransport> transport_;
    ImapReader reader_;
    QSet<QByteArray> caps_;
    bool preAuth_ = false;
    QString bye_; // the reason the server gave with BYE, said when the connection then ends
    int tagCounter_ = 0;
    QByteArray asyncTag_;
    std::function<void(const ImapResponse&)> onResponse_;
    std::function<void(const OpError&)> onFailure_;
};

// An error message that names the server.
OpError ImapError(const ImapEndpoint& endpoint, const QString& what);
