#pragma once
// The protocol record of one attachment.
#include "engine/run_state.h"

// Fills the call's record for the attachment about to be saved to `fullPath`. Fields that the
// rule's kind does not write keep what they held.
void FillProtoRecord(udtProtoEntry& proto, const MailState& mail, const udtRule& rule,
                     const QString& fullPath);
// Appends a mark ("X", "E") to the record's State.
void AppendState(udtProtoEntry& proto, const QString& mark);
