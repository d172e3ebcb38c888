#include "host/imap/imap_response.h"

#include <QSet>

bool ImapValue::isAtom(const char* name) const {
    return kind == Kind::Atom && text.compare(name, Qt::CaseInsensitive) == 0;
}

QByteArray ImapValue::asBytes() const {
    switch (kind) {
    case Kind::Atom:
    case Kind::String:
        return text;
    case Kind::Number:
        return text.isEmpty() ? QByteArray::number(number) : text;
    default:
        return {};
    }
}

namespace {

OpError Malformed(const QString& why) {
    return OpError::make(ErrNo::Failed,
                         QStringLiteral("The IMAP server sent malformed data: ") + why);
}

// 8-bit bytes are taken too: servers send UTF-8 mailbox names unquoted.
bool IsAtomChar(char c, bool inCode) {
    const auto u = static_cast<unsigned char>(c);
    if (u <= 0x20 || u == 0x7f) return false;
    switch (c) {
    case '(':
    case ')':
    case '{':
    case '%':
    case '*':
    case '"':
    case '\\':
        return false;
    case ']':
        return !inCode;
    default:
        return true;
    }
}

class Parser {
  public:
    Parser(const QByteArray& bytes, const ImapLimits& limits) : b_(bytes), limits_(limits) {}

    // On an error, what was read before it (the type and tag) is kept.
    Result<ImapResponse> parse() {
        ImapResponse r;
        OpError e = response(r);
        return {std::move(r), e};
    }

  private:
    char peek() const { return pos_ < b_.size() ? b_[pos_] : '\0'; }
    bool atLineEnd() const {
        return pos_ + 1 < b_.size() && b_[pos_] == '\r' && b_[pos_ + 1] == '\n';
    }
    OpError fail(const QString& what) const {
        return Malformed(what + QStringLiteral(" at byte %1").arg(pos_));
    }
    OpError expect(char c, const char* what) {
        if (peek() != c) return fail(QLatin1String(what));
        ++pos_;
        return OpError::none();
    }
    OpError lineEnd() {
        if (!atLineEnd()) return fail(QStringLiteral("expected the end of the line"));
        pos_ += 2;
        if (pos_ != b_.size()) return fail(QStringLiteral("data after the end of the response"));
        return OpError::none();
    }

    QByteArray word(bool inCode) {
        const qsizetype start = pos_;
        while (pos_ < b_.size() && IsAtomChar(b_[pos_], inCode))
            ++pos_;
        return b_.mid(start, pos_ - start);
    }

    OpError response(ImapResponse& r) {
        if (peek() == '+') {
            ++pos_;
            r.type = ImapResponse::Type::Continuation;
            if (peek() == ' ') ++pos_;
            return text(r.text);
        }
        if (peek() == '*') {
            ++pos_;
            r.type = ImapResponse::Type::Untagged;
        } else {
            r.type = ImapResponse::Type::Tagged;
            r.tag = word(false);
            if (r.tag.isEmpty()) return fail(QStringLiteral("expected a tag"));
        }
        if (OpError e = expect(' ', "expected a blank after the tag")) return e;
        if (r.type == ImapResponse::Type::Untagged && std::isdigit(uchar(peek()))) {
            ImapValue n;
            if (OpError e = value(n, 0, false)) return e;
            if (n.kind != ImapValue::Kind::Number)
                return fail(QStringLiteral("a number out of range"));
            r.data.push_back(std::move(n));
            if (OpError e = expect(' ', "expected a blank after the number")) return e;
            return dataTail(r, true);
        }
        const QByteArray first = word(false).toUpper();
        if (first.isEmpty()) return fail(QStringLiteral("expected a response name"));
        static const QSet<QByteArray> statuses{"OK", "NO", "BAD", "BYE", "PREAUTH"};
        if (statuses.contains(first)) {
            if (r.type == ImapResponse::Type::Tagged && first != "OK" && first != "NO" &&
                first != "BAD")
                return fail(QStringLiteral("a tagged response with status ") +
                            QString::fromLatin1(first));
            r.status = first;
            return respText(r);
        }
        if (r.type == ImapResponse::Type::Tagged)
            return fail(QStringLiteral("a tagged response without OK, NO or BAD"));
        ImapValue name;
        name.kind = ImapValue::Kind::Atom;
        name.text = first;
        r.data.push_back(std::move(name));
        return dataTail(r, false);
    }

    // The values after "* NAME" or "* n NAME", to the end of the line.
    OpError dataTail(ImapResponse& r, bool afterNumber) {
        if (afterNumber) {
            ImapValue name;
            name.kind = ImapValue::Kind::Atom;
            name.text = word(false).toUpper();
            if (name.text.isEmpty())
                return fail(QStringLiteral("expected a name after the number"));
            r.data.push_back(std::move(name));
        }
        while (peek() == ' ') {
            ++pos_;
            if (atLineEnd()) break; // a trailing blank, as some servers send after SEARCH
            ImapValue v;
            if (OpError e = value(v, 0, false)) return e;
            r.data.push_back(std::move(v));
        }
        return lineEnd();
    }

