#pragma once
// Path arithmetic on "/"-separated paths by plain position: none of these touches the disk.
// The last separator is found by a scan from the end that stops at the first character.
#include <QString>

QString AddBackslash(const QString& path);
QString StripBackslash(const QString& path);
QString GetFolderPart(const QString& path);
QString GetFileNamePart(const QString& path);
QString GetBaseName(const QString& path);
QString GetExtensionUpper(const QString& name);
QString GetParentFolder(const QString& path);
QString GetLastPathPart(const QString& path);

// "~" and "~/..." as the home folder (a shell's habit); every other text as it is.
QString ExpandHome(const QString& path);
