// Bad input through the real `stowaway run`, with a rule that saves every attachment and
// removes it: damaged mails, hostile names, odd entries in the Maildir, an unreadable folder,
// a full disk, a read-only target. Each case gets its LOG line, the run goes to its end, a mail
// is only changed when it was processed whole, and nothing is written outside the target.
#include "stowaway_command.h"

#include "common/folders.h"
#include "data/log.h"
#include "support/python_email.h"

#include <QCryptographicHash>
#include <QDirIterator>

#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum class Place {
    Mail,             // the bad mail alone, in cur/
    Directory,        // a folder in new/, a mail inside it
    Symlink,          // a link in new/ to a mail outside the store
    Fifo,             // a named pipe in new/
    UnreadableFolder, // cur/ cannot be listed
    UnreadableMail,   // one mail cannot be read
    FullDisk,         // the target is a tiny file system
    FullMailDisk,     // so is the store's tmp/, where rewritten mails are made
    ReadOnlyTarget,   // the target folder cannot be written
};

struct BadInput {
    const char* name;
    Place place;
    const char* sample;               // in tests/data/mails; null: `make` builds the mail
    std::function<QByteArray()> make; // the bad mail, built here because of its size
    bool processed;                   // the bad mail ends stamped and stripped
    QStringList saved;                // what it leaves in the target
    QString log;                      // the LOG line that says what happened
    bool goodSaved = true;            // a sound mail beside it is processed too
    QByteArray content = {};          // set: what the first of `saved` holds
};

void PrintTo(const BadInput& c, std::ostream* os) {
    *os << c.name;
}

// A mail with `files` (name, content) beside a text body; the bad ones are built here because of
// their size.
QByteArray MailOf(const QString& subject, const QString& text,
                  const std::vector<std::pair<QString, QByteArray>>& files) {
    SampleMail mail;
    mail.subject = subject;
    mail.textBody = text;
    for (const auto& [name, content] : files)
        mail.attachments.push_back(
            SampleAttachment::file(name, "application/octet-stream", content));
    return BuildSampleMail(mail);
}

QByteArray HugeHeader() {
    return MailOf(QStringLiteral("Huge header ") + QString(11 * 1024 * 1024, QLatin1Char('x')),
                  QStringLiteral("x"), {{QStringLiteral("huge.pdf"), "%PDF"}});
}

QByteArray ManyParts() {
    std::vector<std::pair<QString, QByteArray>> parts(10050, {QString(), "x"});
    parts.emplace_back(QStringLiteral("many.pdf"), "%PDF");
    return MailOf(QStringLiteral("Many parts"), QStringLiteral("x"), parts);
}

QByteArray BigAttachment() {
    return MailOf(QStringLiteral("Big attachment"), QStringLiteral("x"),
                  {{QStringLiteral("big.bin"), QByteArray(400 * 1024, 'b')}});
}

QByteArray BigBody() {
    return MailOf(QStringLiteral("Big body"), QString(400 * 1024, QLatin1Char('t')),
                  {{QStringLiteral("small.pdf"), "%PDF"}});
}

QString Hash(const QString& path) {
    struct stat st {};
    const QByteArray native = QFile::encodeName(path);
    if (::lstat(native.constData(), &st) != 0) return QStringLiteral("gone");
    if (S_ISDIR(st.st_mode)) return QStringLiteral("folder");
    if (S_ISLNK(st.st_mode)) return QStringLiteral("link to ") + QFile::symLinkTarget(path);
    if (!S_ISREG(st.st_mode)) return QStringLiteral("special");
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return QStringLiteral("unreadable");
    return QString::fromLatin1(
        QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256).toHex());
}

