#pragma once
// Small pieces of the driver's LOG lines.
#include "common/vbstring.h"

#include <QString>

inline QString BoolText(bool value) {
    return value ? QStringLiteral("True") : QStringLiteral("False");
}
// A text field that was never set reads "./.".
inline QString FieldText(const QString& trimmed) {
    return IsUnsetText(trimmed) ? QStringLiteral("./.") : trimmed;
}
inline QString DashLine() {
    return QString(50, QLatin1Char('-'));
}
inline QString DotLine() {
    return QString(50, QLatin1Char('.'));
}

// The line break of mail bodies and of the LOG's multi-line entries.
inline const QString kCrLf = QStringLiteral("\r\n");
