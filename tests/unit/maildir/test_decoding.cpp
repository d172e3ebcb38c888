// The decoders the store uses in place of GMime's: base64 content, encoded words, parameters,
// and the look over a mail before GMime sees it.
#include "host/mime/base64_content.h"
#include "host/mime/header_text.h"
#include "host/mime/mime_params.h"
#include "host/mime/mime_prescan.h"
#include "host/mime/uu_content.h"

#include "support/test_env.h"

using namespace Qt::StringLiterals;

TEST(Base64Content, DecodesAcrossInnerPaddingAndTellsLostBits) {
    struct Case {
        const char* encoded;
        QByteArray decoded;
        bool damaged;
    } cases[] = {
        {"QUJDREVG", "ABCDEF", false},
        {"QUI=Q0Q=RUY=", "ABCDEF", false}, // chunks padded on their own
        {"QQ==\nQkM=\n", "ABC", false},
        {"QUJ\r\nDREVG\n", "ABCDEF", false}, // line ends anywhere
        {"QUJDRA", "ABCD", false},           // padding left out
        {"QUJD!?REVG", "ABCDEF", false},     // foreign characters are skipped
        {"QUJDR", "ABC", true},              // one character cannot make a byte
        {"QUJDR=RUZH", "ABCEFG", true},      // nor before padding
    };
    for (const Case& c : cases) {
        bool damaged = !c.damaged;
        EXPECT_EQ(DecodeBase64Content(c.encoded, &damaged), c.decoded) << c.encoded;
        EXPECT_EQ(damaged, c.damaged) << c.encoded;
        // Fed a byte at a time, as pieces of a stream end anywhere.
        Base64ContentDecoder decoder;
        QByteArray out;
        for (const char* p = c.encoded; *p; ++p)
            decoder.feed(p, 1, out);
        decoder.finish(out);
        EXPECT_EQ(out, c.decoded) << c.encoded;
    }
}

TEST(UuContent, DecodesWhateverTheLineEndsAndTellsAContentCutShort) {
    const struct {
        QByteArray encoded;
        QByteArray decoded;
        bool damaged;
    } cases[] = {
        {"begin 644 a\r\n$86)C9```\r\n`\r\nend\r\n", "abcd", false},
        {"begin 644 a\n$86)C9\n \nend", "abcd", false}, // blanks taken off line ends
        {"begin 644 a\n$86)C9```\n", "abcd", true},     // no end
        {"$86)C9```\nend\n", "", true},                 // no begin
    };
    for (const auto& c : cases) {
        UuContentDecoder decoder;
        QByteArray out;
        for (qsizetype i = 0; i < c.encoded.size(); ++i)
            decoder.feed(c.encoded.constData() + i, 1, out);
        decoder.finish(out);
        EXPECT_EQ(out, c.decoded) << c.encoded.constData();
        EXPECT_EQ(decoder.damaged(), c.damaged) << c.encoded.constData();
    }
}

TEST(HeaderText, EncodedWordsComeOutWhole) {
    struct Case {
        QByteArray raw;
        QString text;
    } cases[] = {
        {"=?UTF-8?B?cmVwb3J0Lg==?= =?UTF-8?B?cGRm?=", u"report.pdf"_s},
        {"=?UTF-8?B?cmVwb3J0Lg==?==?UTF-8?B?cGRm?=", u"report.pdf"_s},
        {"=?UTF-8?Q?Gr=C3?=\r\n =?UTF-8?Q?=BC=C3=9Fe?=", u"Grüße"_s}, // split character
        {"=?iso-8859-1?q?B=FCro_Plan?=", u"Büro Plan"_s},
        {"=?ISO-8859-1?Q?=E4?= =?UTF-8?Q?=C3=B6?=", u"äö"_s}, // two charsets
        {"Re: =?utf-8?q?caf=C3=A9?= and more", u"Re: café and more"_s},
        {"=?utf-8*de?Q?Stra=C3=9Fe?=", u"Straße"_s}, // with language
        {"plain =? not a word ?=", u"plain =? not a word ?="_s},
        {"caf\xc3\xa9", u"café"_s}, // raw UTF-8
        {"caf\xe9", u"café"_s},     // raw Windows-1252
        {"=?x-unknown?Q?abc?=", u"abc"_s},
    };
    for (const Case& c : cases)
        EXPECT_EQ(S(DecodeEncodedWords(c.raw)), S(c.text)) << c.raw.constData();
}

