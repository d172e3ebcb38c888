#pragma once
// The small icon of a file type, chosen by the file's name alone; the file need not exist.
#include <QIcon>
#include <QString>

// Flags as the callers pass them (257: icon, small); the icon is always the small one.
// Any name gives an icon: the icon theme's for the type or its kind (picture, document,
// archive, ...), else the program's own for the kind; an unknown type gets the generic one.
QIcon GetFileIcon(int flags, const QString& path);
