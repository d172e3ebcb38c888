#pragma once
// A real IMAP server for the tests: started as an unprivileged process (as "nobody" when the tests
// run as root) with a configuration of its own in the test's folder, on a free loopback port,
// with the password kPassword for every user it knows.
#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>
#include <sys/types.h>

class ImapTestServer {
  public:
    static constexpr const char* kPassword = "secret";

    explicit ImapTestServer(QString dir);
    virtual ~ImapTestServer();
    virtual const char* name() const = 0;
    // Writes the configuration and starts the server; the port stays the same across restarts.
    // An empty string when it answers, else why not.
    QString start();
    void stop();
    quint16 port() const { return port_; }
    // The process group of the server and its connections' processes.
    qint64 processGroup() const { return process_ ? process_->processId() : 0; }
    // "imap+plain://user@127.0.0.1:port"
    QString url(const QString& user) const;
    QString dir() const { return dir_; }
    // Lets `user` log in with kPassword. An empty string, else why not.
    virtual QString addUser(const QString&) { return {}; }
    // Takes from `user` the right to set keywords in the inbox: PERMANENTFLAGS without "\*".
    virtual QString withholdKeywords(const QString& user) = 0;
    // Logs in as `user` and sends each command in turn; an empty string when all went well, else
    // the server's answer.
    QString runCommands(const QString& user, const QStringList& commands) const;

  protected:
    struct RunAs {
        uid_t uid;
        gid_t gid;
        QString user, group;
    };
    // Writes the configuration for a server running as `runAs`; an empty string, else why not.
    virtual QString configure(const RunAs& runAs) = 0;
    virtual QStringList commandLine() const = 0;
    // Where the server says why it did not start.
    virtual QString logFile() const = 0;
    static quint16 FreePort();
    // As root, the server's files belong to the user it runs as.
    void handOver(const QString& path) const;

  private:
    QString dir_;
    quint16 port_ = 0;
    RunAs runAs_{};
    std::unique_ptr<QProcess> process_;
};
