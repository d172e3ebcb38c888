#pragma once
// The decoded content of one MIME part, and its file name read from the raw headers.
#include "common/error.h"

#include <QByteArray>
#include <QString>

#include <gmime/gmime.h>

// Writes the decoded content of a leaf part, or the whole of an attached message, to `sink`.
// Base64 is decoded here, not by GMime, whose decoder stops at inner padding. The line break
// before a boundary line is never content, whether it is CRLF or LF. `damaged` tells whether
// bytes were lost on the way.
OpError WritePartContent(GMimeObject* part, GMimeStream* sink, bool* damaged);
// Gives back the last byte that GMime's parser cut off the content of parts whose lines end in
// LF before a boundary line that ends in CRLF, so that a rewritten mail keeps it.
void RestoreCutContentEnds(GMimeMessage* message);
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
