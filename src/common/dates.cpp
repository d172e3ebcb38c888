#include "common/dates.h"

#include "common/lang.h"

#include <array>
#include <cmath>

namespace {
constexpr qint64 kMsPerDay = 86400000;
constexpr double kBeforeFirstDay = -657435.0; // the whole of 1 January 100 counts as -657434
constexpr double kPastLastDay = 2958466.0;    // 1 January 10000
const QDate kDayZero(1899, 12, 30);

// A date and a time of day as the wall clock shows them; OLE days carry no time zone.
struct WallClock {
    QDate date;
    int msOfDay = 0;
    bool valid() const { return date.isValid(); }
    int hour() const { return msOfDay / 3600000; }
    int minute() const { return msOfDay / 60000 % 60; }
    int second() const { return msOfDay / 1000 % 60; }
};

WallClock FromOle(double days) {
    if (!std::isfinite(days) || days <= kBeforeFirstDay || days >= kPastLastDay) return {};
    const double whole = std::trunc(days);
    qint64 ms = std::llround(std::fabs(days - whole) * kMsPerDay);
    qint64 day = static_cast<qint64>(whole);
    if (ms >= kMsPerDay) { // rounded up to the next midnight
        ms -= kMsPerDay;
        ++day;
    }
    return {kDayZero.addDays(day), static_cast<int>(ms)};
}

WallClock FromDateTime(const QDateTime& dt) {
    if (!dt.isValid()) return {};
    const QDateTime local = dt.toLocalTime();
    return {local.date(), local.time().msecsSinceStartOfDay()};
}

QString Pad(int value, int width) {
    return QStringLiteral("%1").arg(value, width, 10, QLatin1Char('0'));
}

QString DayName(const QDate& d) {
    static const std::array<const char*, 7> kGerman = {
        "Montag", "Dienstag", "Mittwoch", "Donnerstag", "Freitag", "Samstag", "Sonntag"};
    static const std::array<const char*, 7> kEnglish = {
        "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};
    const int i = d.dayOfWeek() - 1;
    return QString::fromUtf8(IsGerman() ? kGerman[i] : kEnglish[i]);
}

QString MonthName(const QDate& d) {
    static const std::array<const char*, 12> kGerman = {
        "Januar", "Februar", "März",      "April",   "Mai",      "Juni",
        "Juli",   "August",  "September", "Oktober", "November", "Dezember"};
    static const std::array<const char*, 12> kEnglish = {
        "January", "February", "March",     "April",   "May",      "June",
        "July",    "August",   "September", "October", "November", "December"};
    const int i = d.month() - 1;
    return QString::fromUtf8(IsGerman() ? kGerman[i] : kEnglish[i]);
}

QString LongDate(const QDate& d) {
    if (IsGerman())
        return QStringLiteral("%1, %2. %3 %4")
            .arg(DayName(d))
            .arg(d.day())
            .arg(MonthName(d), Pad(d.year(), 4));
    return QStringLiteral("%1, %2 %3, %4")
        .arg(DayName(d), MonthName(d))
        .arg(d.day())
        .arg(Pad(d.year(), 4));
}

QString ShortDate(const QDate& d) {
    if (IsGerman())
        return QStringLiteral("%1.%2.%3").arg(Pad(d.day(), 2), Pad(d.month(), 2), Pad(d.year(), 4));
    return QStringLiteral("%1/%2/%3").arg(d.month()).arg(d.day()).arg(Pad(d.year(), 4));
}

QString LongTime(const WallClock& w) {
    if (IsGerman())
        return QStringLiteral("%1:%2:%3")
            .arg(Pad(w.hour(), 2), Pad(w.minute(), 2), Pad(w.second(), 2));
    const int h12 = w.hour() % 12 == 0 ? 12 : w.hour() % 12;
    return QStringLiteral("%1:%2:%3 %4")
        .arg(h12)
        .arg(Pad(w.minute(), 2), Pad(w.second(), 2),
             w.hour() < 12 ? QStringLiteral("AM") : QStringLiteral("PM"));
}

QString GeneralDate(const WallClock& w) {
    if (w.msOfDay == 0) return ShortDate(w.date);
    if (w.date == kDayZero) return LongTime(w);
    return ShortDate(w.date) + QLatin1Char(' ') + LongTime(w);
}

QString Format(const WallClock& w, const QString& pattern) {
    if (!w.valid()) return {};
    const QDate& d = w.date;
    const QString dd = Pad(d.day(), 2);
    const QString mm = Pad(d.month(), 2);
    const QString yyyy = Pad(d.year(), 4);
    const QString hh = Pad(w.hour(), 2);
    const QString nn = Pad(w.minute(), 2);
    const QString ss = Pad(w.second(), 2);
    const QString p = pattern.toLower();

    if (p == QLatin1String("dd-mm-yyyy"))
        return dd + QLatin1Char('-') + mm + QLatin1Char('-') + yyyy;
    if (p == QLatin1String("yyyy-mm-dd"))
        return yyyy + QLatin1Char('-') + mm + QLatin1Char('-') + dd;
    if (p == QLatin1String("yyyy-mm")) return yyyy + QLatin1Char('-') + mm;
    if (p == QLatin1String("yyyy-ww"))
        return yyyy + QLatin1Char('-') + QString::number(WeekOfYear(d));
    if (p == QLatin1String("yyyy-mm-dd hh-nn-ss"))
        return QStringLiteral("%1-%2-%3 %4-%5-%6").arg(yyyy, mm, dd, hh, nn, ss);
    if (p == QLatin1String("dd.mm.yyyy"))
        return dd + QLatin1Char('.') + mm + QLatin1Char('.') + yyyy;
    if (p == QLatin1String("dd.mm.yyyy - hh:mm:ss"))
        return QStringLiteral("%1.%2.%3 - %4:%5:%6").arg(dd, mm, yyyy, hh, nn, ss);
    if (p == QLatin1String("long date")) return LongDate(d);
    if (p == QLatin1String("short date")) return ShortDate(d);
    if (p == QLatin1String("hh:nn:ss")) return hh + QLatin1Char(':') + nn + QLatin1Char(':') + ss;
    if (p == QLatin1String("hh:nn")) return hh + QLatin1Char(':') + nn;
    if (p == QLatin1String("h:nn")) return QString::number(w.hour()) + QLatin1Char(':') + nn;
    return GeneralDate(w);
}
} // namespace

double DateToOle(const QDateTime& local) {
    const WallClock w = FromDateTime(local);
    if (!w.valid()) return 0;
    const auto day = static_cast<double>(kDayZero.daysTo(w.date));
    const double fraction = static_cast<double>(w.msOfDay) / kMsPerDay;
    return day < 0 ? day - fraction : day + fraction;
}

double OleNow() {
    return DateToOle(QDateTime::currentDateTime());
}

QString FormatDate(double oleDate, const QString& pattern) {
    return Format(FromOle(oleDate), pattern);
}

QString FormatDate(const QDateTime& local, const QString& pattern) {
    return Format(FromDateTime(local), pattern);
}

int WeekOfYear(const QDate& date) {
    if (!date.isValid()) return 0;
    const int jan1Weekday = QDate(date.year(), 1, 1).dayOfWeek() % 7; // Sunday 0
    return (date.dayOfYear() - 1 + jan1Weekday) / 7 + 1;
}
