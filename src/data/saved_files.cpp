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
    const auto last = std::min<qint64>(ProjectsCount, qint64(Projects.size()) - 1);
    for (qint64 i = 1; i <= last; ++i) {
        const udtProject& p = Projects[size_t(i)];
        if (VbTrim(p.Name.get()).compare(name, Qt::CaseInsensitive) == 0)
            return VbTrim(p.Folder.get());
    }
    return {};
}
} // namespace

QStringList StowawayFolderList() {
    QStringList folders;
    const auto last = std::min<qint64>(RulesCount, qint64(Rules.size()) - 1);
    for (qint64 i = 1; i <= last; ++i) {
        const QString folder = RuleFolder(Rules[size_t(i)]);
        if (folder.isEmpty() || folders.contains(folder, Qt::CaseInsensitive)) continue;
        folders << folder;
    }
    return folders;
}

int32_t FindProtoEntry(const QString& path) {
    const QString folder = StripBackslash(GetFolderPart(path)).toLower();
    const QString name = GetFileNamePart(path).toLower();
    if (name.isEmpty()) return 0;
    const auto last = std::min<qint64>(ProtoCount, qint64(ProtoEntries.size()) - 1);
    for (qint64 i = 1; i <= last; ++i) {
        const udtProtoEntry& e = ProtoEntries[size_t(i)];
        if (VbTrim(e.Attachment.get()).toLower() == name &&
            StripBackslash(VbTrim(e.Folder.get())).toLower() == folder)
            return int32_t(i);
    }
    return 0;
}
