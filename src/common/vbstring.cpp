#include "common/vbstring.h"

QString VbRTrim(const QString& s) {
    qsizetype end = s.size();
    while (end > 0 && s.at(end - 1) == QLatin1Char(' '))
        --end;
    return s.left(end);
}

QString VbTrim(const QString& s) {
    qsizetype begin = 0;
    while (begin < s.size() && s.at(begin) == QLatin1Char(' '))
        ++begin;
    return VbRTrim(s.mid(begin));
}

long long LeadingNumber(const QString& s) {
    qsizetype i = 0;
    while (i < s.size() && (s.at(i) == QLatin1Char(' ') || s.at(i) == QLatin1Char('\t')))
        ++i;
    bool negative = false;
    if (i < s.size() && (s.at(i) == QLatin1Char('-') || s.at(i) == QLatin1Char('+'))) {
        negative = s.at(i) == QLatin1Char('-');
        ++i;
    }
    long long value = 0;
    while (i < s.size() && s.at(i).isDigit() && s.at(i).unicode() < 128) {
        if (value < 100000000000000000LL) value = value * 10 + (s.at(i).unicode() - '0');
        ++i;
    }
    return negative ? -value : value;
}

bool IsUnsetText(const QString& s) {
    return VbTrim(s).isEmpty() || s.at(0) == QChar(0);
}
