#pragma once
// Runs the real `stowaway` program on a Maildir made by the test, with the test's private home,
// so the program reads the rules and settings the test saved and writes its LOG there.
#include "data/records.h"
#include "support/builders.h"
#include "support/maildir_fixture.h"

#include <QMap>
#include <QProcess>
#include <QStringList>

#include <functional>
#include <memory>
#include <ostream>
#include <vector>

struct CommandResult {
    int exitCode = -1;
    bool crashed = false;
    QString out;
    QString err;
};

class StowawayCommandTest : public MaildirTest {
  protected:
    // `stowaway --maildir <root> --no-input <args>`, run to its end.
    CommandResult runStowaway(const QStringList& args);
    // The same, started and left running (for `watch`); the caller ends it.
    std::unique_ptr<QProcess> startStowaway(const QStringList& args);
    // `stowaway --maildir <root> <args>` at a terminal of its own (a pseudo-terminal through
    // script(1)), in `workDir`: what the process's standard input gets, the program reads from
    // its terminal. The caller ends it.
    std::unique_ptr<QProcess> startAtTerminal(const QStringList& args, const QString& workDir);
    // The LOG file as it stands now (empty when there is none).
    QString logText() const;
    static QString program();

    // Real, logged runs without pauses or closing boxes, with `rule` as the only rule; saved
    // where the program reads them.
    void useOnlyRule(const udtRule& rule);
    // The same with `rules`, in this order.
    void useRules(const std::vector<udtRule>& rules);
    // Every file below `dir` (hidden ones too), by its path relative to `dir`, with its bytes.
    static QMap<QString, QByteArray> filesUnder(const QString& dir);
    // A rule that saves every attachment of every mail into `target`, numbering on a conflict;
    // with `removeAndLink` it also takes them out of the mail and lists them in its body.
    static udtRule SaveAllRule(const QString& target, bool removeAndLink = false);

    // Polls until `done` holds; false when `program` ended or the limit passed first. Not a
    // timing check: the limit only keeps a broken build from hanging the suite.
    static bool WaitFor(QProcess& program, const std::function<bool()>& done);

    // Every mail file of the Inbox, in new/ and cur/.
    QStringList mailFiles() const;
    // For each mail of the Inbox by its subject, how many times it carries the stamp.
    QMultiMap<QString, int> stampsBySubject() const;
    // Whether the one mail of that subject carries the stamp once.
    bool stamped(const QString& subject) const;

    // Put in front of the program on its command line (a wrapper such as setpriv or unshare).
    QStringList launcher;
    // "NAME=value" entries added to the program's environment.
    QStringList environment;
};
