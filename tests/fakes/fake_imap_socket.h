#pragma once
// A scripted IMAP server under ImapConnection, in place of the socket. The transcript's "S: "
// lines are what the server sends (CRLF added), its "C: " lines what the client must send next,
// checked one by one, and "X" hangs up. A client line that announces a literal takes the
// literal's bytes along ("{n+}") or in the next "C: " line, after the server's "+" ("{n}"); every
// literal of an APPEND is checked for a LF without CR before it. When the script waits for the
// client, a client waiting for the server gets no answer at once (its time-out), not after it.
#include "host/imap/imap_transport.h"

#include <QObject>
#include <QStringList>

#include <vector>

class FakeImapServer {
  public:
    explicit FakeImapServer(std::vector<QByteArray> transcript);
    // Transports for the connection; each new one goes on with the same script.
    ImapTransportFactory factory();
    // What went against the script: a line not as expected, a bare LF, lines left unsent.
    QStringList faults() const;

  private:
    friend class FakeImapSocket;
    void release();
    bool takeClientUnit(QByteArray& unit);
    void checkLiteral(const QByteArray& literal);
    QString received(const QByteArray& bytes);
    void notifyLater();

    std::vector<QByteArray> steps_;
    size_t next_ = 0;
    QByteArray toClient_, fromClient_;
    qint64 literalDue_ = -1; // a synchronizing literal's size, sent at the next unit's start
    bool inAppend_ = false;
    bool connected_ = false;
    QStringList faults_;
    std::function<void()> onBytes_, onDrop_;
    QObject guard_; // ends the posted calls with the server
};
