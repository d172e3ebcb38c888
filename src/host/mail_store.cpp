#include "host/mail_store.h"
