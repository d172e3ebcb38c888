#pragma once
// Header text decoding: bytes in a named charset, and RFC 2047 encoded words. Names are decoded
// here rather than by GMime, which loses the tail of adjacent encoded words in a parameter.
#include <QByteArray>
#include <QString>

// Bytes in `charset` as text. Without a charset, or with one iconv does not know, valid UTF-8
// is read as UTF-8 and anything else as Windows-1252, so no byte is dropped.
QString DecodeCharset(const QByteArray& bytes, const QByteArray& charset);

// Decodes the encoded words ("=?charset?B|Q?text?=") in a header text. Blanks between two
// encoded words go; the bytes of adjacent words in one charset are joined before they are
// converted, so a character split over two words comes out whole. Text outside encoded words
// is read as by DecodeCharset without a charset.
QString DecodeEncodedWords(const QByteArray& text);
