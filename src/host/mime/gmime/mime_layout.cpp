#include "host/mime/gmime/mime_layout.h"

#include "host/mime/attachment_file.h"
#include "host/mime/gmime/part_content.h"

#include <QMimeDatabase>
#include <QSet>

#include <optional>

namespace {

bool IsAttachmentDisposition(GMimeObject* part) {
    const char* disposition = g_mime_object_get_disposition(part);
    return disposition && g_ascii_strcasecmp(disposition, "attachment") == 0;
}

void Walk(GMimeObject* object, GMimeMultipart* parent, MimeLayout& layout) {
    if (parent) layout.parents[object] = parent;
    if (GMIME_IS_MULTIPART(object)) {
        GMimeMultipart* multipart = GMIME_MULTIPART(object);
        const int count = g_mime_multipart_get_count(multipart);
        for (int i = 0; i < count; ++i)
            Walk(g_mime_multipart_get_part(multipart, i), multipart, layout);
        return;
    }
    const QByteArray type = PartMimeType(object);
    if (GMIME_IS_PART(object) && !IsAttachmentDisposition(object)) {
        // Every unnamed text is body text, wherever it stands (Apple Mail puts the text after
        // an inline picture in a part of its own); the first of each kind is the one the engine
        // reads and writes.
        if ((type == "text/plain" || type == "text/html") && PartFileName(object).isEmpty()) {
            GMimeObject*& first = type == "text/plain" ? layout.plainBody : layout.htmlBody;
            if (!first) first = object;
            return;
        }
        // A calendar is the body when it is the whole mail or one of its alternatives.
        const bool calendarPlace =
            !parent ||
            g_mime_content_type_is_type(g_mime_object_get_content_type(GMIME_OBJECT(parent)),
                                        "multipart", "alternative");
        if (type == "text/calendar" && !layout.calendarBody && calendarPlace) {
            layout.calendarBody = object;
            return;
        }
    }
    layout.attachments.push_back(object);
}

QString SuffixFor(const QByteArray& mimeType) {
    if (mimeType == "text/plain") return QStringLiteral("txt");
    if (mimeType == "text/html") return QStringLiteral("htm");
    if (mimeType == "message/rfc822") return QStringLiteral("eml");
    const QString suffix =
        QMimeDatabase().mimeTypeForName(QString::fromLatin1(mimeType)).preferredSuffix();
    return suffix.isEmpty() ? QStringLiteral("dat") : suffix;
}

QString ContentIdOf(GMimeObject* part) {
    QString id = QString::fromUtf8(g_mime_object_get_content_id(part)).trimmed();
    if (id.startsWith(QLatin1Char('<'))) id.remove(0, 1);
    if (id.endsWith(QLatin1Char('>'))) id.chop(1);
    return id;
}

// The content ids that the HTML body refers to by "cid:" URLs (RFC 2392: the URL without its
// scheme and with its %-escapes decoded is the Content-ID without angle brackets).
QSet<QString> ReferencedContentIds(GMimeObject* html) {
    QSet<QString> ids;
    if (!html) return ids;
    const QString text = PartText(html);
    const auto ends = [](QChar c) {
        return c.isSpace() || c == QLatin1Char('"') || c == QLatin1Char('\'') ||
               c == QLatin1Char('<') || c == QLatin1Char('>') || c == QLatin1Char(')');
    };
    for (qsizetype at = text.indexOf(QLatin1String("cid:"), 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(QLatin1String("cid:"), at, Qt::CaseInsensitive)) {
        at += 4;
        qsizetype end = at;
        while (end < text.size() && !ends(text[end]))
            ++end;
        const QByteArray url = text.mid(at, end - at).toUtf8();
        if (!url.isEmpty()) ids.insert(QString::fromUtf8(QByteArray::fromPercentEncoding(url)));
        at = end;
    }
    return ids;
}

// The multipart/related that holds the HTML body, if any.
GMimeMultipart* RelatedOfHtmlBody(const MimeLayout& layout) {
    GMimeObject* object = layout.htmlBody;
    while (object) {
        const auto parent = layout.parents.find(object);
        if (parent == layout.parents.end()) return nullptr;
        GMimeObject* holder = GMIME_OBJECT(parent->second);
        if (g_mime_content_type_is_type(g_mime_object_get_content_type(holder), "multipart",
                                        "related"))
            return parent->second;
        object = holder;
    }
    return nullptr;
}

QString InnerSubject(GMimeObject* part) {
    if (!GMIME_IS_MESSAGE_PART(part)) return {};
    GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(part));
    return inner ? QString::fromUtf8(g_mime_message_get_subject(inner)).trimmed() : QString();
}

} // namespace

