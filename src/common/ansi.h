#pragma once
// Windows-1252, the code page of the data files and the LOG. The mapping is one to one for all
// 256 bytes (the five unassigned bytes map to the C1 controls of the same value), so every byte
// of a file survives a load and a save. A character outside the code page is written as "?".
#include <QByteArray>
#include <QString>

QString FromAnsi(const char* data, qsizetype size);
QString FromAnsi(const QByteArray& bytes);
QByteArray ToAnsi(const QString& text);
