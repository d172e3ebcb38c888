// Writing a changed mail back: the stamp, removed attachments and rewritten bodies land in a
// new file that replaces the old one whole, keeps its flags and time, and parses again
// elsewhere; a mail that another program touched meanwhile is left alone.
#include "host/maildir/maildir_names.h"
#include "support/maildir_fixture.h"
#include "support/python_email.h"

#include <QTemporaryDir>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

using namespace Qt::StringLiterals;

namespace {

void SetFileTime(const QString& path, qint64 seconds) {
    utimbuf t{seconds, seconds};
    utime(QFile::encodeName(path).constData(), &t);
}

SampleMail MailWithThreeFiles() {
    SampleMail mail;
    mail.subject = u"Unterlagen für März"_s;
    mail.textBody = u"Hallo,\n\nanbei drei Dateien.\n"_s;
    mail.attachments.push_back(
        SampleAttachment::file(u"eins.pdf"_s, "application/pdf", QByteArray(300, '1')));
    mail.attachments.push_back(
        SampleAttachment::file(u"zwei äö.pdf"_s, "application/pdf", QByteArray(400, '2')));
    mail.attachments.push_back(SampleAttachment::file(u"drei.txt"_s, "text/plain", "drei\n",
                                                      SampleAttachment::Encoding::QuotedPrintable));
    return mail;
}

} // namespace

TEST_F(MaildirTest, SaveWritesANewFileWithTheStampUnderAFreshNameKeepingFlagsAndTime) {
    const QString old = deliver(MailWithThreeFiles());
    const QString oldUnique = ParseMaildirFileName(QFileInfo(old).fileName()).unique;
    // A name as a sync tool leaves it, with marks that no longer fit the new content.
    const QString marked = root + u"/cur/"_s + oldUnique + u",U=42,S=1234:2,FS"_s;
    ASSERT_TRUE(QFile::rename(old, marked));
    SetFileTime(marked, 1700000000);
    QStringList seen;
    session().setOwnWriteListener([&](const QString& path) { seen << path; });

    const MailItemPtr item = onlyMail();
    ASSERT_TRUE(item);
    const QString oldId = item->EntryID().value;
    ASSERT_FALSE(item->SetMileage(u"QWKStowaway"_s));
    ASSERT_FALSE(item->Save());

    const QString now = onlyFile();
    const MaildirFileName name = ParseMaildirFileName(QFileInfo(now).fileName());
    EXPECT_NE(name.unique, oldId);
    EXPECT_FALSE(name.unique.contains(QLatin1String(",U=")) ||
                 name.unique.contains(QLatin1String(",S=")));
    EXPECT_EQ(S(name.flags), "FS");
    EXPECT_EQ(QFileInfo(now).lastModified().toSecsSinceEpoch(), 1700000000);
    EXPECT_TRUE(FolderEntries(root + u"/tmp"_s).isEmpty());
    EXPECT_EQ(S(item->EntryID().value), S(name.unique));
    EXPECT_TRUE(session().ownWrites().containsEntryId(name.unique));
    EXPECT_TRUE(seen.contains(now));

    const QJsonObject parsed = ParseWithPython(now);
    EXPECT_EQ(S(parsed[u"mileage"_s].toString()), "QWKStowaway");
    EXPECT_EQ(S(parsed[u"subject"_s].toString()), "Unterlagen für März");
    EXPECT_TRUE(parsed[u"defects"_s].toArray().isEmpty());
    EXPECT_EQ(S(PartSummary(parsed).join(',')),
              "multipart/mixed,text/plain,application/pdf eins.pdf,application/pdf zwei "
              "äö.pdf,text/plain drei.txt");
    EXPECT_EQ(S(parsed[u"parts"_s].toArray()[1].toObject()[u"text"_s].toString()),
              "Hallo,\n\nanbei drei Dateien.\n");

    // The old id still leads to the mail, also after a sync tool renamed it, and a fresh look
    // shows the stamp.
    ASSERT_TRUE(QFile::rename(now, QString(now).replace(u":2,"_s, u",U=9:2,"_s)));
    const auto again = session().GetMessageFromID(oldId, root);
    ASSERT_TRUE(again.ok()) << S(again.error.description);
    EXPECT_EQ(S(again.value->Mileage().value), "QWKStowaway");
    EXPECT_EQ(S(reread()->Mileage().value), "QWKStowaway");
}

