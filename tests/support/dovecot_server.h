#pragma once
// A real Dovecot for the tests: started as an unprivileged process (as "nobody" when the tests
// run as root) with a configuration of its own in the test's folder, on a free loopback port,
// with a static password for every user and the mail of user U in <dir>/mail/U (Maildir), and
// access rights from a dovecot-acl file where a test puts one.
#include <QHash>
#include <QProcess>
#include <QString>

#include <memory>

class DovecotServer {
  public:
    static constexpr const char* kPassword = "secret";
    // Whether Debian's dovecot-imapd is installed.
    static bool Installed();

    explicit DovecotServer(QString dir);
    ~DovecotServer();
    // Writes the configuration and starts the server; the port stays the same across restarts.
    // An empty string when it answers, else why not.
    QString start();
    void stop();
    quint16 port() const { return port_; }
    // The process group of the server and its connections' processes.
    qint64 processGroup() const { return process_ ? process_->processId() : 0; }
    // TLS from the next start on, with this certificate and key, on tlsPort() beside the plain
    // port.
    void useCertificate(const QString& cert, const QString& key);
    quint16 tlsPort() const { return tlsPort_; }
    // "imap+plain://user@127.0.0.1:port"
    QString url(const QString& user) const;
    // The Maildir of a user's mailbox ("INBOX" or a folder name as Dovecot lays it out).
    QString maildir(const QString& user, const QString& mailbox = QStringLiteral("INBOX")) const;
    // What clients sent over every connection so far (the server's rawlog), and forgetting it.
    QByteArray clientLines() const;
    void clearClientLines();
    // Leaves mails of `user` readable by the tests after the server wrote them.
    QString dir() const { return dir_; }

  private:
    QString dir_;
    quint16 port_ = 0;
    quint16 tlsPort_ = 0;
    QString cert_, key_;
    std::unique_ptr<QProcess> process_;
    QHash<QString, qint64> seen_; // rawlog bytes already read, by file
};
