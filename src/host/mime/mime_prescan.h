#pragma once
// A look over a mail's raw bytes before GMime sees them. It refuses what would cost too much
// (nesting, number of parts, size of a header block) and what GMime cannot survive: a very
// long parameter name sends GMime's parameter writer into an endless loop.
#include "common/error.h"

#include <QByteArray>

struct MailLimits {
    int maxDepth = 100;                         // nested multiparts and attached messages
    int maxParts = 10000;                       // header blocks: the message, parts, inner messages
    qint64 maxHeaderBlock = 10LL * 1024 * 1024; // bytes of one header block
    int maxParamName = 40;                      // characters of a parameter name
};

// OpError::none() when the mail may be handed to GMime; else why not.
OpError PrescanMail(const QByteArray& mail, const MailLimits& limits = {});
