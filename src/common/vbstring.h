#pragma once
// String primitives with the semantics the data files and settings were written with.
#include <QString>

// Removes leading and trailing blanks only (tabs, line ends and NULs stay).
QString VbTrim(const QString& s);
QString VbRTrim(const QString& s);

// The leading decimal number of a text ("12abc" -> 12, " 7" -> 7, "x" -> 0, "-3" -> -3).
long long LeadingNumber(const QString& s);

// True for a text that is empty or starts with a NUL character: a fixed field never set.
bool IsUnsetText(const QString& s);
