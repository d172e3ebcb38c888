#pragma once
// A fresh Maildir store in the test's private home for every test, and small helpers to fill it.
#include "host/maildir/mail_builder.h"
#include "host/maildir/maildir_names.h"
#include "host/maildir/maildir_session.h"
#include "support/test_env.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <memory>
#include <utility>
#include <vector>

// `size` bytes that begin with the name.
inline QByteArray SizedContent(const QString& name, qsizetype size) {
    return name.toUtf8().leftJustified(size, 'x', true);
}
// A mail from Anna Berg with files of the given names and sizes, each file's bytes its name
// padded to its size.
inline SampleMail MailWithSizedFiles(const QString& subject,
                                     const std::vector<std::pair<QString, qsizetype>>& files,
                                     const QString& from = QStringLiteral("Anna Berg")) {
    SampleMail m;
    m.subject = subject;
    m.fromName = from;
    for (const auto& [name, size] : files)
        m.attachments.push_back(
            SampleAttachment::file(name, "application/octet-stream", SizedContent(name, size)));
    return m;
}
// A mail with PDF files whose bytes name the subject.
inline SampleMail MailWithFiles(const QString& subject, const QStringList& names) {
    SampleMail mail;
    mail.subject = subject;
    for (const QString& name : names)
        mail.attachments.push_back(
            SampleAttachment::file(name, "application/pdf", "%PDF-1.4 " + subject.toUtf8()));
    return mail;
}
inline SampleMail MailWithFile(const QString& subject, const QString& fileName) {
    return MailWithFiles(subject, {fileName});
}

class MaildirTest : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        root = TestEnv::home() + QStringLiteral("/Mail");
        ASSERT_FALSE(EnsureMaildirFolder(root));
    }

    // A folder of the store ("" for the root), made if missing.
    QString folder(const QString& relative = {}) {
        const QString dir = relative.isEmpty() ? root : root + QLatin1Char('/') + relative;
        EXPECT_FALSE(EnsureMaildirFolder(dir));
        return dir;
    }

    QString deliver(const SampleMail& mail, const QString& relative = {},
                    SampleMailFlags flags = {}) {
        const Result<QString> written = WriteMailToMaildir(folder(relative), mail, flags);
        EXPECT_TRUE(written.ok()) << written.error.description.toStdString();
        return written.value;
    }

    // Copies a sample of tests/data/mails into cur/ of the root, as an unread mail.
    QString deliverDataFile(const QString& name, const QString& flags = {}) {
        const QString target = root + QStringLiteral("/cur/") + QFileInfo(name).completeBaseName() +
                               QStringLiteral(".sample:2,") + flags;
        EXPECT_TRUE(QFile::copy(TestEnv::dataFile(QStringLiteral("mails/") + name), target))
            << name.toStdString();
        return target;
    }

    MaildirSession& session() {
        if (!session_)
            session_ = std::make_unique<MaildirSession>(
                std::vector<MaildirSession::StoreSpec>{{root, {}}});
        return *session_;
    }

    MailFolderPtr inbox() { return session().GetDefaultInbox().value; }

    // The only mail of the Inbox.
    MailItemPtr onlyMail() {
        const auto items = inbox()->Items();
        EXPECT_EQ(items.value.size(), 1u);
        if (items.value.size() != 1) return nullptr;
        // Fetched the way the engine fetches it, so a mail the store refuses shows its error.
        const auto fetched = session().GetMessageFromID(items.value[0]->EntryID().value, root);
        EXPECT_TRUE(fetched.ok()) << fetched.error.description.toStdString();
        return fetched.value;
    }

    // The one mail file of cur/ (empty, and a failure, when there is not exactly one).
    QString onlyFile() const {
        const QStringList files = FolderEntries(root + QStringLiteral("/cur"));
        EXPECT_EQ(files.size(), 1) << S(files.join(QLatin1Char(' ')));
        return files.size() == 1 ? root + QStringLiteral("/cur/") + files[0] : QString();
    }

    // The only mail of the Inbox as a session of its own reads it from disk.
    MailItemPtr reread() {
        fresh_ =
            std::make_unique<MaildirSession>(std::vector<MaildirSession::StoreSpec>{{root, {}}});
        const auto items = fresh_->GetDefaultInbox().value->Items().value;
        EXPECT_EQ(items.size(), 1u);
        return items.size() == 1 ? items[0] : nullptr;
    }

    static QByteArray readFile(const QString& path) { return FileBytes(path); }

    // Writes `bytes` as an unread mail file in cur/ of the root.
    QString deliverRaw(const QByteArray& bytes) {
        const QString path =
            root + QStringLiteral("/cur/") + NewUniqueName() + QStringLiteral(":2,");
        EXPECT_TRUE(PutFile(path, bytes));
        return path;
    }

    QString root;

  private:
    std::unique_ptr<MaildirSession> session_;
    std::unique_ptr<MaildirSession> fresh_;
};
