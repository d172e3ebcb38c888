#pragma once
// Text helpers for file names and mail bodies.
#include <QString>

// Replaces each of  " \ / : + * ? < > |  by "_"; the length never changes.
QString CleanFileName(const QString& name);
// Replaces & and 15 other characters (umlauts, sharp s, euro, ...) by their entities; nothing
// else, not even < and >.
QString HtmlEncode(const QString& text);
// Cuts the text before its first NUL: a fixed field never set (all NULs) is shown as empty.
QString StripAtNull(const QString& text);
