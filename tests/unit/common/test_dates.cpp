#include "common/dates.h"
#include "common/lang.h"
#include "scoped_time_zone.h"
#include "support/test_env.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {
QDateTime Local(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::LocalTime);
}

class Dates : public FreshState {
  protected:
    ScopedTimeZone tz{kBerlinRule};
};

// What the days read back as, to the second, by the one format that shows the time.
QString Shown(double days) {
    return FormatDate(days, u"yyyy-mm-dd hh-nn-ss"_s);
}
QString Shown(const QDateTime& date) {
    return date.toString(u"yyyy-MM-dd HH-mm-ss"_s);
}

TEST_F(Dates, KnownDaysBothWays) {
    struct {
        QDateTime date;
        double days;
    } const cases[] = {
        {Local(1899, 12, 30), 0.0},
        {Local(1899, 12, 31), 1.0},
        {Local(1900, 1, 1), 2.0},
        {Local(2000, 1, 1), 36526.0},
        {Local(1899, 12, 30, 12), 0.5},
        {Local(2026, 11, 21, 14, 5, 9), 46347.0 + 50709.0 / 86400.0},
        {Local(2026, 7, 1, 18), 46204.75}, // summer time: the wall clock counts
        // Before day 0 the days count down but the fraction is still the time of day.
        {Local(1899, 12, 29), -1.0},
        {Local(1899, 12, 29, 6), -1.25},
        {Local(1899, 12, 29, 18), -1.75},
        {Local(1800, 1, 1, 6), -36522.25},
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(DateToOle(c.date), c.days) << S(Shown(c.date));
        EXPECT_EQ(Shown(c.days), Shown(c.date)) << c.days;
    }
}

TEST_F(Dates, RoundTripKeepsTheSecond) {
    const QDateTime samples[] = {
        Local(2026, 1, 1, 0, 0, 0, 1),        Local(2026, 12, 31, 23, 59, 59, 999),
        Local(2026, 3, 29, 1, 59, 59),        Local(2026, 3, 29, 3, 0, 0),
        Local(2026, 10, 25, 1, 30, 15),       Local(1601, 1, 1, 0, 0, 1),
        Local(9999, 12, 31, 23, 59, 59),      Local(100, 1, 1, 12, 34, 56, 789),
        Local(1899, 12, 28, 23, 59, 59, 999),
    };
    for (const QDateTime& dt : samples)
        EXPECT_EQ(Shown(DateToOle(dt)), Shown(dt));
}

TEST_F(Dates, RoundsToTheNearestMillisecond) {
    const double ms = 1.0 / 86400000.0;
    EXPECT_EQ(Shown(-0.5), u"1899-12-30 12-00-00"_s); // the sign leaves the time alone
    EXPECT_EQ(Shown(46347.0 - 0.2 * ms), u"2026-11-21 00-00-00"_s); // into the next day
    EXPECT_EQ(Shown(46347.0 - 0.6 * ms), u"2026-11-20 23-59-59"_s);
}

TEST_F(Dates, ValuesOutsideTheCalendarAreInvalid) {
    for (double bad : {std::numeric_limits<double>::quiet_NaN(),
                       std::numeric_limits<double>::infinity(), 2958466.0, -657435.0, 1e300})
        EXPECT_EQ(FormatDate(bad, u"yyyy-mm-dd"_s), QString()) << bad;
    EXPECT_EQ(Shown(2958465.5), u"9999-12-31 12-00-00"_s);
    EXPECT_EQ(DateToOle(QDateTime()), 0.0);
}

TEST_F(Dates, UtcInputIsTakenAsLocalTime) {
    const QDateTime utc(QDate(2026, 1, 15), QTime(10, 0), Qt::UTC);
    EXPECT_EQ(FormatDate(utc, u"hh:nn:ss"_s), u"11:00:00"_s);
}

TEST_F(Dates, NowIsThePresentMoment) {
    const double before = DateToOle(QDateTime::currentDateTime());
    const double now = OleNow();
    EXPECT_GE(now, before);
    EXPECT_LE(now, DateToOle(QDateTime::currentDateTime()));
}