class BadInputTest : public StowawayCommandTest, public testing::WithParamInterface<BadInput> {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        target = TestEnv::home() + QStringLiteral("/deep/er/Saved");
        useOnlyRule(SaveAllRule(target, true));
        skipped = {target, QDir::cleanPath(GetDataFolder()),
                   TestEnv::home() + QStringLiteral("/.config"),
                   target + QStringLiteral(".listing")};
    }

    // Every entry of the home but the target, the data and the settings, with its content.
    QMap<QString, QString> snapshot() const {
        QMap<QString, QString> entries;
        QDirIterator it(TestEnv::home(),
                        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (std::any_of(skipped.begin(), skipped.end(), [&](const QString& s) {
                    return path == s || path.startsWith(s + QLatin1Char('/'));
                }))
                continue;
            // The folders above the target are made with it.
            if (target.startsWith(path + QLatin1Char('/')) && QFileInfo(path).isDir()) continue;
            entries[path] = Hash(path);
        }
        return entries;
    }

    // Runs the program the way `place` needs it; false when this machine cannot.
    bool runWith(Place place, CommandResult& result) {
        const bool asRoot = ::geteuid() == 0;
        // Root reads and writes whatever the modes say: the program runs without that power.
        const QStringList withoutOverride = {QStringLiteral("setpriv"),
                                             QStringLiteral("--bounding-set=-dac_override,-dac_"
                                                            "read_search")};
        if ((place == Place::UnreadableFolder || place == Place::UnreadableMail ||
             place == Place::ReadOnlyTarget) &&
            asRoot)
            launcher = withoutOverride;
        if (place == Place::FullDisk || place == Place::FullMailDisk) {
            // A private mount of a tiny tmpfs; what landed there is listed before it goes.
            const QString full = place == Place::FullDisk ? target : root + QStringLiteral("/tmp");
            launcher = QStringList{
                QStringLiteral("unshare"),
                QStringLiteral("-rm"),
                QStringLiteral("sh"),
                QStringLiteral("-c"),
                QStringLiteral("mount -t tmpfs -o size=64k tmpfs '%1' || exit 97; \"$@\"; "
                               "rc=$?; ls -A '%1' > '%2.listing'; exit $rc")
                    .arg(full, target),
                QStringLiteral("sh")};
        }
        result = runStowaway({QStringLiteral("run"), QStringLiteral("1")});
        launcher.clear();
        return result.exitCode != 97 && !result.err.contains(QLatin1String("unshare failed")) &&
               !result.err.contains(QLatin1String("setpriv:"));
    }

    QStringList savedNames(Place place) const {
        if (place == Place::FullDisk) {
            QStringList names = QString::fromUtf8(readFile(target + QStringLiteral(".listing")))
                                    .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            names.sort();
            return names;
        }
        return QDir(target).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    QString target;
    QStringList skipped;
};

