#include "host/mime/header_text.h"

#include "common/ansi.h"
#include "host/mime/gmime/gmime_support.h"

#include <gmime/gmime.h>

#include <optional>

namespace {

bool IsUtf8Name(const QByteArray& charset) {
    const QByteArray c = charset.trimmed().toLower();
    return c.isEmpty() || c == "utf-8" || c == "utf8" || c == "us-ascii" || c == "ascii";
}

QString DecodeUnlabelled(const QByteArray& bytes) {
    if (g_utf8_validate(bytes.constData(), bytes.size(), nullptr)) return QString::fromUtf8(bytes);
    return FromAnsi(bytes);
}

struct EncodedWord {
    QByteArray charset;
    QByteArray bytes;  // decoded, still in the charset
    qsizetype end = 0; // index after the closing "?="
};

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

QByteArray DecodeQ(const QByteArray& text) {
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '_') {
            out.append(' ');
        } else if (c == '=' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
                   HexValue(text[i + 2]) >= 0) {
            out.append(char(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2])));
            i += 2;
        } else {
            out.append(c);
        }
    }
    return out;
}

// Parses the encoded word that starts at `start` ("=?"); nothing when it is not one.
std::optional<EncodedWord> ParseEncodedWord(const QByteArray& text, qsizetype start) {
    const qsizetype q1 = text.indexOf('?', start + 2);
    if (q1 < 0 || q1 + 2 >= text.size() || text[q1 + 2] != '?') return std::nullopt;
    const char method = text[q1 + 1];
    const qsizetype close = text.indexOf("?=", q1 + 3);
    if (close < 0) return std::nullopt;
    QByteArray charset = text.mid(start + 2, q1 - start - 2);
    const QByteArray payload = text.mid(q1 + 3, close - q1 - 3);
    // Blanks are not allowed inside a word; their presence means this is no encoded word.
    if (charset.isEmpty() || payload.contains(' ') || payload.contains('\t')) return std::nullopt;
    // RFC 2231 allows a language after the charset: "utf-8*de".
    if (const qsizetype star = charset.indexOf('*'); star >= 0) charset.truncate(star);
    EncodedWord word;
    word.charset = charset;
    word.end = close + 2;
    if (method == 'B' || method == 'b') {
        word.bytes = QByteArray::fromBase64(payload);
    } else if (method == 'Q' || method == 'q') {
        word.bytes = DecodeQ(payload);
    } else {
        return std::nullopt;
    }
    return word;
}

bool IsBlank(const QByteArray& text) {
    for (char c : text)
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return false;
    return true;
}

} // namespace

QString DecodeCharset(const QByteArray& bytes, const QByteArray& charset) {
    if (IsUtf8Name(charset)) return DecodeUnlabelled(bytes);
    const QByteArray name = charset.trimmed();
    EnsureGMime();
    iconv_t cd = g_mime_iconv_open("UTF-8", name.constData());
    if (cd == (iconv_t)-1) return DecodeUnlabelled(bytes);
    char* converted = g_mime_iconv_strndup(cd, bytes.constData(), std::size_t(bytes.size()));
    g_mime_iconv_close(cd);
    if (!converted) return DecodeUnlabelled(bytes);
    QString text = QString::fromUtf8(converted);
    g_free(converted);
    return text;
}

QString DecodeEncodedWords(const QByteArray& text) {
    QString result;
    QByteArray pendingCharset; // charset of the bytes collected from adjacent words
    QByteArray pendingBytes;
    auto flushWords = [&] {
        if (!pendingBytes.isEmpty()) result += DecodeCharset(pendingBytes, pendingCharset);
        pendingBytes.clear();
        pendingCharset.clear();
    };
    bool lastWasWord = false;
    qsizetype pos = 0;
    while (pos < text.size()) {
        qsizetype start = text.indexOf("=?", pos);
        std::optional<EncodedWord> word;
        while (start >= 0 && !(word = ParseEncodedWord(text, start)))
            start = text.indexOf("=?", start + 2);
        const QByteArray between = text.mid(pos, (start < 0 ? text.size() : start) - pos);
        if (!word) {
            flushWords();
            result += DecodeUnlabelled(between);
            break;
        }
        if (!(lastWasWord && IsBlank(between))) {
            flushWords();
            result += DecodeUnlabelled(between);
        }
        if (!pendingBytes.isEmpty() && word->charset.toLower() != pendingCharset.toLower())
            flushWords();
        pendingCharset = word->charset;
        pendingBytes += word->bytes;
        lastWasWord = true;
        pos = word->end;
    }
    flushWords();
    return result;
}
