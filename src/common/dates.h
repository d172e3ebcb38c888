#pragma once
// Dates as days since 30 December 1899 (the time of day as the fraction), in local time, and
// the formats that target folders, file names, the LOG and the messages use.
#include <QDateTime>
#include <QString>

// Before 1899-12-30 the days count negative while the fraction stays the time of day:
// -1.25 is 29 December 1899, 06:00. Times are exact to the millisecond.
double DateToOle(const QDateTime& local);
// The present moment as days.
double OleNow();

// Formats a date by one of these patterns:
//   "dd-mm-yyyy", "yyyy-mm-dd", "yyyy-mm", "yyyy-ww" (weeks start on Sunday, the week of
//   1 January is week 1, no leading zero), "yyyy-mm-dd hh-nn-ss", "dd.mm.yyyy",
//   "dd.mm.yyyy - hh:mm:ss", "Long Date" (in the current language), "Short Date", "hh:nn:ss",
//   "hh:nn", "h:nn", "General Date" (short date and long time, in the current language; the
//   date alone at midnight, the time alone on day 0).
// An unknown pattern gives the "General Date" form; an invalid date gives an empty text.
QString FormatDate(double oleDate, const QString& pattern);
QString FormatDate(const QDateTime& local, const QString& pattern);

// The week of the year as "yyyy-ww" counts it.
int WeekOfYear(const QDate& date);