TEST_P(BadInputTest, EndsWithALogLineAndWritesNothingOutsideTheTarget) {
    const BadInput& c = GetParam();
    SampleMail good;
    good.subject = QStringLiteral("Good mail");
    good.attachments.push_back(
        SampleAttachment::file(QStringLiteral("good.pdf"), "application/pdf", "%PDF-1.4 good"));
    const QString goodPath = deliver(good);

    QString badPath;
    const QString newDir = root + QStringLiteral("/new/");
    if (c.sample) badPath = deliverDataFile(QString::fromLatin1(c.sample));
    if (c.make) {
        badPath = newDir + QStringLiteral("made.bad");
        QFile f(badPath);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(c.make());
    }
    switch (c.place) {
    case Place::Directory:
        ASSERT_TRUE(QDir().mkpath(newDir + QStringLiteral("folder.mail")));
        ASSERT_TRUE(QFile::copy(TestEnv::dataFile(QStringLiteral("mails/hostile-names.eml")),
                                newDir + QStringLiteral("folder.mail/inner")));
        break;
    case Place::Symlink: {
        const QString outside = TestEnv::home() + QStringLiteral("/outside.eml");
        ASSERT_TRUE(
            QFile::copy(TestEnv::dataFile(QStringLiteral("mails/hostile-names.eml")), outside));
        ASSERT_TRUE(QFile::link(outside, newDir + QStringLiteral("link.mail")));
        break;
    }
    case Place::Fifo:
        ASSERT_EQ(
            ::mkfifo(QFile::encodeName(newDir + QStringLiteral("pipe.mail")).constData(), 0600), 0);
        break;
    case Place::FullDisk:
    case Place::ReadOnlyTarget:
        ASSERT_TRUE(QDir().mkpath(target));
        break;
    default:
        break;
    }
    const QMap<QString, QString> before = snapshot();

    const QString locked = c.place == Place::UnreadableFolder ? root + QStringLiteral("/cur")
                           : c.place == Place::UnreadableMail ? badPath
                           : c.place == Place::ReadOnlyTarget ? target
                                                              : QString();
    const auto mode = c.place == Place::ReadOnlyTarget ? QFile::ReadOwner | QFile::ExeOwner
                                                       : QFile::Permissions();
    const auto restore = QFile::permissions(locked);
    if (!locked.isEmpty()) {
        ASSERT_TRUE(QFile::setPermissions(locked, mode));
    }
    CommandResult r;
    const bool ran = runWith(c.place, r);
    if (!locked.isEmpty()) QFile::setPermissions(locked, restore);
    if (!ran) GTEST_SKIP() << "this machine cannot set up the case: " << S(r.err);

    const QString log = logText();
    EXPECT_FALSE(r.crashed) << S(r.err);
    // Mails the store could not write anew make the run's status say so.
    EXPECT_EQ(r.exitCode, c.place == Place::FullMailDisk ? 3 : 0) << S(r.err);
    const QString line =
        QString(c.log).replace(QStringLiteral("%1"), root).replace(QStringLiteral("%2"), target);
    EXPECT_TRUE(log.contains(line)) << "no LOG line \"" << S(line) << "\"\n" << S(log);

    QStringList expected = c.saved;
    if (c.goodSaved) expected << QStringLiteral("good.pdf");
    expected.sort();
    EXPECT_EQ(S(savedNames(c.place).join(QLatin1Char('|'))), S(expected.join(QLatin1Char('|'))));
    EXPECT_FALSE(QFile::exists(QStringLiteral("/etc/x")));
    if (!c.content.isNull()) {
        EXPECT_EQ(readFile(target + QLatin1Char('/') + c.saved.value(0)), c.content);
    }

    // Outside the target only the processed mails changed, each to one stamped file.
    const QMap<QString, QString> after = snapshot();
    QStringList gone, added;
    for (auto it = before.begin(); it != before.end(); ++it)
        if (after.value(it.key()) != it.value()) gone << it.key();
    for (auto it = after.begin(); it != after.end(); ++it)
        if (!before.contains(it.key())) added << it.key();
    QStringList expectGone;
    // With no room to make the new copy, no mail can be rewritten.
    if (c.goodSaved && c.place != Place::FullMailDisk) expectGone << goodPath;
    if (c.processed) expectGone << badPath;
    expectGone.sort();
    EXPECT_EQ(S(gone.join(QLatin1Char('\n'))), S(expectGone.join(QLatin1Char('\n'))));
    ASSERT_EQ(added.size(), expectGone.size()) << S(added.join(QLatin1Char('\n')));
    for (const QString& path : added) {
        EXPECT_TRUE(path.startsWith(root + QStringLiteral("/cur/"))) << S(path);
        const QJsonObject parsed = ParseWithPython(path);
        EXPECT_EQ(parsed[QStringLiteral("mileage")].toString(), QStringLiteral("QWKStowaway"));
        for (const QJsonValue& part : parsed[QStringLiteral("parts")].toArray())
            EXPECT_TRUE(part.toObject()[QStringLiteral("filename")].isNull())
                << S(path) << " still holds "
                << S(part.toObject()[QStringLiteral("filename")].toString());
    }
}

// A bad mail in cur/, from tests/data/mails.
BadInput Sample(const char* name, const char* file, bool processed, const QStringList& saved,
                const char* log, const QByteArray& content = {}) {
    return {name, Place::Mail, file, {}, processed, saved, QString::fromUtf8(log), true, content};
}

// A bad mail built here, because of its size.
BadInput Built(const char* name, Place place, std::function<QByteArray()> make,
               const QStringList& saved, const char* log) {
    return {name, place, nullptr, std::move(make), false, saved, QString::fromUtf8(log)};
}

// The bad thing is the place itself; `sample` is the mail found there, if any.
BadInput At(const char* name, Place place, const char* log, bool goodSaved = true,
            const char* sample = nullptr) {
    return {name, place, sample, {}, false, {}, QString::fromUtf8(log), goodSaved};
}

const QString kLongName = QString(251, QLatin1Char('x')) + QStringLiteral(".pdf");

