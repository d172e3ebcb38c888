#pragma once
// Dates as days since 30 December 1899 (the time of day as the fraction), in local time, and
// the formats that target folders, file names, the LOG and the messages use.
#include <QDateTime>
#include <QString>

double DateToOle(const QDateTime& local);
QDateTime OleToDate(double days);
// The present moment as days.
double OleNow();

// Formats a date by one of these patterns:
//   "dd-mm-yyyy", "yyyy-mm-dd", "yyyy-mm", "yyyy-ww" (weeks start on Sunday, the week of
//   1 January is week 1, no leading zero), "yyyy-mm-dd hh-nn-ss", "dd.mm.yyyy",
//   "dd.mm.yyyy - hh:mm:ss", "Long Date" (in the current language), "hh:nn:ss", "h:nn",
//   "General Date" (short date and long time, in the current language).
// An unknown pattern gives the "General Date" form.
QString FormatDate(double oleDate, const QString& pattern);
QString FormatDate(const QDateTime& local, const QString& pattern);

// The week of the year as "yyyy-ww" counts it.
int WeekOfYear(const QDate& date);
