#include "host/mime/sample_mail.h"

#include "host/mime/gmime/gmime_support.h"

namespace {

QByteArray Utf8(const QString& text) {
    return text.toUtf8();
}

GMimeObject* TextPart(const char* subtype, const QString& text) {
    GMimeTextPart* part = g_mime_text_part_new_with_subtype(subtype);
    g_mime_text_part_set_text(part, Utf8(text).constData());
    g_mime_text_part_set_charset(part, "utf-8");
    g_mime_part_set_content_encoding(GMIME_PART(part), GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
    return GMIME_OBJECT(part);
}

// Base64 in chunks that are each padded on their own, as some mailers send it.
QByteArray ChunkedBase64(const QByteArray& content) {
    QByteArray encoded;
    constexpr qsizetype kChunk = 100; // not a multiple of three, so each chunk ends in padding
    for (qsizetype i = 0; i < content.size(); i += kChunk)
        encoded += content.mid(i, kChunk).toBase64() + '\n';
    return encoded;
}

void SetParamMethod(GMimeParamList* params, const char* name, GMimeParamEncodingMethod method) {
    if (GMimeParam* param = params ? g_mime_param_list_get_parameter(params, name) : nullptr)
        g_mime_param_set_encoding_method(param, method);
}

GMimeObject* AttachmentPart(const SampleAttachment& a) {
    const QByteArray type =
        a.mimeType.isEmpty() ? QByteArray("application/octet-stream") : a.mimeType;
    const qsizetype slash = type.indexOf('/');
    GMimePart* part =
        g_mime_part_new_with_type(type.left(slash).constData(), type.mid(slash + 1).constData());
    GMimeObject* object = GMIME_OBJECT(part);

    const bool chunked = a.encoding == SampleAttachment::Encoding::ChunkedBase64;
    const QByteArray bytes = chunked ? ChunkedBase64(a.content) : a.content;
    GRef<GMimeStream> stream(
        g_mime_stream_mem_new_with_buffer(bytes.constData(), size_t(bytes.size())));
    GRef<GMimeDataWrapper> wrapper(g_mime_data_wrapper_new_with_stream(
        stream.get(), chunked ? GMIME_CONTENT_ENCODING_BASE64 : GMIME_CONTENT_ENCODING_DEFAULT));
    g_mime_part_set_content(part, wrapper.get());
    g_mime_part_set_content_encoding(part, a.encoding == SampleAttachment::Encoding::QuotedPrintable
                                               ? GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE
                                               : GMIME_CONTENT_ENCODING_BASE64);

    g_mime_object_set_disposition(object, a.contentId.isEmpty() ? "attachment" : "inline");
    if (!a.fileName.isEmpty()) {
        g_mime_part_set_filename(part, Utf8(a.fileName).constData());
        const auto method = a.nameStyle == SampleAttachment::NameStyle::Rfc2047
                                ? GMIME_PARAM_ENCODING_METHOD_RFC2047
                                : GMIME_PARAM_ENCODING_METHOD_RFC2231;
        SetParamMethod(g_mime_content_disposition_get_parameters(
                           g_mime_object_get_content_disposition(object)),
                       "filename", method);
        SetParamMethod(g_mime_content_type_get_parameters(g_mime_object_get_content_type(object)),
                       "name", method);
    }
    if (!a.contentId.isEmpty()) g_mime_part_set_content_id(part, Utf8(a.contentId).constData());
    return object;
}

GMimeMultipart* Multipart(const char* subtype, const std::vector<GMimeObject*>& parts) {
    GMimeMultipart* multipart = g_mime_multipart_new_with_subtype(subtype);
    for (GMimeObject* part : parts) {
        g_mime_multipart_add(multipart, part);
        g_object_unref(part);
    }
    return multipart;
}

void AddMailboxes(GMimeMessage* message, GMimeAddressType type,
                  const std::vector<Recipient>& list) {
    for (const Recipient& r : list)
        g_mime_message_add_mailbox(message, type, Utf8(r.Name).constData(),
                                   Utf8(r.Address).constData());
}

GMimeMessage* BuildMessage(const SampleMail& mail) {
    EnsureGMime();
    GMimeMessage* message = g_mime_message_new(TRUE);
    GMimeObject* object = GMIME_OBJECT(message);
    g_mime_message_add_mailbox(message, GMIME_ADDRESS_TYPE_FROM, Utf8(mail.fromName).constData(),
                               Utf8(mail.fromAddress).constData());
    AddMailboxes(message, GMIME_ADDRESS_TYPE_TO, mail.to);
    AddMailboxes(message, GMIME_ADDRESS_TYPE_CC, mail.cc);
    if (!mail.newsgroups.isEmpty())
        g_mime_object_set_header(object, "Newsgroups", Utf8(mail.newsgroups).constData(), nullptr);
    g_mime_message_set_subject(message, Utf8(mail.subject).constData(), "utf-8");
    const QDateTime date = mail.date.isValid() ? mail.date : QDateTime::currentDateTime();
    GDateTime* when = g_date_time_new_from_unix_local(date.toSecsSinceEpoch());
    g_mime_message_set_date(message, when);
    char* dateText = g_mime_utils_header_format_date(when);
    const QByteArray received =
        QByteArray("from sender.example.org by mx.example.org; ") + dateText;
    g_free(dateText);
    g_date_time_unref(when);
    g_mime_object_prepend_header(object, "Received", received.constData(), nullptr);
    char* id = g_mime_utils_generate_message_id("example.org");
    g_mime_message_set_message_id(message, id);
    g_free(id);
    if (!mail.mileage.isEmpty())
        g_mime_object_set_header(object, "X-Mileage", Utf8(mail.mileage).constData(), "utf-8");

    // The body: plain and HTML as alternatives, pictures with the HTML they belong to.
    std::vector<GMimeObject*> inlineParts;
    std::vector<GMimeObject*> attached;
    for (const SampleAttachment& a : mail.attachments)
        (a.contentId.isEmpty() ? attached : inlineParts).push_back(AttachmentPart(a));
    for (const SampleMail& inner : mail.attachedMessages) {
        GMimeMessage* innerMessage = BuildMessage(inner);
        GMimeMessagePart* part = g_mime_message_part_new_with_message("rfc822", innerMessage);
        g_object_unref(innerMessage);
        g_mime_object_set_disposition(GMIME_OBJECT(part), "attachment");
        attached.push_back(GMIME_OBJECT(part));
    }
    GMimeObject* html = mail.htmlBody.isEmpty() ? nullptr : TextPart("html", mail.htmlBody);
    if (html && !inlineParts.empty()) {
        inlineParts.insert(inlineParts.begin(), html);
        html = GMIME_OBJECT(Multipart("related", inlineParts));
    } else {
        attached.insert(attached.begin(), inlineParts.begin(), inlineParts.end());
    }
    GMimeObject* text = mail.textBody.isEmpty() ? nullptr : TextPart("plain", mail.textBody);
    GMimeObject* body = nullptr;
    if (text && html)
        body = GMIME_OBJECT(Multipart("alternative", {text, html}));
    else
        body = text ? text : html;
    GMimeObject* top = body;
    if (!attached.empty()) {
        if (body) attached.insert(attached.begin(), body);
        top = GMIME_OBJECT(Multipart("mixed", attached));
    }
    if (!top) top = TextPart("plain", QString());
    g_mime_message_set_mime_part(message, top);
    g_object_unref(top);
    return message;
}

} // namespace

QByteArray BuildSampleMail(const SampleMail& mail) {
    GRef<GMimeMessage> message(BuildMessage(mail));
    GRef<GMimeStream> out(g_mime_stream_mem_new());
    g_mime_object_write_to_stream(GMIME_OBJECT(message.get()), nullptr, out.get());
    GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(out.get()));
    return QByteArray(reinterpret_cast<const char*>(bytes->data), qsizetype(bytes->len));
}