    OpError respText(ImapResponse& r) {
        if (atLineEnd()) return lineEnd();
        if (OpError e = expect(' ', "expected a blank after the status")) return e;
        if (peek() == '[') {
            ++pos_;
            if (OpError e = responseCode(r)) return e;
            if (OpError e = expect(']', "expected ']' after the response code")) return e;
            if (atLineEnd()) return lineEnd();
            if (OpError e = expect(' ', "expected a blank after the response code")) return e;
        }
        return text(r.text);
    }

    OpError text(QString& out) {
        const qsizetype start = pos_;
        while (pos_ < b_.size() && b_[pos_] != '\r' && b_[pos_] != '\n')
            ++pos_;
        out = QString::fromUtf8(b_.mid(start, pos_ - start));
        return lineEnd();
    }

    OpError responseCode(ImapResponse& r) {
        r.code = word(true).toUpper();
        if (r.code.isEmpty()) return fail(QStringLiteral("expected a response code"));
        static const QSet<QByteArray> numeric{"UIDVALIDITY", "UIDNEXT", "UNSEEN", "HIGHESTMODSEQ"};
        static const QSet<QByteArray> valued{"PERMANENTFLAGS", "CAPABILITY", "APPENDUID", "COPYUID",
                                             "BADCHARSET"};
        if (numeric.contains(r.code) || valued.contains(r.code)) {
            while (peek() == ' ') {
                ++pos_;
                ImapValue v;
                if (OpError e = value(v, 0, true)) return e;
                r.codeArgs.push_back(std::move(v));
            }
            if (numeric.contains(r.code) &&
                (r.codeArgs.size() != 1 || r.codeArgs[0].kind != ImapValue::Kind::Number))
                return fail(QStringLiteral("%1 without one number").arg(QLatin1String(r.code)));
            if (r.code == "APPENDUID" &&
                (r.codeArgs.size() != 2 || r.codeArgs[0].kind != ImapValue::Kind::Number))
                return fail(QStringLiteral("APPENDUID without UIDVALIDITY and UID"));
            if (r.code == "PERMANENTFLAGS" &&
                (r.codeArgs.size() != 1 || r.codeArgs[0].kind != ImapValue::Kind::List))
                return fail(QStringLiteral("PERMANENTFLAGS without a list of flags"));
            return OpError::none();
        }
        // Any other code: its argument as raw text up to the "]".
        if (peek() == ' ') {
            ++pos_;
            const qsizetype start = pos_;
            while (pos_ < b_.size() && b_[pos_] != ']' && b_[pos_] != '\r' && b_[pos_] != '\n')
                ++pos_;
            ImapValue v;
            v.kind = ImapValue::Kind::Atom;
            v.text = b_.mid(start, pos_ - start);
            r.codeArgs.push_back(std::move(v));
        }
        return OpError::none();
    }

    OpError value(ImapValue& v, int depth, bool inCode) {
        const char c = peek();
        if (c == '(') {
            if (depth >= limits_.maxDepth)
                return fail(QStringLiteral("lists nested deeper than %1").arg(limits_.maxDepth));
            ++pos_;
            v.kind = ImapValue::Kind::List;
            if (peek() == ')') {
                ++pos_;
                return OpError::none();
            }
            for (;;) {
                ImapValue item;
                if (OpError e = value(item, depth + 1, inCode)) return e;
                v.list.push_back(std::move(item));
                if (peek() == ')') {
                    ++pos_;
                    return OpError::none();
                }
                if (OpError e = expect(' ', "expected a blank or ')' in a list")) return e;
                if (peek() == ')') { // a blank before the end, as Gmail sends in FETCH
                    ++pos_;
                    return OpError::none();
                }
            }
        }
        if (c == '"') return quoted(v);
        if (c == '{') return literal(v);
        if (c == '\\') {
            ++pos_;
            v.kind = ImapValue::Kind::Atom;
            if (peek() == '*') {
                ++pos_;
                v.text = "\\*";
                return OpError::none();
            }
            const QByteArray name = word(inCode);
            if (name.isEmpty()) return fail(QStringLiteral("a lone backslash"));
            v.text = '\\' + name;
            return OpError::none();
        }
        const QByteArray w = word(inCode);
        if (w.isEmpty()) return fail(QStringLiteral("expected a value"));
        // NIL and numbers keep their text: where a mailbox name stands, "NIL" and "2024" are
        // names like any other.
        v.text = w;
        if (w.compare("NIL", Qt::CaseInsensitive) == 0) {
            v.kind = ImapValue::Kind::Nil;
            return OpError::none();
        }
        bool digits = true;
        for (const char d : w)
            digits = digits && std::isdigit(uchar(d));
        bool fits = false;
        if (digits && w.size() <= 20) v.number = w.toULongLong(&fits);
        v.kind = fits ? ImapValue::Kind::Number : ImapValue::Kind::Atom;
        if (fits) return OpError::none();
        // A fetch item whose section holds blanks: BODY[HEADER.FIELDS (A B)].
        if (!inCode && w.contains('[') && w.lastIndexOf(']') < w.indexOf('[')) {
            const qsizetype close = b_.indexOf(']', pos_);
            const qsizetype eol = b_.indexOf('\r', pos_);
            if (close < 0 || (eol >= 0 && eol < close))
                return fail(QStringLiteral("a section without ']'"));
            const qsizetype start = pos_ - w.size();
            pos_ = close + 1;
            while (pos_ < b_.size() && IsAtomChar(b_[pos_], false))
                ++pos_; // <origin>
            v.text = b_.mid(start, pos_ - start);
        }
        return OpError::none();
    }

