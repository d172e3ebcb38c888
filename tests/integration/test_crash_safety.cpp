// `stowaway run` killed with SIGKILL at points spread over a whole run: no mail is lost, doubled
// or half-written, no half-written attachment stays, the data files load, and a second run
// finishes the work.
#include "stowaway_command.h"

#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "support/python_email.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QThread>

#include <csignal>
#include <map>
#include <set>

namespace {

constexpr int kMails = 24;
constexpr int kKillPoints = 14;

QByteArray Hash(const QByteArray& bytes) {
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

QByteArray MessageIdOf(const QByteArray& mail) {
    static const QRegularExpression header(QStringLiteral("^Message-Id: *(<[^>\\r\\n]*>)"),
                                           QRegularExpression::CaseInsensitiveOption |
                                               QRegularExpression::MultilineOption);
    return header.match(QString::fromLatin1(mail)).captured(1).toLatin1();
}

struct OriginalMail {
    QByteArray bytes;
    std::vector<QByteArray> attachmentHashes;
};

class CrashSafetyTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        target = TestEnv::home() + QStringLiteral("/Saved");
        useOnlyRule(SaveAllRule(target, true));
    }

    // A fresh store of kMails unread mails with one to three attachments each; names repeat
    // across mails, so numbering is part of the run.
    void fillStore(QRandomGenerator& random) {
        QDir(root).removeRecursively();
        QDir(target).removeRecursively();
        QFile::remove(DataFilePath(QStringLiteral(".prt")));
        folder();
        originals.clear();
        static const char* names[] = {"report.pdf", "photo.jpg", "data.bin", "notes.txt"};
        for (int m = 0; m < kMails; ++m) {
            SampleMail mail;
            mail.subject = QStringLiteral("Mail %1").arg(m);
            if (m % 3 == 0) mail.htmlBody = QStringLiteral("<p>Hello</p>");
            OriginalMail original;
            const int count = 1 + int(random.bounded(3));
            for (int a = 0; a < count; ++a) {
                QByteArray content(1 + int(random.bounded(60000)), Qt::Uninitialized);
                for (char& c : content)
                    c = char(random.bounded(256));
                original.attachmentHashes.push_back(Hash(content));
                mail.attachments.push_back(
                    SampleAttachment::file(QString::fromLatin1(names[random.bounded(4)]),
                                           "application/octet-stream", content));
            }
            original.bytes = readFile(deliver(mail));
            originals[MessageIdOf(original.bytes)] = original;
        }
        ASSERT_EQ(originals.size(), size_t(kMails));
    }

    // Every mail is there once, whole: as it was delivered, or rewritten with its stamp and
    // without its attachments. Returns how many were rewritten.
    int checkMails(const std::string& when) {
        std::map<QByteArray, int> seen;
        QStringList rewritten;
        for (const QString& path : mailFiles()) {
            const QByteArray bytes = readFile(path);
            const QByteArray id = MessageIdOf(bytes);
            ++seen[id];
            const auto original = originals.find(id);
            if (original == originals.end() || original->second.bytes != bytes) rewritten << path;
        }
        for (const QJsonValue& v : ParseAllWithPython(rewritten)) {
            const QJsonObject mail = v.toObject();
            const std::string what = when + ": " + S(mail[QStringLiteral("path")].toString());
            EXPECT_EQ(originals.count(mail[QStringLiteral("id")].toString().toLatin1()), 1u)
                << what;
            EXPECT_EQ(mail[QStringLiteral("mileage")].toString(), QStringLiteral("QWKStowaway"))
                << what;
            EXPECT_TRUE(mail[QStringLiteral("defects")].toArray().isEmpty()) << what;
            // No named part is left; removal and the list of saved files land in one save.
            for (const QString& part : PartSummary(mail))
                EXPECT_FALSE(part.contains(QLatin1Char(' '))) << what << ": " << S(part);
            for (const QJsonValue& part : mail[QStringLiteral("parts")].toArray())
                if (part.toObject().contains(QStringLiteral("text"))) {
                    EXPECT_TRUE(part.toObject()[QStringLiteral("text")].toString().contains(
                        QLatin1String("file://")))
                        << what;
                }
        }
        EXPECT_EQ(seen.size(), originals.size()) << when;
        for (const auto& [id, count] : seen)
            EXPECT_EQ(count, 1) << when << ": " << id.data();
        return int(rewritten.size());
    }

