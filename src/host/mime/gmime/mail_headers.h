#pragma once
// The header fields the store shows of a mail, read from a parsed GMime message.
#include "host/mime/mail_summary.h"

#include <gmime/gmime.h>

MailHeaders ReadMailHeaders(GMimeMessage* message);