std::vector<SampleMail> DemoSampleMails(const QDateTime& now) {
    using Enc = SampleAttachment::Encoding;
    using Style = SampleAttachment::NameStyle;
    std::vector<SampleMail> mails;
    const QByteArray pdf =
        "%PDF-1.4\n1 0 obj << /Type /Catalog >> endobj\ntrailer << /Root 1 0 R >>\n%%EOF\n";
    // A 1x1 PNG picture.
    const QByteArray png =
        QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+"
                               "M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==");

    SampleMail invoice;
    invoice.fromName = QStringLiteral("Buchhaltung Müller GmbH");
    invoice.fromAddress = QStringLiteral("rechnung@mueller.example");
    invoice.subject = QStringLiteral("Rechnung März");
    invoice.date = now.addDays(-3);
    invoice.textBody = QStringLiteral("Sehr geehrte Damen und Herren,\n\nanbei die Rechnung.\n");
    invoice.attachments.push_back(
        SampleAttachment::file(QStringLiteral("Rechnung März.pdf"), "application/pdf", pdf));
    mails.push_back(invoice);

    SampleMail newsletter;
    newsletter.fromName = QStringLiteral("Team Updates");
    newsletter.fromAddress = QStringLiteral("news@updates.example");
    newsletter.subject = QStringLiteral("Quarterly report");
    newsletter.date = now.addDays(-2);
    newsletter.htmlBody =
        QStringLiteral("<html><body><p>Our logo: <img src=\"cid:logo@updates\"></p>"
                       "<p>The report is attached.</p></body></html>");
    newsletter.textBody = QStringLiteral("The report is attached.\n");
    SampleAttachment logo = SampleAttachment::file(QStringLiteral("logo.png"), "image/png", png);
    logo.contentId = QStringLiteral("logo@updates");
    newsletter.attachments.push_back(logo);
    newsletter.attachments.push_back(
        SampleAttachment::file(QStringLiteral("Bericht Q1 – Übersicht.pdf"), "application/pdf", pdf,
                               Enc::Base64, Style::Rfc2047));
    newsletter.attachments.push_back(
        SampleAttachment::file(QStringLiteral("notes.txt"), "text/plain",
                               "Remarks on the report: none.\n", Enc::QuotedPrintable));
    mails.push_back(newsletter);

    SampleMail contact;
    contact.fromName = QStringLiteral("Jörg Österreicher");
    contact.fromAddress = QStringLiteral("joerg@oesterreicher.example");
    contact.subject = QStringLiteral("Meine Kontaktdaten und die Unterlagen");
    contact.date = now.addDays(-1);
    contact.attachments.push_back(SampleAttachment::file(
        QStringLiteral("Jörg Österreicher.vcf"), "text/vcard",
        QStringLiteral("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Jörg Österreicher\r\nEND:VCARD\r\n")
            .toUtf8()));
    contact.attachments.push_back(
        SampleAttachment::file(QStringLiteral("Übersicht.pdf"), "application/pdf", pdf));
    SampleMail forwarded;
    forwarded.subject = QStringLiteral("Die ursprüngliche Nachricht");
    forwarded.date = now.addDays(-5);
    forwarded.attachments.push_back(
        SampleAttachment::file(QStringLiteral("Anlage.pdf"), "application/pdf", pdf));
    contact.attachedMessages.push_back(forwarded);
    mails.push_back(contact);

    SampleMail screenshot;
    screenshot.subject = QStringLiteral("Screenshot");
    screenshot.date = now.addSecs(-3600);
    screenshot.attachments.push_back(SampleAttachment::file(QString(), "image/png", png));
    mails.push_back(screenshot);
    return mails;
}