bool IsUnnamedMessage(GMimeObject* part) {
    return GMIME_IS_MESSAGE_PART(part) && !PartMimeType(part).startsWith("message/");
}

MimeLayout AnalyseMime(GMimeMessage* message) {
    MimeLayout layout;
    if (GMimeObject* top = g_mime_message_get_mime_part(message)) Walk(top, nullptr, layout);
    return layout;
}

MailStructure DescribeStructure(GMimeMessage* message, const MimeLayout& layout) {
    MailStructure s;
    s.hasHtmlBody = layout.htmlBody != nullptr;
    GMimeObject* top = g_mime_message_get_mime_part(message);
    const bool isPost = g_mime_object_get_header(GMIME_OBJECT(message), "Newsgroups") &&
                        !g_mime_object_get_header(GMIME_OBJECT(message), "To");
    const char* method =
        layout.calendarBody
            ? g_mime_object_get_content_type_parameter(layout.calendarBody, "method")
            : nullptr;
    if (isPost)
        s.itemClass = ItemClass::Post;
    else if (top && PartMimeType(top) == "multipart/report")
        s.itemClass = ItemClass::Report;
    else if (method && g_ascii_strcasecmp(method, "REQUEST") == 0)
        s.itemClass = ItemClass::MeetingRequest;

    // A Content-ID marks a picture of the body only where the body uses it: mailers put one on
    // every attachment, and a file with an unused one is a file like any other.
    GMimeMultipart* related = RelatedOfHtmlBody(layout);
    std::optional<QSet<QString>> referenced;
    int images = 0;
    int others = 0;
    for (GMimeObject* part : layout.attachments) {
        AttachmentInfo info;
        const QByteArray type = PartMimeType(part);
        info.type = type == "message/rfc822" || IsUnnamedMessage(part) ? AttachType::EmbeddedItem
                                                                       : AttachType::ByValue;
        const QString contentId = ContentIdOf(part);
        if (!contentId.isEmpty()) {
            const auto parent = layout.parents.find(part);
            const bool inlineOfRelated = related && parent != layout.parents.end() &&
                                         parent->second == related &&
                                         !IsAttachmentDisposition(part);
            if (!inlineOfRelated && !referenced) referenced = ReferencedContentIds(layout.htmlBody);
            if (inlineOfRelated || referenced->contains(contentId)) info.contentId = contentId;
        }
        QString name = PartFileName(part);
        if (name.isEmpty() && info.type == AttachType::EmbeddedItem) {
            const QString subject = InnerSubject(part);
            if (!subject.isEmpty()) name = subject + QStringLiteral(".eml");
        }
        // Parts without a name get one the way mail programs make them up.
        const bool nameless =
            name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..");
        if (!nameless)
            info.fileName = SafeFileName(name, QString());
        else if (type.startsWith("image/"))
            info.fileName = QStringLiteral("image%1.%2")
                                .arg(++images, 3, 10, QLatin1Char('0'))
                                .arg(SuffixFor(type));
        else
            info.fileName = QStringLiteral("ATT%1.%2")
                                .arg(++others, 5, 10, QLatin1Char('0'))
                                .arg(SuffixFor(type));
        s.attachments.push_back(info);
    }
    return s;
}
