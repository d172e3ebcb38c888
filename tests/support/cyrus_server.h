#pragma once
// Cyrus IMAP, unpacked from Debian's packages into the checkout by scripts/install-deps (they
// conflict with Dovecot's): users log in with kPassword from a sasldb of its own, their inbox is
// made at the first login, and "admin" administers.
#include "support/imap_test_server.h"

class CyrusServer : public ImapTestServer {
  public:
    explicit CyrusServer(QString dir) : ImapTestServer(std::move(dir)) {}
    const char* name() const override { return "cyrus"; }
    QString addUser(const QString& user) override;
    QString withholdKeywords(const QString& user) override;

  protected:
    QString configure(const RunAs& runAs) override;
    QStringList commandLine() const override;
    QString logFile() const override { return dir() + QStringLiteral("/master.log"); }
};