TEST_F(Dates, EveryPatternInBothLanguages) {
    const QDateTime afternoon = Local(2026, 11, 21, 14, 5, 9); // a Saturday
    const QDateTime morning = Local(2026, 3, 1, 9, 7, 3);      // a Sunday
    const struct {
        QDateTime date; // invalid: `days` instead
        const char* pattern;
        const char* german; // null: not asked
        const char* english;
        double days = 0;
    } cases[] = {
        {afternoon, "dd-mm-yyyy", "21-11-2026", "21-11-2026"},
        {afternoon, "yyyy-mm-dd", "2026-11-21", "2026-11-21"},
        {afternoon, "yyyy-mm", "2026-11", "2026-11"},
        {afternoon, "yyyy-ww", "2026-47", "2026-47"},
        {afternoon, "yyyy-mm-dd hh-nn-ss", "2026-11-21 14-05-09", "2026-11-21 14-05-09"},
        {afternoon, "dd.mm.yyyy", "21.11.2026", "21.11.2026"},
        {afternoon, "dd.mm.yyyy - hh:mm:ss", "21.11.2026 - 14:05:09", "21.11.2026 - 14:05:09"},
        {afternoon, "Long Date", "Samstag, 21. November 2026", "Saturday, November 21, 2026"},
        {afternoon, "Short Date", "21.11.2026", "11/21/2026"},
        {afternoon, "hh:nn:ss", "14:05:09", "14:05:09"},
        {afternoon, "hh:nn", "14:05", "14:05"},
        {afternoon, "h:nn", "14:05", "14:05"},
        {afternoon, "General Date", "21.11.2026 14:05:09", "11/21/2026 2:05:09 PM"},
        {afternoon, "no such pattern", "21.11.2026 14:05:09", "11/21/2026 2:05:09 PM"},
        // Short fields and the twelve-hour clock.
        {morning, "Long Date", "Sonntag, 1. März 2026", "Sunday, March 1, 2026"},
        {morning, "h:nn", "9:07", nullptr},
        {morning, "dd-mm-yyyy", "01-03-2026", nullptr},
        {morning, "General Date", "01.03.2026 09:07:03", "3/1/2026 9:07:03 AM"},
        {Local(2026, 3, 1, 0, 30), "h:nn", "0:30", nullptr},
        {Local(2026, 3, 1, 0, 5), "General Date", nullptr, "3/1/2026 12:05:00 AM"},
        {Local(2026, 3, 1, 12, 0, 1), "General Date", nullptr, "3/1/2026 12:00:01 PM"},
        // General Date leaves out an empty part.
        {{}, "General Date", "21.11.2026", "11/21/2026", 46347.0},
        {{}, "General Date", "18:00:00", "6:00:00 PM", 0.75},
    };
    for (const auto& c : cases) {
        const QString pattern = QString::fromUtf8(c.pattern);
        const double days = c.date.isValid() ? DateToOle(c.date) : c.days;
        SCOPED_TRACE(c.pattern + (" at " + std::to_string(days)));
        for (const auto& [lang, expected] : {std::pair{0, c.german}, {1, c.english}}) {
            if (!expected) continue;
            CurrLang = uint8_t(lang);
            if (c.date.isValid()) {
                EXPECT_EQ(FormatDate(c.date, pattern), QString::fromUtf8(expected));
            }
            EXPECT_EQ(FormatDate(days, pattern), QString::fromUtf8(expected));
        }
    }
}

TEST_F(Dates, WeeksStartOnSundayAndFirstJanuaryIsWeekOne) {
    struct {
        QDate date;
        int week;
    } const cases[] = {
        // 2026 begins on a Thursday.
        {QDate(2026, 1, 1), 1},
        {QDate(2026, 1, 3), 1}, // Saturday
        {QDate(2026, 1, 4), 2}, // Sunday begins week 2
        {QDate(2026, 11, 21), 47},
        {QDate(2026, 11, 22), 48}, // Sunday
        {QDate(2026, 11, 23), 48}, // Monday of the same week
        {QDate(2026, 12, 31), 53},
        // 2023 begins on a Sunday.
        {QDate(2023, 1, 1), 1},
        {QDate(2023, 1, 7), 1},
        {QDate(2023, 1, 8), 2},
        {QDate(2023, 12, 31), 53},
        // 2022 begins on a Saturday: week 1 is a single day.
        {QDate(2022, 1, 1), 1},
        {QDate(2022, 1, 2), 2},
        {QDate(2021, 12, 31), 53}, // the day before is in the old year's last week
        // A leap year that begins on a Saturday ends in week 54.
        {QDate(2028, 12, 31), 54},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(WeekOfYear(c.date), c.week) << c.date.toString(Qt::ISODate).toStdString();
        EXPECT_EQ(FormatDate(QDateTime(c.date, QTime(12, 0), Qt::LocalTime), u"yyyy-ww"_s),
                  u"%1-%2"_s.arg(c.date.year()).arg(c.week));
    }
    EXPECT_EQ(WeekOfYear(QDate()), 0);
}
} // namespace
