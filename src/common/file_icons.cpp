#include "common/file_icons.h"

#include <QMimeDatabase>

namespace {
// A kind of file: the freedesktop icon that stands for it, and the program's own drawing for a
// desktop whose icon theme has neither that nor the type's icon.
struct FileKind {
    const char* themeName;
    const char* resource;
};

const FileKind kGeneric = {"application-x-generic", "generic"};

// By the type's own icon name first (some kinds share a generic icon with plain text), then by
// its generic one.
const FileKind& KindOf(const QMimeType& type) {
    static const struct {
        const char* iconName;
        FileKind kind;
    } kKinds[] = {
        {"text-vcard", {"x-office-address-book", "contact"}},
        {"text-x-vcard", {"x-office-address-book", "contact"}},
        {"text-calendar", {"x-office-calendar", "calendar"}},
        {"message-rfc822", {"mail-message", "mail"}},
        {"x-office-document", {"x-office-document", "document"}},
        {"x-office-spreadsheet", {"x-office-spreadsheet", "spreadsheet"}},
        {"x-office-presentation", {"x-office-presentation", "presentation"}},
        {"x-office-address-book", {"x-office-address-book", "contact"}},
        {"x-office-calendar", {"x-office-calendar", "calendar"}},
        {"image-x-generic", {"image-x-generic", "picture"}},
        {"audio-x-generic", {"audio-x-generic", "audio"}},
        {"video-x-generic", {"video-x-generic", "video"}},
        {"package-x-generic", {"package-x-generic", "archive"}},
        {"text-x-generic", {"text-x-generic", "text"}},
        {"text-x-script", {"text-x-script", "text"}},
        {"text-html", {"text-html", "text"}},
        {"application-x-executable", {"application-x-executable", "program"}},
    };
    for (const QString& name : {type.iconName(), type.genericIconName()})
        for (const auto& k : kKinds)
            if (name == QLatin1String(k.iconName)) return k.kind;
    return kGeneric;
}

QIcon BundledIcon(const FileKind& kind) {
    return QIcon(QStringLiteral(":/file_icons/%1.svg").arg(QLatin1String(kind.resource)));
}
} // namespace

QIcon GetFileIcon(int /*flags*/, const QString& path) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    const FileKind& kind = KindOf(type);
    for (const QString& name : {type.iconName(), QString::fromLatin1(kind.themeName)})
        if (!name.isEmpty() && QIcon::hasThemeIcon(name)) return QIcon::fromTheme(name);
    return BundledIcon(kind);
}