    OpError quoted(ImapValue& v) {
        ++pos_;
        v.kind = ImapValue::Kind::String;
        for (;;) {
            if (pos_ >= b_.size()) return fail(QStringLiteral("an unterminated string"));
            const char c = b_[pos_++];
            if (c == '"') return OpError::none();
            if (c == '\r' || c == '\n' || c == '\0')
                return fail(QStringLiteral("a line end or NUL inside a quoted string"));
            if (c == '\\') {
                const char next = peek();
                if (next != '"' && next != '\\')
                    return fail(QStringLiteral("a bad escape in a quoted string"));
                v.text += next;
                ++pos_;
                continue;
            }
            v.text += c;
        }
    }

    OpError literal(ImapValue& v) {
        ++pos_;
        const qsizetype close = b_.indexOf('}', pos_);
        if (close < 0 || close == pos_ || close - pos_ > 19)
            return fail(QStringLiteral("a bad literal size"));
        bool ok = false;
        const qint64 size = b_.mid(pos_, close - pos_).toLongLong(&ok);
        for (qsizetype i = pos_; i < close; ++i)
            ok = ok && std::isdigit(uchar(b_[i]));
        if (!ok) return fail(QStringLiteral("a bad literal size"));
        if (size > limits_.maxLiteral)
            return fail(QStringLiteral("a literal of %1 bytes, more than the %2 allowed")
                            .arg(size)
                            .arg(limits_.maxLiteral));
        pos_ = close + 1;
        if (!atLineEnd()) return fail(QStringLiteral("a literal size not at the end of a line"));
        pos_ += 2;
        if (b_.size() - pos_ < size) return fail(QStringLiteral("a literal cut short"));
        v.kind = ImapValue::Kind::String;
        v.text = b_.mid(pos_, size);
        pos_ += size;
        return OpError::none();
    }

    const QByteArray& b_;
    const ImapLimits& limits_;
    qsizetype pos_ = 0;
};

// The size of the literal announced at the end of `line` ("... {123}"); -1 for none.
qint64 TrailingLiteral(const QByteArray& buffer, qsizetype start, qsizetype end) {
    if (end <= start || buffer[end - 1] != '}') return -1;
    qsizetype open = end - 2;
    while (open >= start && std::isdigit(uchar(buffer[open])))
        --open;
    if (open < start || buffer[open] != '{' || open == end - 2) return -1;
    if (end - 2 - open > 19) return std::numeric_limits<qint64>::max();
    return buffer.mid(open + 1, end - 2 - open).toLongLong();
}

} // namespace

QString ImapPrintable(const QByteArray& bytes, qsizetype max) {
    QString out;
    for (qsizetype i = 0; i < bytes.size() && i < max; ++i) {
        const uchar c = uchar(bytes[i]);
        out += c < 0x20 || c >= 0x7f ? QStringLiteral("\\x%1").arg(c, 2, 16, QLatin1Char('0'))
                                     : QString(QLatin1Char(char(c)));
    }
    return bytes.size() > max ? out + QStringLiteral("...") : out;
}

Result<ImapResponse> ParseImapResponse(const QByteArray& bytes, const ImapLimits& limits) {
    return Parser(bytes, limits).parse();
}

