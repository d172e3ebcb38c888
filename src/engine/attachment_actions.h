#pragma once
// What happens to one chosen attachment: the test-run question, the question after a cancelled
// save dialog, the save with its check, its failure, the rule's application; and, after all
// attachments of a rule, their removal from the mail.
#include "engine/run_state.h"

// The test-run dialog (German only). False when the user ends the test run.
bool AskContinueTestRun(const RunState& run, const MailState& mail, const RuleRun& rr,
                        const QString& fullPath);
// After a cancelled save dialog: true to skip only this attachment, false to stop the run.
bool AskCancelAttachmentOnly();

// Saves attachment `att` of the mail to `fullPath`, checks the file and tries a second time
// when it is missing. The error, if any, means the save failed.
OpError SaveAttachment(const AttachmentPtr& att, const QString& fullPath);
// The failed save: State, two LOG lines, the message. The caller writes the record.
void ReportSaveFailure(udtProtoEntry& proto, const QString& fullPath, const OpError& error);
// Tells the user that a rule has no folder to save into; the mail is left as it is.
void ReportMissingTargetFolder(const QString& ruleName, const QString& folder);
// LOG line and message for an attachment whose name is taken while nobody can be asked.
void ReportUnaskedConflict(const QString& fullPath);

// Whether the rule names an application.
bool HasApplication(const udtRule& rule);
// Starts the rule's application on the saved file (only its LOG line in a test run).
void RunRuleApplication(const udtRule& rule, const QString& fullPath);

// Removes the attachments of `rr.savedList` from the mail (in a test run only the LOG lines and
// the list of names).
void DeleteSavedAttachments(RunState& run, MailState& mail, RuleRun& rr);
