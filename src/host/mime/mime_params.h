#pragma once
// Parameters of Content-Type and Content-Disposition, read from the raw header value: RFC 2231
// sections and charsets, and RFC 2047 words inside quoted values (which mailers send although
// no standard allows it).
#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

struct HeaderParam {
    QByteArray name;  // in lower case, any "*<n>" and "*" suffix still on
    QByteArray value; // without quotes and escapes
};

// The value before the first ";" ("attachment", "text/plain"), unfolded, trimmed, lower case.
QByteArray HeaderMainValue(const QByteArray& rawValue);
// The parameters in header order. Lenient: an unquoted value runs to the next ";".
QList<HeaderParam> ParseHeaderParams(const QByteArray& rawValue);
// The decoded value of parameter `name` (lower case); nothing when the header has none.
std::optional<QString> DecodedParam(const QList<HeaderParam>& params, const QByteArray& name);