TEST_F(MaildirTest, TwoObjectsOverOneMailFollowEachOthersSave) {
    deliver(MailWithThreeFiles());
    const MailItemPtr listed = inbox()->Items().value.at(0);
    const MailItemPtr fetched = session().GetMessageFromID(listed->EntryID().value, root).value;
    ASSERT_TRUE(fetched);
    ASSERT_FALSE(fetched->SetSubject(u"[SW] Unterlagen"_s));
    ASSERT_FALSE(fetched->Save());
    // The folder's object reads the saved mail, and can still save an attachment.
    EXPECT_EQ(S(listed->Subject().value), "[SW] Unterlagen");
    QTemporaryDir target;
    EXPECT_FALSE(listed->AttachmentAt(1).value->SaveAsFile(target.filePath(u"eins.pdf"_s)));
    EXPECT_EQ(readFile(target.filePath(u"eins.pdf"_s)), QByteArray(300, '1'));
    const auto second = session().GetMessageFromID(listed->EntryID().value, root);
    ASSERT_TRUE(second.ok());
    EXPECT_EQ(S(second.value->Subject().value), "[SW] Unterlagen");
}

TEST_F(MaildirTest, DeletedAttachmentsLeaveTheTreeAndTheRestKeepTheirNames) {
    SampleMail nameless;
    nameless.attachments.push_back(SampleAttachment::file(QString(), "application/pdf", "a"));
    nameless.attachments.push_back(SampleAttachment::file(QString(), "application/pdf", "b"));
    nameless.attachments.push_back(SampleAttachment::file(u"keep.txt"_s, "text/plain", "keep"));
    deliver(nameless);
    const MailItemPtr item = onlyMail();
    const AttachmentPtr first = item->AttachmentAt(1).value;
    const AttachmentPtr second = item->AttachmentAt(2).value;
    ASSERT_FALSE(first->Delete());
    // Later attachments shift down but keep the names they were shown with.
    EXPECT_EQ(item->AttachmentCount().value, 2);
    EXPECT_EQ(S(item->AttachmentAt(1).value->FileName().value), "ATT00002.pdf");
    EXPECT_EQ(S(second->FileName().value), "ATT00002.pdf");
    EXPECT_TRUE(first->Delete());
    EXPECT_TRUE(first->FileName().error);
    ASSERT_FALSE(second->Delete());
    ASSERT_FALSE(item->Save());

    EXPECT_EQ(S(PartSummary(ParseWithPython(onlyFile())).join(',')),
              "multipart/mixed,text/plain,text/plain keep.txt");
    const MailItemPtr again = reread();
    ASSERT_EQ(again->AttachmentCount().value, 1);
    EXPECT_EQ(S(again->AttachmentAt(1).value->FileName().value), "keep.txt");
    EXPECT_EQ(S(again->Body().value), "Hello,\n\nthe files are attached.\n");
}

TEST_F(MaildirTest, DeletingLeavesValidMimeWhateverTheShape) {
    struct Case {
        const char* name;
        QByteArray mail;
        int remove; // 1-based
        const char* parts;
    } cases[] = {
        {"last attachment: a multipart with one part",
         "From: a@b\nSubject: s\nMIME-Version: 1.0\nContent-Type: multipart/mixed; "
         "boundary=b\n\n--b\n"
         "Content-Type: text/plain\n\nbody\n--b\nContent-Type: application/pdf; name=x.pdf\n"
         "Content-Transfer-Encoding: base64\n\nQUJD\n--b--\n",
         1, "multipart/mixed,text/plain"},
        {"the whole mail is the attachment",
         "From: a@b\nSubject: s\nMIME-Version: 1.0\nContent-Type: application/pdf; name=x.pdf\n"
         "Content-Disposition: attachment\nContent-Transfer-Encoding: base64\n\nQUJD\n",
         1, "text/plain"},
        {"an inner multipart left empty goes too",
         "From: a@b\nSubject: s\nMIME-Version: 1.0\nContent-Type: multipart/mixed; "
         "boundary=b\n\n--b\n"
         "Content-Type: text/plain\n\nbody\n--b\nContent-Type: multipart/mixed; boundary=c\n\n--c\n"
         "Content-Type: image/gif; name=x.gif\n\nGIF\n--c--\n--b\nContent-Type: text/csv; "
         "name=y.csv\n\n1,2\n--b--\n",
         1, "multipart/mixed,text/plain,text/csv y.csv"},
    };
    for (const Case& c : cases) {
        deliverRaw(c.mail);
        const MailItemPtr item = onlyMail();
        ASSERT_TRUE(item) << c.name;
        ASSERT_FALSE(item->AttachmentAt(c.remove).value->Delete()) << c.name;
        ASSERT_FALSE(item->Save()) << c.name;
        const QString path = onlyFile();
        EXPECT_EQ(S(PartSummary(ParseWithPython(path)).join(',')), c.parts) << c.name;
        QFile::remove(path);
    }
}

