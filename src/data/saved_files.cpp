#include "data/saved_files.h"

#include "common/paths.h"
#include "common/vbstring.h"
#include "data/globals.h"
#include "data/rule_codes.h"

#include <algorithm>

namespace {
QString RuleFolder(const udtRule& rule) {
    if (rule.SaveBy != SaveBy::Project) return VbTrim(rule.Folder.get());
    const QString name = VbTrim(rule.Folder.get());
    for (const udtProject& p : Projects) {
        if (VbTrim(p.Name.get()).compare(name, Qt::CaseInsensitive) == 0)
            return VbTrim(p.Folder.get());
    }
    return {};
}
} // namespace

QStringList StowawayFolderList() {
    QStringList folders;
    for (const udtRule& rule : Rules) {
        const QString folder = RuleFolder(rule);
        if (folder.isEmpty() || folders.contains(folder, Qt::CaseInsensitive)) continue;
        folders << folder;
    }
    return folders;
}

int32_t FindProtoEntry(const QString& path) {
    const QString folder = StripBackslash(GetFolderPart(path)).toLower();
    const QString name = GetFileNamePart(path).toLower();
    if (name.isEmpty()) return 0;
    for (int32_t i = 1; i <= ProtoEntries.count(); ++i) {
        const udtProtoEntry& e = ProtoEntries[i];
        if (VbTrim(e.Attachment().get()).toLower() == name &&
            StripBackslash(VbTrim(e.Folder().get())).toLower() == folder)
            return i;
    }
    return 0;
}
