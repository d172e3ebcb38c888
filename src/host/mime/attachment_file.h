#pragma once
// Writing a saved attachment: the file lands inside the folder the path names, whatever the
// name part says, never through a symbolic link, and never half-written.
#include "common/error.h"

#include <QString>

#include <functional>

// A name that is one plain entry of a folder: "/", NUL and control characters become "_";
// a name longer than 255 bytes is cut on a character boundary, keeping its extension; a name
// that is empty, "." or ".." becomes `fallback`.
QString SafeFileName(const QString& name, const QString& fallback);

// Produces the file's content into a descriptor open for writing.
using ContentWriter = std::function<OpError(int fd)>;

// Writes a file at `path`: the folder part must be a real folder (not a symbolic link); the
// name part goes through SafeFileName. The content is written to a temporary file in that
// folder, synced, and renamed over the target, so what was there before is replaced whole and
// a link planted at the name is replaced rather than followed.
OpError WriteFileInFolder(const QString& path, const QString& fallbackName,
                          const ContentWriter& write);
