#pragma once
// The decoded content of one MIME part, and its file name read from the raw headers.
#include "common/error.h"

#include <QByteArray>
#include <QString>

#include <gmime/gmime.h>

// Writes the decoded content of a leaf part, or the whole of an attached message, to `sink`.
// Base64 and uuencode are decoded here, not by GMime, whose decoders stop at inner padding and
// take the "\r" of CRLF lines for data. The line break
// before a boundary line is never content, whether it is CRLF or LF. `damaged` tells whether
// bytes were lost on the way.
OpError WritePartContent(GMimeObject* part, GMimeStream* sink, bool* damaged);
// Gives back the last byte that GMime's parser cut off the content of parts whose lines end in
// LF before a boundary line that ends in CRLF, so that a rewritten mail keeps it.
void RestoreCutContentEnds(GMimeMessage* message);
// Ends each part's content at the first line that starts with a boundary of a multipart around
// it, whatever follows on that line: GMime reads on past a boundary line with more after it
// ("--b-- end of message"), into the next parts and the epilogue. Whether anything was cut.
bool CutContentAtBoundaries(GMimeMessage* message);
// The decoded content in memory.
QByteArray PartContent(GMimeObject* part, bool* damaged);
// How many bytes the decoded content has.
qint64 PartContentSize(GMimeObject* part, bool* damaged);
// The text of a text part, converted from its charset.
QString PartText(GMimeObject* part);
// The part's file name: Content-Disposition's filename, else Content-Type's name, decoded
// from the raw header values (RFC 2231 and 2047); empty when it has none.
QString PartFileName(GMimeObject* part);
// "image/png", lower case.
QByteArray PartMimeType(GMimeObject* part);
