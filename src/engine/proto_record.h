#pragma once
// The protocol record of one attachment.
#include "engine/run_state.h"

// Fills the call's record for the attachment about to be saved to `fullPath`. Fields that the
// rule's kind does not write keep what they held.
void FillProtoRecord(udtProtoEntry& proto, const MailState& mail, const udtRule& rule,
                     const QString& fullPath);
// Appends a mark ("X", "E") to the record's State.
void AppendState(udtProtoEntry& proto, const QString& mark);

// What a State says, in the user's language: "S" saved, "TS" a test run's (nothing saved), an
// "X" for each attachment removed from the mail, "E" a program run on the file, "! n/text" an
// error. Empty for a State of another form.
QString ProtoStateMeaning(const QString& state);
// The marks in one line, for a legend beside where States are shown.
QString ProtoStateLegend();
