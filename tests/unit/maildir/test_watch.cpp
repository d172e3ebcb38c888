// The watcher of a Maildir folder: which changes are new mail, and the walk that leaves out the
// mails noted done while their files keep their names.
#include "host/maildir/maildir_names.h"
#include "host/maildir/maildir_watch.h"
#include "support/maildir_fixture.h"

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class WatchTest : public MaildirTest {
  protected:
    MaildirFolderWatch& watch() {
        if (!subscription_) {
            auto sub = session().SubscribeItemAdd(
                inbox(), [this](const MailItemPtr& item) { reported << item->Subject().value; });
            EXPECT_TRUE(sub.ok()) << S(sub.error.description);
            subscription_ = std::move(sub.value);
        }
        return *static_cast<MaildirFolderWatch*>(subscription_.get());
    }

    SampleMail mail(const QString& subject) {
        SampleMail m;
        m.subject = subject;
        m.attachments.push_back(SampleAttachment::file(u"a.pdf"_s, "application/pdf", "%PDF"));
        return m;
    }

    QStringList notDone() {
        QStringList subjects;
        for (const MailItemPtr& item : inbox()->ItemsNotDone().value)
            subjects << item->Subject().value;
        return subjects;
    }

    void noteDone(const QString& subject) {
        for (const MailItemPtr& item : inbox()->Items().value)
            if (item->Subject().value == subject) item->NoteDone();
    }

    QStringList reported;
    std::unique_ptr<ItemAddSubscription> subscription_;
};

QString Renamed(const QString& path, const QString& subdir, const QString& name) {
    const QString to = QFileInfo(path).dir().absolutePath() + u"/../"_s + subdir + u"/"_s + name;
    EXPECT_EQ(::rename(QFile::encodeName(path).constData(), QFile::encodeName(to).constData()), 0);
    return QFileInfo(to).canonicalFilePath();
}

} // namespace

TEST_F(WatchTest, EachNewMailIsReportedOnceAndNothingElseIs) {
    const QString old = deliver(mail(u"there before"_s));
    watch();
    EXPECT_TRUE(reported.isEmpty());

    QString fresh;
    const QString unique = MaildirUnique(QFileInfo(old).fileName());
    struct Step {
        const char* what;
        std::function<void()> change;
        QStringList reports;
    } steps[] = {
        {"delivered to new/",
         [&] {
             fresh = deliver(mail(u"new one"_s), {}, SampleMailFlags{false, true});
         },
         {u"new one"_s}},
        {"read by a mail program: new/ to cur/ with the S flag",
         [&] { fresh = Renamed(fresh, u"cur"_s, QFileInfo(fresh).fileName() + u":2,S"_s); },
         {}},
        {"stamped and saved by the store",
         [&] {
             const MailItemPtr m = session().GetMessageFromID(unique, root).value;
             ASSERT_TRUE(m);
             m->SetMileage(u"QWKStowaway"_s);
             ASSERT_FALSE(m->Save());
         },
         {}},
        {"removed", [&] { QFile::remove(fresh); }, {}},
        {"hard-linked under a name of its own",
         [&] {
             const QString copy = deliver(mail(u"linked"_s), u"x"_s);
             ASSERT_EQ(::link(QFile::encodeName(copy).constData(),
                              QFile::encodeName(root + u"/cur/linked.1:2,"_s).constData()),
                       0);
         },
         {u"linked"_s}},
    };
    for (const Step& step : steps) {
        reported.clear();
        step.change();
        watch().readEvents();
        EXPECT_EQ(reported, step.reports) << step.what;
    }
    // The walk sees the folder as the disk has it, without listing it.
    QStringList subjects;
    for (const MailItemPtr& item : inbox()->Items().value)
        subjects << item->Subject().value;
    subjects.sort();
    EXPECT_EQ(subjects, QStringList({u"linked"_s, u"there before"_s}));
}

TEST_F(WatchTest, AMailNotedDoneIsLeftOutUntilItsFileChanges) {
    const QString a = deliver(mail(u"a"_s));
    const QString b = deliver(mail(u"b"_s));
    deliver(mail(u"c"_s));
    // Without a watcher the store keeps no notes.
    noteDone(u"a"_s);
    EXPECT_EQ(notDone(), QStringList({u"a"_s, u"b"_s, u"c"_s}));

    watch();
    noteDone(u"a"_s);
    noteDone(u"b"_s);
    EXPECT_EQ(notDone(), QStringList({u"c"_s}));

    // Flags changed by another program: a new name, so looked at again.
    Renamed(b, u"cur"_s, QFileInfo(b).fileName() + u"S"_s);
    watch().readEvents();
    EXPECT_EQ(notDone(), QStringList({u"b"_s, u"c"_s}));

    // Changed in place under the same name without a close (no event names it): unnoticed
    // until the next full look.
    ASSERT_EQ(::truncate(QFile::encodeName(a).constData(), QFileInfo(a).size() - 1), 0);
    watch().readEvents();
    EXPECT_EQ(notDone(), QStringList({u"b"_s, u"c"_s}));
    watch().fullLook();
    EXPECT_EQ(notDone(), QStringList({u"b"_s, u"c"_s, u"a"_s})); // the change moved a's time
    EXPECT_TRUE(reported.isEmpty());
}
