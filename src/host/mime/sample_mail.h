#pragma once
// Realistic sample mails as MIME text: plain and HTML bodies, attachments in
// base64 or quoted-printable, names in RFC 2231 or RFC 2047 form, inline pictures with a
// Content-ID, cards, attached messages. Used by the demo command, the benchmark corpus and
// the tests.
#include "host/mail_store.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <vector>

struct SampleAttachment {
    enum class Encoding { Base64, QuotedPrintable, ChunkedBase64 };
    enum class NameStyle { Rfc2231, Rfc2047 };

    QString fileName; // empty: a part without a name
    QByteArray mimeType = "application/octet-stream";
    QByteArray content;
    Encoding encoding = Encoding::Base64;
    NameStyle nameStyle = NameStyle::Rfc2231;
    // Set: a picture shown inside the HTML body ("cid:..."), kept with the body.
    QString contentId;

    static SampleAttachment file(QString fileName, QByteArray mimeType, QByteArray content,
                                 Encoding encoding = Encoding::Base64,
                                 NameStyle nameStyle = NameStyle::Rfc2231) {
        SampleAttachment a;
        a.fileName = std::move(fileName);
        a.mimeType = std::move(mimeType);
        a.content = std::move(content);
        a.encoding = encoding;
        a.nameStyle = nameStyle;
        return a;
    }
};

struct SampleMail {
    QString fromName = QStringLiteral("Sample Sender");
    QString fromAddress = QStringLiteral("sender@example.org");
    std::vector<Recipient> to{
        {QStringLiteral("Sample Recipient"), QStringLiteral("recipient@example.org")}};
    std::vector<Recipient> cc;
    QString newsgroups; // set and `to` empty: a post
    QString subject = QStringLiteral("Sample mail");
    QDateTime date = QDateTime::currentDateTime(); // Date: and Received:
    QString textBody = QStringLiteral("Hello,\n\nthe files are attached.\n");
    QString htmlBody; // empty: no HTML body
    QString mileage;  // X-Mileage, empty: none
    std::vector<SampleAttachment> attachments;
    std::vector<SampleMail> attachedMessages;
};

// The mail as MIME text.
QByteArray BuildSampleMail(const SampleMail& mail);
// A handful of mails that show what the store and the rules can do, dated before `now`.
std::vector<SampleMail> DemoSampleMails(const QDateTime& now);
