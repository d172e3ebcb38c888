#include "data/records.h"

#include "common/vbstring.h"

QString TrimFixedText(const QString& raw) { return VbTrim(raw); }
