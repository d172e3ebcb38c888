#pragma once
// A new mail in the user's own mail program, with files attached (xdg-email).
#include <QString>
#include <QStringList>

// Opens the mail program's compose window with `subject` and `files`. Empty when it opened (or
// is still starting after a few seconds), else a text for the user that says why not.
QString ComposeMailWithFiles(const QString& subject, const QStringList& files);