TEST_F(MaildirTest, BodiesAreRewrittenOrAddedInUtf8) {
    struct Case {
        const char* name;
        SampleMail mail;
        bool html;
        const char* parts;
    };
    SampleMail both;
    both.htmlBody = u"<html><body><p>alt</p></body></html>"_s;
    SampleMail plainOnly;
    SampleMail plainWithFile;
    plainWithFile.attachments.push_back(SampleAttachment::file(u"a.pdf"_s, "application/pdf", "x"));
    SampleMail noBody;
    noBody.textBody.clear();
    noBody.attachments.push_back(SampleAttachment::file(u"a.pdf"_s, "application/pdf", "x"));
    const Case cases[] = {
        {"html replaced", both, true, "multipart/alternative,text/plain,text/html"},
        {"plain replaced", both, false, "multipart/alternative,text/plain,text/html"},
        {"plain replaced alone", plainOnly, false, "text/plain"},
        {"html added beside plain", plainOnly, true, "multipart/alternative,text/plain,text/html"},
        {"html added beside plain in mixed", plainWithFile, true,
         "multipart/mixed,multipart/alternative,text/plain,text/html,application/pdf a.pdf"},
        {"plain added to a mail of files", noBody, false,
         "multipart/mixed,text/plain,application/pdf a.pdf"},
    };
    const QString text = u"Gespeicherte Anhänge: /home/jörg/a b.pdf € ✓"_s;
    for (const Case& c : cases) {
        deliver(c.mail);
        const MailItemPtr item = onlyMail();
        ASSERT_TRUE(item) << c.name;
        const QString before = c.html ? item->Body().value : item->HTMLBody().value;
        ASSERT_FALSE(c.html ? item->SetHTMLBody(text) : item->SetBody(text)) << c.name;
        EXPECT_EQ(S(c.html ? item->HTMLBody().value : item->Body().value), S(text)) << c.name;
        ASSERT_FALSE(item->Save()) << c.name;

        const QString path = onlyFile();
        const QJsonObject parsed = ParseWithPython(path);
        EXPECT_EQ(S(PartSummary(parsed).join(',')), c.parts) << c.name;
        bool found = false;
        for (const QJsonValue& p : parsed[u"parts"_s].toArray())
            found |= p.toObject()[u"text"_s].toString() == text;
        EXPECT_TRUE(found) << c.name;
        const MailItemPtr again = reread();
        EXPECT_EQ(S(c.html ? again->HTMLBody().value : again->Body().value), S(text)) << c.name;
        EXPECT_EQ(S(c.html ? again->Body().value : again->HTMLBody().value), S(before)) << c.name;
        EXPECT_EQ(again->BodyFormat().value,
                  c.html || c.mail.htmlBody.size() ? BodyFormat::Html : BodyFormat::Plain);
        QFile::remove(path);
    }
}

