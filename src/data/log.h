#pragma once
// The diagnostic LOG: one line a call, "dd.mm.yyyy - hh:mm:ss - message", CR LF, Windows-1252.
#include <QString>

// Writes a line. A message that begins with "!" is always written, any other only while
// DoProto is on. "del" deletes the file; "^" becomes a separator of 75 "^" and a line end
// (the caller's string is changed). Every failure is swallowed.
void WriteLog(QString& message);
void WriteLog(const QString& message);
void WriteLog(const char* message);

// The LOG file in the data folder.
QString LogFilePath();
