#include "host/mime/mime_params.h"

#include "host/mime/header_text.h"

#include <map>

namespace {

QByteArray Unfold(const QByteArray& raw) {
    QByteArray out = raw;
    out.replace('\r', QByteArray()).replace('\n', QByteArray());
    return out;
}

bool IsWsp(char c) {
    return c == ' ' || c == '\t';
}

int Hex(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

QByteArray PercentDecode(const QByteArray& text) {
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && Hex(text[i + 1]) >= 0 &&
            Hex(text[i + 2]) >= 0) {
            out.append(char(Hex(text[i + 1]) * 16 + Hex(text[i + 2])));
            i += 2;
        } else {
            out.append(text[i]);
        }
    }
    return out;
}

// "utf-8'de'%C3%BC" -> charset and the still encoded value.
void SplitExtendedValue(const QByteArray& value, QByteArray& charset, QByteArray& rest) {
    const qsizetype q1 = value.indexOf('\'');
    const qsizetype q2 = q1 < 0 ? -1 : value.indexOf('\'', q1 + 1);
    if (q2 < 0) {
        charset.clear();
        rest = value;
        return;
    }
    charset = value.left(q1);
    rest = value.mid(q2 + 1);
}

struct Section {
    QByteArray value;
    bool extended = false;
};

} // namespace

QByteArray HeaderMainValue(const QByteArray& rawValue) {
    const QByteArray value = Unfold(rawValue);
    const qsizetype semi = value.indexOf(';');
    return (semi < 0 ? value : value.left(semi)).trimmed().toLower();
}

QList<HeaderParam> ParseHeaderParams(const QByteArray& rawValue) {
    const QByteArray text = Unfold(rawValue);
    QList<HeaderParam> params;
    qsizetype i = text.indexOf(';');
    if (i < 0) return params;
    const qsizetype n = text.size();
    while (i < n) {
        while (i < n && (IsWsp(text[i]) || text[i] == ';'))
            ++i;
        if (i < n && text[i] == '(') { // a comment
            int depth = 0;
            for (; i < n; ++i) {
                if (text[i] == '(') ++depth;
                if (text[i] == ')' && --depth == 0) break;
            }
            ++i;
            continue;
        }
        const qsizetype nameStart = i;
        while (i < n && text[i] != '=' && text[i] != ';' && !IsWsp(text[i]))
            ++i;
        HeaderParam param;
        param.name = text.mid(nameStart, i - nameStart).toLower();
        while (i < n && IsWsp(text[i]))
            ++i;
        if (i >= n || text[i] != '=') {
            if (!param.name.isEmpty()) params.append(param);
            while (i < n && text[i] != ';')
                ++i;
            continue;
        }
        ++i; // '='
        while (i < n && IsWsp(text[i]))
            ++i;
        if (i < n && text[i] == '"') {
            for (++i; i < n && text[i] != '"'; ++i) {
                if (text[i] == '\\' && i + 1 < n) ++i;
                param.value.append(text[i]);
            }
            while (i < n && text[i] != ';')
                ++i;
        } else {
            const qsizetype valueStart = i;
            while (i < n && text[i] != ';')
                ++i;
            param.value = text.mid(valueStart, i - valueStart).trimmed();
        }
        if (!param.name.isEmpty()) params.append(param);
    }
    return params;
}

std::optional<QString> DecodedParam(const QList<HeaderParam>& params, const QByteArray& name) {
    std::map<int, Section> sections;
    std::optional<QByteArray> plain;
    std::optional<QByteArray> extended;
    const QByteArray prefix = name + '*';
    for (const HeaderParam& p : params) {
        if (p.name == name) {
            if (!plain) plain = p.value;
        } else if (p.name == prefix) {
            if (!extended) extended = p.value;
        } else if (p.name.startsWith(prefix)) {
            QByteArray number = p.name.mid(prefix.size());
            const bool isExtended = number.endsWith('*');
            if (isExtended) number.chop(1);
            bool ok = false;
            const int index = number.size() <= 4 ? number.toInt(&ok) : -1;
            if (ok && index >= 0 && !sections.count(index))
                sections[index] = Section{p.value, isExtended};
        }
    }
    if (!sections.empty() && sections.count(0)) {
        QByteArray charset;
        QByteArray bytes;
        bool anyExtended = false;
        for (int index = 0; sections.count(index); ++index) {
            const Section& s = sections[index];
            if (!s.extended) {
                bytes += s.value;
                continue;
            }
            anyExtended = true;
            QByteArray encoded = s.value;
            if (index == 0) SplitExtendedValue(s.value, charset, encoded);
            bytes += PercentDecode(encoded);
        }
        return anyExtended ? DecodeCharset(bytes, charset) : DecodeEncodedWords(bytes);
    }
    if (extended) {
        QByteArray charset;
        QByteArray encoded;
        SplitExtendedValue(*extended, charset, encoded);
        return DecodeCharset(PercentDecode(encoded), charset);
    }
    if (plain) return DecodeEncodedWords(*plain);
    return std::nullopt;
}