TEST_F(MaildirTest, AMailTouchedByAnotherProgramMeanwhileIsLeftAlone) {
    enum class Touch { Renamed, Removed, Rewritten };
    for (Touch touch : {Touch::Renamed, Touch::Removed, Touch::Rewritten}) {
        const QString path = deliver(SampleMail{});
        const MailItemPtr item = onlyMail();
        ASSERT_FALSE(item->SetMileage(u"QWKStowaway"_s));
        QString other;
        switch (touch) {
        case Touch::Renamed: // a mail program marked it read
            other = path + QLatin1Char('S');
            ASSERT_TRUE(QFile::rename(path, other));
            break;
        case Touch::Removed:
            ASSERT_TRUE(QFile::remove(path));
            break;
        case Touch::Rewritten: {
            QFile f(path);
            ASSERT_TRUE(f.open(QIODevice::Append));
            f.write("more\n");
            other = path;
            break;
        }
        }
        const QByteArray otherBytes = other.isEmpty() ? QByteArray() : readFile(other);
        const OpError error = item->Save();
        EXPECT_TRUE(error);
        EXPECT_TRUE(error.description.contains(QLatin1String("by another program")))
            << S(error.description);
        // Nothing recreated, nothing changed, nothing left behind.
        EXPECT_EQ(FolderEntries(root + u"/cur"_s),
                  other.isEmpty() ? QStringList() : QStringList{QFileInfo(other).fileName()});
        if (!other.isEmpty()) {
            EXPECT_EQ(readFile(other), otherBytes);
        }
        EXPECT_TRUE(FolderEntries(root + u"/tmp"_s).isEmpty());
        if (!other.isEmpty()) QFile::remove(other);
    }
}

TEST_F(MaildirTest, StaleTemporaryFilesOfOurOwnGoAtSessionStart) {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0); // its pid now belongs to no process
    const QString tmp = folder(u".Work"_s) + u"/tmp/"_s;
    const QStringList names = {u"stowaway.%1.123.M1P1Q1.host"_s.arg(child),
                               u"stowaway.%1.123.M1P1Q2.host"_s.arg(getpid()),
                               u"1700000000.M1P%1.host"_s.arg(child)}; // someone else's
    for (const QString& name : names) {
        QFile f(tmp + name);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
    session();
    EXPECT_EQ(FolderEntries(tmp), (QStringList{names[2], names[1]}));
}

// A stamp alone keeps the file's own bytes behind one new first line; whatever else would make
// that line unsafe (a stamp already there, a first line that is no header) writes the mail anew.
TEST_F(MaildirTest, AStampAloneKeepsTheMailsBytesBehindOneNewLine) {
    struct Case {
        const char* name;
        QByteArray mail;
        QByteArray expectedPrefix; // empty: written anew
    };
    const QByteArray body = "--b\nContent-Type: text/plain\n\nHallo\n--b\nContent-Type: "
                            "application/pdf; name=a.pdf\nContent-Transfer-Encoding: base64\n\n"
                            "JVBERi0=\n--b--\n";
    const Case cases[] = {
        {"lf", "From: a@b\nSubject: x\nContent-Type: multipart/mixed; boundary=b\n\n" + body,
         "X-Mileage: QWKStowaway\n"},
        {"crlf",
         QByteArray("From: a@b\nSubject: x\nContent-Type: multipart/mixed; boundary=b\n\n" + body)
             .replace("\n", "\r\n"),
         "X-Mileage: QWKStowaway\r\n"},
        {"stamp already there",
         "From: a@b\nX-Mileage : Other\nContent-Type: multipart/mixed; boundary=b\n\n" + body, ""},
        {"mbox line first",
         "From a@b Mon Jan  1 00:00:00 2024\nFrom: a@b\nContent-Type: "
         "multipart/mixed; boundary=b\n\n" +
             body,
         ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QDir(root + u"/cur"_s).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(root + u"/cur"_s));
        deliverRaw(c.mail);
        const MailItemPtr item = onlyMail();
        ASSERT_TRUE(item);
        ASSERT_FALSE(item->SetMileage(u"QWKStowaway"_s));
        ASSERT_FALSE(item->Save());

        const QByteArray written = readFile(onlyFile());
        if (!c.expectedPrefix.isEmpty())
            EXPECT_EQ(written, c.expectedPrefix + c.mail);
        else
            EXPECT_FALSE(written.endsWith(c.mail)) << written.toStdString();

        // Read back by a fresh session, the mail is done and keeps its attachment.
        const MailItemPtr again = reread();
        ASSERT_TRUE(again);
        EXPECT_EQ(S(again->Mileage().value), "QWKStowaway");
        EXPECT_EQ(again->AttachmentCount().value, 1);
    }
}