const BadInput kBadInputs[] = {
    // Damaged structure: what can be read whole is saved; a mail with a part that cannot stays.
    Sample("TruncatedMultipart", "truncated-multipart.eml", false, {"whole.pdf"},
           "Error: The attachment \"cut.bin\" is damaged"),
    Sample("MissingBoundary", "missing-boundary.eml", false, {},
           "! Maildir: a damaged mail (a multipart not closed by its boundary)"),
    Sample("PrefixSharingBoundaries", "prefix-sharing-boundaries.eml", true,
           {"inner.pdf", "outer.pdf"}, "er/Saved/inner.pdf"),
    Sample("MultipartWithoutBoundary", "multipart-without-boundary.eml", false, {},
           "! Maildir: a damaged mail (a multipart without a boundary"),
    Sample("DamagedBase64", "damaged-base64-attachment.eml", false, {},
           "is damaged (its base64 content ends early)"),
    Sample("ChunkedBase64", "chunked-base64-attachment.eml", true, {"fox.txt"}, "er/Saved/fox.txt",
           QByteArray("The quick brown fox jumps over the lazy dog.\n").repeated(3)),
    Sample("NulBytes", "nul-bytes.eml", true, {"nul.bin"}, "er/Saved/nul.bin",
           QByteArray("\0\0\0binary\0data\0", 15)),
    // Names in odd forms are read as the sender meant them.
    Sample("EightBitAndBogusCharsetNames", "eight-bit-and-bogus-charset-names.eml", true,
           {"Büro.pdf", "Grüße.pdf", "Ärger.pdf", "änderung.pdf"}, "er/Saved/Ärger.pdf"),
    Sample("Rfc2231OutOfOrder", "rfc2231-out-of-order.eml", true, {"gap", "report.pdf"},
           "er/Saved/report.pdf"),
    Sample("AdjacentEncodedWords", "adjacent-encoded-words-name.eml", true,
           {"Grüße.pdf", "report.pdf"}, "er/Saved/Grüße.pdf"),
    // Mails past the store's limits are refused whole.
    Sample("LongParameterName", "long-parameter-name.eml", false, {},
           "Mail refused: a header parameter name of 72 characters"),
    Sample("DeepNesting", "deep-nesting.eml", false, {},
           "Mail refused: parts nested deeper than 100 levels"),
    Built("ManyParts", Place::Mail, ManyParts, {}, "Mail refused: more than 10000 parts"),
    Built("HugeHeader", Place::Mail, HugeHeader, {}, "Mail refused: a header block larger than"),
    // Hostile names land inside the target, cleaned, each file whole.
    Sample("HostileNames", "hostile-names.eml", true,
           QStringList{".._.._x", "_etc_x", "a_b_.._c", "a_b_c_d.txt", "ATT00001.dat",
                       "ATT00002.dat", kLongName},
           "er/Saved/_etc_x", "payload"),
    Sample("NamesEqualAfterCleaning", "names-equal-after-cleaning.eml", true,
           {"a_b.pdf", "a_b -0002.pdf", "a_b -0003.pdf"}, "er/Saved/a_b -0003.pdf"),
    // What is no mail file is left alone.
    At("DirectoryInNew", Place::Directory,
       "! Maildir: not a mail file, left alone: %1/new/folder.mail"),
    At("SymlinkInNew", Place::Symlink, "! Maildir: not a mail file, left alone: %1/new/link.mail"),
    At("FifoInNew", Place::Fifo, "! Maildir: not a mail file, left alone: %1/new/pipe.mail"),
    Built(
        "EmptyFileInNew", Place::Mail, [] { return QByteArray(); }, {},
        "Not a readable mail: %1/new/made.bad"),
    // The system says no.
    At("UnreadableFolder", Place::UnreadableFolder,
       "! SWN/Items: Inbox: Cannot read the mail folder %1/cur: Permission denied", false),
    At("UnreadableMail", Place::UnreadableMail,
       "Cannot open the mail %1/cur/chunked-base64-attachment.sample:2,: Permission denied", true,
       "chunked-base64-attachment.eml"),
    Built("FullDisk", Place::FullDisk, BigAttachment, {},
          "Cannot write the attachment's content: No space left on device"),
    Built("FullMailDisk", Place::FullMailDisk, BigBody, {"small.pdf"},
          "! Maildir: the mail stays as it was: Cannot write the mail: No space left on device"),
    At("ReadOnlyTarget", Place::ReadOnlyTarget, "Cannot create a file in %2: Permission denied",
       false),
};

INSTANTIATE_TEST_SUITE_P(, BadInputTest, testing::ValuesIn(kBadInputs),
                         [](const testing::TestParamInfo<BadInput>& info) {
                             return std::string(info.param.name);
                         });

} // namespace
