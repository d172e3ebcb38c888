#pragma once
// Finishing a changed mail: the "[SW]" mark, the list of saved files in the body, the save.
#include "engine/run_state.h"

void AnnotateAndSaveMail(RunState& run, MailState& mail, const RuleRun& rr);

// The block that lists the saved files, in each body format.
QString HtmlBlock(const QStringList& paths, bool hyperlink);
QString RtfBlock(const QStringList& paths, bool hyperlink);
QString PlainBlock(const QStringList& paths, bool hyperlink, bool logElements = true);
