#include "data/records.h"

#include "common/vbstring.h"

QString TrimFixedText(const QString& raw) {
    return VbTrim(raw);
}

qsizetype PaddingStart(const QString& value, qsizetype length, QChar fill, QChar& padding) {
    const QChar last = value.size() < length ? fill : value.back();
    if (last != QLatin1Char(' ') && last != QChar(0)) {
        padding = QChar(0); // a full field; the padding character is never used
        return value.size();
    }
    padding = last;
    qsizetype start = value.size();
    while (start > 0 && value.at(start - 1) == last)
        --start;
    return start;
}

QString FixedTextRaw(const QString& text, QChar fill, qsizetype length) {
    return text + QString(length - text.size(), fill);
}

QString FixedTextValue(const QString& text, QChar fill, qsizetype length) {
    // Blank padding is trimmed anyway; NUL padding stays part of the value.
    return TrimFixedText(fill == QLatin1Char(' ') ? text : FixedTextRaw(text, fill, length));
}
