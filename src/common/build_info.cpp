#include "common/build_info.h"

#include "build_commit.h"

QString PackageVersion() {
    return QStringLiteral(STOWAWAY_PACKAGE_VERSION);
}

QString BuildCommit() {
    return QStringLiteral(STOWAWAY_COMMIT);
}
