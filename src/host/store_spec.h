#pragma once
// Which mail store a program works on: "imap://..." (and its imap+starttls:// and imap+plain://
// forms) is an IMAP account, "maildir:PATH" or a bare path a Maildir.
#include <QString>

// True for a store given as an IMAP URL rather than a Maildir path.
bool IsImapUrl(const QString& text);
// The store named on the command line, else by the setting Store, else by $MAILDIR, else
// ~/Maildir.
QString ChooseStore(const QString& fromCommandLine);
// A Maildir path made absolute; a URL as given.
QString NormalizeStoreSpec(const QString& spec);
// The command that prints the account's secret: --password-command when given, else the
// setting PasswordCommand.
void SetPasswordCommand(const QString& command);
QString PasswordCommand();