    // Every file in the target is a whole attachment; returns the leftovers of unfinished writes.
    QStringList checkSavedFiles(const std::string& when,
                                std::set<QByteArray>* savedHashes = nullptr) {
        std::set<QByteArray> all;
        for (const auto& [id, mail] : originals)
            all.insert(mail.attachmentHashes.begin(), mail.attachmentHashes.end());
        QStringList unfinished;
        for (const QFileInfo& file :
             QDir(target).entryInfoList(QDir::Files | QDir::Hidden | QDir::System)) {
            if (file.fileName().startsWith(QLatin1String(".stowaway-"))) {
                unfinished << file.fileName();
                continue;
            }
            const QByteArray hash = Hash(readFile(file.filePath()));
            EXPECT_TRUE(all.count(hash)) << when << ": half-written " << S(file.fileName());
            if (savedHashes) savedHashes->insert(hash);
        }
        return unfinished;
    }

    // The data files load without a complaint.
    void checkDataFiles(const std::string& when) {
        const qsizetype logBefore = logText().size();
        ResetGlobals();
        LoadData([] { return InboxInfo{}; });
        EXPECT_EQ(Rules.count(), 1) << when;
        EXPECT_FALSE(logText().mid(logBefore).contains(QStringLiteral("! LoadData"))) << when;
    }

    // A run to the end finds everything in order.
    void finishAndCheck(const std::string& when) {
        QElapsedTimer clock;
        clock.start();
        const CommandResult r = runStowaway({QStringLiteral("run"), QStringLiteral("1")});
        lastRunMicros = clock.nsecsElapsed() / 1000;
        ASSERT_FALSE(r.crashed) << when;
        ASSERT_EQ(r.exitCode, 0) << when << ": " << S(r.err);
        EXPECT_EQ(checkMails(when + ", then run again"), kMails);
        std::set<QByteArray> saved;
        EXPECT_EQ(S(checkSavedFiles(when + ", then run again", &saved).join(' ')), "");
        for (const auto& [id, mail] : originals)
            for (const QByteArray& hash : mail.attachmentHashes)
                EXPECT_TRUE(saved.count(hash))
                    << when << ": an attachment of " << id.data() << " was lost";
        EXPECT_EQ(
            S(QDir(root + QStringLiteral("/tmp")).entryList(QDir::Files | QDir::Hidden).join(' ')),
            "")
            << when;
        checkDataFiles(when + ", then run again");
    }

    QString target;
    std::map<QByteArray, OriginalMail> originals;
    qint64 lastRunMicros = 0;
};

TEST_F(CrashSafetyTest, AKilledRunLosesNothingAndTheNextRunFinishesTheWork) {
    QRandomGenerator random(20250304);

    // An undisturbed run shows how long a run lasts; half the kill points are spread over
    // that time, the other half come when a number of attachments has been saved.
    fillStore(random);
    // What an earlier killed run left behind is cleared away.
    QProcess ended;
    ended.start(QStringLiteral("true"));
    const qint64 endedPid = ended.processId();
    ended.waitForFinished(-1);
    QDir().mkpath(target);
    QFile leftover(target + QStringLiteral("/.stowaway-%1-1f.part").arg(endedPid));
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    leftover.close();
    finishAndCheck("undisturbed");
    const qint64 runMicros = std::max<qint64>(lastRunMicros, 1000);

    int partlyDone = 0;
    for (int point = 0; point < kKillPoints; ++point) {
        fillStore(random);
        size_t attachments = 0;
        for (const auto& [id, mail] : originals)
            attachments += mail.attachmentHashes.size();
        const auto run = startStowaway({QStringLiteral("run"), QStringLiteral("1")});
        std::string when;
        if (point % 2 == 0) {
            const qint64 delay = runMicros * point / kKillPoints +
                                 qint64(random.bounded(quint32(runMicros / kKillPoints)));
            when = "killed after " + std::to_string(delay) + " us";
            QThread::usleep(quint64(delay));
        } else {
            const qsizetype saved = 1 + qsizetype(attachments) * point / kKillPoints;
            when = "killed after " + std::to_string(saved) + " saved files";
            while (run->state() != QProcess::NotRunning &&
                   QDir(target).entryList(QDir::Files).size() < saved)
                QThread::usleep(100);
            QThread::usleep(random.bounded(2000u));
        }
        ::kill(pid_t(run->processId()), SIGKILL);
        run->waitForFinished(-1);

        const int rewritten = checkMails(when);
        if (rewritten > 0 && rewritten < kMails) ++partlyDone;
        // At most the one file being written when the program died.
        EXPECT_LE(checkSavedFiles(when).size(), 1) << when;
        checkDataFiles(when);
        finishAndCheck(when);
        if (HasFailure()) break;
    }
    // Some kills came in the middle of the work.
    EXPECT_GE(partlyDone, 1);
}

} // namespace
