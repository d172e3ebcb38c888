#pragma once
// Opens the Maildir store a program was pointed at; shared by both programs.
#include "host/mail_store.h"

#include <memory>

// A session over the Maildir store at `maildir`: a Maildir, or a folder of Maildirs as mbsync
// keeps an account; an error that says what was expected when the path is no mail store.
Result<std::shared_ptr<MailSession>> OpenMaildirStore(const QString& maildir);
