#pragma once
// Opens the Maildir store a program was pointed at; shared by both programs.
#include "host/mail_store.h"

#include <memory>

// A session over the Maildir at `maildir`; an error when the folder is not a Maildir.
Result<std::shared_ptr<MailSession>> OpenMaildirStore(const QString& maildir);