TEST(MimeParams, NamesFromEveryFormMailersUse) {
    struct Case {
        QByteArray header;
        QByteArray param;
        QString value;
    } cases[] = {
        {"attachment; filename=\"a b.pdf\"", "filename", u"a b.pdf"_s},
        {"attachment; filename=a b.pdf ; size=3", "filename", u"a b.pdf"_s},
        {"attachment; filename=\"say \\\"hi\\\".txt\"", "filename", u"say \"hi\".txt"_s},
        {"attachment; FileName=x.txt", "filename", u"x.txt"_s},
        {"attachment (a comment); filename=x.txt", "filename", u"x.txt"_s},
        {"attachment; filename*=UTF-8''%C3%A4rger.txt", "filename", u"ärger.txt"_s},
        {"attachment; filename*=iso-8859-1'de'%E4rger.txt", "filename", u"ärger.txt"_s},
        {"attachment; filename*1*=%BC.txt; filename*0*=UTF-8''%C3", "filename", u"ü.txt"_s},
        {"attachment; filename*0=\"long \"; filename*1=\"name.txt\"", "filename",
         u"long name.txt"_s},
        {"attachment; filename=\"old.txt\"; filename*=UTF-8''new.txt", "filename", u"new.txt"_s},
        {"application/pdf; name=\"=?UTF-8?B?cmVwb3J0Lg==?= =?UTF-8?B?cGRm?=\"", "name",
         u"report.pdf"_s},
    };
    for (const Case& c : cases) {
        const auto value = DecodedParam(ParseHeaderParams(c.header), c.param);
        ASSERT_TRUE(value.has_value()) << c.header.constData();
        EXPECT_EQ(S(*value), S(c.value)) << c.header.constData();
    }
    EXPECT_FALSE(DecodedParam(ParseHeaderParams("attachment; name=x"), "filename").has_value());
    EXPECT_EQ(HeaderMainValue(" Multipart/Mixed;\n boundary=x"), QByteArray("multipart/mixed"));
}

namespace {
QByteArray Nested(int depth) {
    QByteArray mail = "From: a@b\nContent-Type: multipart/mixed; boundary=\"b0\"\n\n";
    for (int i = 1; i < depth; ++i)
        mail += "--b" + QByteArray::number(i - 1) +
                "\nContent-Type: multipart/mixed; boundary=\"b" + QByteArray::number(i) + "\"\n\n";
    mail += "--b" + QByteArray::number(depth - 1) + "\nContent-Type: text/plain\n\nhi\n";
    for (int i = depth - 1; i >= 0; --i)
        mail += "--b" + QByteArray::number(i) + "--\n";
    return mail;
}

QByteArray ManyParts(int parts) {
    QByteArray mail = "From: a@b\nContent-Type: multipart/mixed; boundary=\"b\"\n\n";
    for (int i = 0; i < parts; ++i)
        mail += "--b\nContent-Type: text/plain\n\nx\n";
    return mail + "--b--\n";
}

QByteArray AttachedMessages(int depth) {
    return QByteArray("From: a@b\nContent-Type: message/rfc822\n\n").repeated(depth) +
           "From: c@d\n\nhi\n";
}
} // namespace

TEST(Prescan, CapsWhatOneMailMayCost) {
    MailLimits limits;
    limits.maxDepth = 10;
    limits.maxParts = 50;
    limits.maxHeaderBlock = 4096;
    struct Case {
        QByteArray mail;
        bool refused;
        const char* why;
    } cases[] = {
        {Nested(10), false, ""},
        {Nested(11), true, "nested"},
        {AttachedMessages(9), false, ""},
        {AttachedMessages(11), true, "nested"},
        {ManyParts(49), false, ""},
        {ManyParts(50), true, "parts"},
        {"Subject: " + QByteArray(4000, 'x') + "\n\nbody", false, ""},
        {"Subject: x\n" + QByteArray("X-Long: y\n").repeated(500) + "\nbody", true, "header block"},
        // A long header block inside a part counts as much as one on top.
        {"Content-Type: multipart/mixed; boundary=b\n\n--b\n" +
             QByteArray("X: y\n").repeated(1000) + "\nhi\n--b--\n",
         true, "header block"},
        // A big body is no header block, nor is an encoded attached message.
        {"Subject: x\n\n" + QByteArray("line of text\n").repeated(1000), false, ""},
        {"Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: message/rfc822\n"
         "Content-Transfer-Encoding: base64\n\n" +
             QByteArray("QUJD\n").repeated(2000) + "--b--\n",
         false, ""},
        {"Content-Type: text/plain; " + QByteArray(41, 'n') + "=1\n\nx", true,
         "parameter name of 41"},
        {"Content-Type: text/plain; " + QByteArray(40, 'n') + "=1\n\nx", false, ""},
        {"Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Disposition: attachment;\n " +
             QByteArray(72, 'a') + "=1\n\nx\n--b--\n",
         true, "parameter name of 72"},
    };
    for (const Case& c : cases) {
        const OpError error = PrescanMail(c.mail, limits);
        EXPECT_EQ(bool(error), c.refused) << c.mail.left(60).constData();
        if (c.refused) {
            EXPECT_TRUE(error.description.startsWith(u"Mail refused: "_s));
            EXPECT_TRUE(error.description.contains(QLatin1String(c.why))) << S(error.description);
        }
    }
}
