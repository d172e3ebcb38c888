#pragma once
// The byte stream under an IMAP connection: the TLS socket in the program, a scripted server in
// the tests. Every call that can fail gives an empty text on success, else why it failed.
#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

struct ImapEndpoint;

class ImapTransport {
  public:
    virtual ~ImapTransport() = default;
    // Connects, with TLS from the start when the endpoint asks for it.
    virtual QString connectTo(const ImapEndpoint& endpoint, int timeoutMs) = 0;
    virtual QString startTls(int timeoutMs) = 0;
    virtual QString write(const QByteArray& bytes, int timeoutMs) = 0;
    // Waits until bytes can be read.
    virtual QString waitForBytes(int timeoutMs) = 0;
    virtual QByteArray readAll() = 0;
    virtual bool isConnected() const = 0;
    virtual void abort() = 0;
    // From now on, calls `onBytes` on the event loop when bytes come and `onDrop` when the
    // connection ends; empty functions stop that.
    virtual void watch(std::function<void()> onBytes, std::function<void()> onDrop) = 0;
};

using ImapTransportFactory = std::function<std::unique_ptr<ImapTransport>()>;

// QSslSocket; certificates named by SSL_CERT_FILE are trusted besides the system's.
std::unique_ptr<ImapTransport> MakeImapSocket();
