#pragma once
// What this build of the programs is.
#include <QString>

// The package version, as the Debian package names it.
QString PackageVersion();
// The commit the sources were built from: a short hash, "-modified" behind it when the tree had
// uncommitted changes, or "unknown" for sources without git metadata.
QString BuildCommit();
