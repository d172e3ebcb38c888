#pragma once
// Which parts of a MIME tree are the mail's body and which are its attachments. Every
// text/plain and text/html part that is neither marked as an attachment nor named is body text,
// the first of each kind the body the engine sees; a calendar inside an alternative (or as the
// whole mail) belongs to the body too; every other leaf and every attached message is an
// attachment, in document order. An attached message counts once: its inner parts are not looked
// at.
#include "host/mime/mail_summary.h"

#include <gmime/gmime.h>

#include <unordered_map>
#include <vector>

struct MimeLayout {
    GMimeObject* plainBody = nullptr;
    GMimeObject* htmlBody = nullptr;
    GMimeObject* calendarBody = nullptr;
    std::vector<GMimeObject*> attachments;
    // The multipart that holds each part; the top part has none.
    std::unordered_map<GMimeObject*, GMimeMultipart*> parents;
};

// The layout of a message; the pointers are borrowed from it.
MimeLayout AnalyseMime(GMimeMessage* message);
// A part GMime read as a whole message although its type says otherwise (a part of a digest
// whose type cannot be read); it is an attached message, and is written as one.
bool IsUnnamedMessage(GMimeObject* part);
// Class, body format and the attachment list with names, sizes and content ids (a part's
// Content-ID only when the HTML body refers to it or it is an inline part beside the HTML body
// in its multipart/related).
MailStructure DescribeStructure(GMimeMessage* message, const MimeLayout& layout);
