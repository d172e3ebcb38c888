#pragma once
// What goes to a server as a message has CRLF line ends only (RFC 3501 and 9051): GMime writes
// what it read, and Cyrus refuses a bare LF.
#include <QByteArray>

// LF and a lone CR each become CRLF; CRLF stays; every other byte is kept as it is.
QByteArray CrlfLineEnds(const QByteArray& mail);
