#pragma once
// Opens the mail store a program was pointed at (see host/store_spec.h); shared by both
// programs.
#include "host/mail_store.h"
#include "host/store_spec.h"

#include <memory>

Result<std::shared_ptr<MailSession>> OpenStore(const QString& spec);
