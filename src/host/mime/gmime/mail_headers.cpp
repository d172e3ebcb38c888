#include "host/mime/gmime/mail_headers.h"

namespace {

QString Utf8(const char* s) {
    return s ? QString::fromUtf8(s) : QString();
}

void AppendMailboxes(InternetAddressList* list, std::vector<Recipient>& out) {
    if (!list) return;
    const int count = internet_address_list_length(list);
    for (int i = 0; i < count; ++i) {
        InternetAddress* address = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(address)) {
            AppendMailboxes(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)),
                            out);
        } else if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
            Recipient r;
            r.Address = Utf8(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
            r.Name = Utf8(internet_address_get_name(address)).trimmed();
            if (r.Name.isEmpty()) r.Name = r.Address;
            out.push_back(r);
        }
    }
}

bool DateOf(const char* text, qint64& seconds) {
    if (!text || !*text) return false;
    GDateTime* date = g_mime_utils_header_decode_date(text);
    if (!date) return false;
    seconds = g_date_time_to_unix(date);
    g_date_time_unref(date);
    // GMime answers the epoch for text it cannot read.
    return seconds != 0;
}

// The newest Received: header is the first one: every hop puts its own on top. Its date
// stands after the last ";".
bool NewestReceivedTime(GMimeMessage* message, qint64& seconds) {
    GMimeHeaderList* headers = g_mime_object_get_header_list(GMIME_OBJECT(message));
    const int count = g_mime_header_list_get_count(headers);
    for (int i = 0; i < count; ++i) {
        GMimeHeader* header = g_mime_header_list_get_header_at(headers, i);
        if (g_ascii_strcasecmp(g_mime_header_get_name(header), "Received") != 0) continue;
        const QByteArray value = g_mime_header_get_value(header);
        const qsizetype semi = value.lastIndexOf(';');
        if (semi >= 0 && DateOf(value.mid(semi + 1).trimmed().constData(), seconds)) return true;
    }
    return false;
}

} // namespace

MailHeaders ReadMailHeaders(GMimeMessage* message) {
    MailHeaders h;
    GMimeObject* object = GMIME_OBJECT(message);
    h.subject = Utf8(g_mime_message_get_subject(message));
    std::vector<Recipient> from;
    AppendMailboxes(g_mime_message_get_from(message), from);
    if (!from.empty()) {
        h.senderName = from.front().Name;
        h.senderAddress = from.front().Address;
    }
    AppendMailboxes(g_mime_message_get_to(message), h.recipients);
    AppendMailboxes(g_mime_message_get_cc(message), h.recipients);

    qint64 seconds = 0;
    if (NewestReceivedTime(message, seconds)) {
        h.hasReceivedTime = true;
    } else if (GDateTime* date = g_mime_message_get_date(message)) {
        seconds = g_date_time_to_unix(date);
        h.hasReceivedTime = seconds != 0;
    }
    h.receivedTime = seconds;

    h.mileage = Utf8(g_mime_object_get_header(object, "X-Mileage")).trimmed();
    h.isPost =
        g_mime_object_get_header(object, "Newsgroups") && !g_mime_object_get_header(object, "To");
    if (GMimeObject* top = g_mime_message_get_mime_part(message)) {
        GMimeContentType* type = g_mime_object_get_content_type(top);
        char* mimeType = g_mime_content_type_get_mime_type(type);
        h.topType = QByteArray(mimeType).toLower();
        g_free(mimeType);
        h.topMethod = QByteArray(g_mime_content_type_get_parameter(type, "method")).toUpper();
    }
    return h;
}