std::optional<Result<ImapResponse>> ImapReader::next() {
    if (error_) return Result<ImapResponse>{{}, error_};
    qsizetype lineStart = scanned_;
    for (;;) {
        const qsizetype lf = buffer_.indexOf('\n', lineStart);
        if (lf < 0) {
            if (buffer_.size() - lineStart > limits_.maxLine) {
                error_ =
                    Malformed(QStringLiteral("a line longer than %1 bytes").arg(limits_.maxLine));
                return Result<ImapResponse>{{}, error_};
            }
            scanned_ = lineStart;
            return std::nullopt;
        }
        if (lf == lineStart || buffer_[lf - 1] != '\r') {
            error_ = Malformed(QStringLiteral("a line that ends without CR"));
            return Result<ImapResponse>{{}, error_};
        }
        if (lf - 1 - lineStart > limits_.maxLine) {
            error_ = Malformed(QStringLiteral("a line longer than %1 bytes").arg(limits_.maxLine));
            return Result<ImapResponse>{{}, error_};
        }
        const qint64 literal = TrailingLiteral(buffer_, lineStart, lf - 1);
        if (literal > limits_.maxLiteral) {
            error_ = Malformed(
                QStringLiteral("a literal of more than %1 bytes").arg(limits_.maxLiteral));
            return Result<ImapResponse>{{}, error_};
        }
        qsizetype end = lf + 1;
        if (literal >= 0) end += literal;
        if (end > limits_.maxResponse) {
            error_ = Malformed(
                QStringLiteral("a response of more than %1 bytes").arg(limits_.maxResponse));
            return Result<ImapResponse>{{}, error_};
        }
        if (literal < 0) {
            const QByteArray response = buffer_.left(end);
            buffer_.remove(0, end);
            scanned_ = 0;
            Result<ImapResponse> parsed = ParseImapResponse(response, limits_);
            if (!parsed.ok())
                parsed.error.description += QStringLiteral(" in: ") + ImapPrintable(response, 120);
            return parsed;
        }
        if (buffer_.size() < end) {
            scanned_ = lineStart; // the literal is still arriving
            return std::nullopt;
        }
        lineStart = end; // the response goes on after the literal
    }
}

namespace {

const char kMutf7Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";

} // namespace

QString DecodeMailboxName(const QByteArray& name, bool* ok) {
    QString out;
    bool good = true;
    for (qsizetype i = 0; i < name.size() && good; ++i) {
        const char c = name[i];
        if (uchar(c) < 0x20 || uchar(c) > 0x7e) {
            good = false;
            break;
        }
        if (c != '&') {
            out += QLatin1Char(c);
            continue;
        }
        const qsizetype end = name.indexOf('-', i + 1);
        if (end < 0) {
            good = false;
            break;
        }
        if (end == i + 1) {
            out += QLatin1Char('&');
            i = end;
            continue;
        }
        quint32 bits = 0;
        int count = 0;
        QByteArray utf16;
        for (qsizetype j = i + 1; j < end; ++j) {
            const char* at = std::strchr(kMutf7Alphabet, name[j]);
            if (!at || name[j] == '\0') {
                good = false;
                break;
            }
            bits = (bits << 6) | quint32(at - kMutf7Alphabet);
            count += 6;
            if (count >= 8) {
                count -= 8;
                utf16 += char((bits >> count) & 0xff);
            }
        }
        // Leftover bits must be zero padding, and the bytes whole UTF-16 units.
        if ((bits & ((1u << count) - 1)) != 0 || count >= 6 || utf16.size() % 2) good = false;
        for (qsizetype k = 0; good && k + 1 < utf16.size(); k += 2) {
            const char16_t unit = char16_t((uchar(utf16[k]) << 8) | uchar(utf16[k + 1]));
            good = unit < 0x20 || unit > 0x7e; // printable ASCII never stands in a shift
            out += QChar(unit);
        }
        i = end;
    }
    if (ok) *ok = good;
    return good ? out : QString::fromLatin1(name);
}

QByteArray EncodeMailboxName(const QString& name) {
    QByteArray out;
    qsizetype i = 0;
    while (i < name.size()) {
        const QChar c = name[i];
        if (c.unicode() >= 0x20 && c.unicode() <= 0x7e) {
            out += c == QLatin1Char('&') ? QByteArray("&-") : QByteArray(1, char(c.unicode()));
            ++i;
            continue;
        }
        QByteArray utf16;
        while (i < name.size() && (name[i].unicode() < 0x20 || name[i].unicode() > 0x7e)) {
            utf16 += char(name[i].unicode() >> 8);
            utf16 += char(name[i].unicode() & 0xff);
            ++i;
        }
        QByteArray b64 = utf16.toBase64(QByteArray::OmitTrailingEquals);
        b64.replace('/', ',');
        out += '&' + b64 + '-';
    }
    return out;
}

std::optional<QByteArray> QuoteImapString(const QByteArray& text) {
    QByteArray out = "\"";
    for (const char c : text) {
        if (c == '\r' || c == '\n' || c == '\0' || uchar(c) >= 0x80) return std::nullopt;
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + '"';
}
