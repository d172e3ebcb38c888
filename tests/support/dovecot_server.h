#pragma once
// Dovecot, with a static password for every user and the mail of user U in <dir>/mail/U
// (Maildir), and access rights from a dovecot-acl file where a test puts one.
#include "support/imap_test_server.h"

#include <QHash>

class DovecotServer : public ImapTestServer {
  public:
    // Whether Debian's dovecot-imapd is installed.
    static bool Installed();

    explicit DovecotServer(QString dir) : ImapTestServer(std::move(dir)) {}
    const char* name() const override { return "dovecot"; }
    QString withholdKeywords(const QString& user) override;
    // TLS from the next start on, with this certificate and key, on tlsPort() beside the plain
    // port.
    void useCertificate(const QString& cert, const QString& key);
    quint16 tlsPort() const { return tlsPort_; }
    // Configuration lines added at the end from the next start on (plugins, capabilities).
    void addConfig(const QString& lines) { extraConfig_ += lines + QLatin1Char('\n'); }
    // The Maildir of a user's mailbox ("INBOX" or a folder name as Dovecot lays it out).
    QString maildir(const QString& user, const QString& mailbox = QStringLiteral("INBOX")) const;
    // What clients sent over every connection so far (the server's rawlog), and forgetting it.
    QByteArray clientLines() const;
    void clearClientLines();

  protected:
    QString configure(const RunAs& runAs) override;
    QStringList commandLine() const override;
    QString logFile() const override { return dir() + QStringLiteral("/dovecot.log"); }

  private:
    quint16 tlsPort_ = 0;
    QString cert_, key_;
    QString extraConfig_;
    QHash<QString, qint64> seen_; // rawlog bytes already read, by file
};
