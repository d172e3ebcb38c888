#pragma once
// Target folders and free file names: the folder a rule derives for a mail, and the policies
// for a file that already exists.
#include "data/records.h"
#include "host/mail_store.h"

#include <QString>

// Sets `baseFolder` and `targetFolder` for the rule and the mail. False (with a LOG line) when
// the rule gives no absolute folder, e.g. its project was deleted. The four address strings are
// those MatchesRule handed back.
bool GetRuleData(const MailItemPtr& item, const udtRule& rule, QString& baseFolder,
                 QString& targetFolder, const QString& senderName, const QString& senderAddress,
                 const QString& recipientName, const QString& recipientAddress);

// "<folder><base> -NNNN.<ext>" one above the highest number present (the first duplicate is
// -0002); empty, after a message, when the numbers are used up.
QString GetNextNumberName(const QString& fullPath);
// "<folder><base> yyyy-mm-dd hh-nn-ss.<ext>" at the first second that is free.
QString GetNextDateName(const QString& fullPath);

// Whether a look-up of the path finds something on disk.
bool PathFound(const QString& path);

// The outcome of the rule's policy for an existing file. LeaveUnasked: the policy is to ask and
// nobody can answer; the attachment and its mail are left for a run that can.
enum class ConflictOutcome { Save, SkipAttachment, AbortRun, LeaveUnasked };
// Applies the rule's FileExists policy to `fullPath`, which exists; may change `fullPath`. A
// cancelled save dialog asks whether to skip the attachment or stop the run.
ConflictOutcome ResolveConflict(const udtRule& rule, QString& fullPath);
