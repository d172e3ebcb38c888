// Saving an attachment to disk: inside the target folder whatever the name says, never
// through a link, never half-written.
#include "common/text.h"
#include "data/log.h"
#include "host/maildir/attachment_file.h"
#include "support/maildir_fixture.h"

#include <QDirIterator>

#include <unistd.h>

namespace {

// Every entry below `dir`, as paths relative to it.
QStringList Tree(const QString& dir) {
    QStringList entries;
    QDirIterator it(dir, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        entries << QDir(dir).relativeFilePath(it.next());
    entries.sort();
    return entries;
}

OpError WriteText(const QString& path, const QByteArray& text) {
    return WriteFileInFolder(path, QStringLiteral("fallback.bin"), [&](int fd) {
        return ::write(fd, text.constData(), size_t(text.size())) == text.size()
                   ? OpError::none()
                   : OpError::make(ErrNo::IoError, QStringLiteral("short write"));
    });
}

} // namespace

TEST_F(MaildirTest, HostileNamesInAMailStayInsideTheTargetFolder) {
    deliverDataFile(QStringLiteral("hostile-names.eml"));
    const MailItemPtr item = onlyMail();
    ASSERT_TRUE(item);
    const QString base = TestEnv::home() + QStringLiteral("/out");
    const QString target = base + QStringLiteral("/target");
    QDir().mkpath(target);

    const QString longName = QString(251, QLatin1Char('x')) + QStringLiteral(".pdf");
    // A "/" never reaches a path; the engine cleans the backslashes.
    const std::vector<std::string> names = {".._.._x",     "_etc_x",    "a\\b\\..\\c",
                                            "a_b_c_d.txt", S(longName), "ATT00001.dat",
                                            "ATT00002.dat"};
    ASSERT_EQ(item->AttachmentCount().value, int(names.size()));
    QStringList saved;
    for (int i = 1; i <= item->AttachmentCount().value; ++i) {
        const AttachmentPtr a = item->AttachmentAt(i).value;
        const QString name = a->FileName().value;
        EXPECT_EQ(S(name), names[size_t(i - 1)]);
        EXPECT_LE(name.toUtf8().size(), 255);
        // The path the engine builds from it.
        const QString path = target + QLatin1Char('/') + CleanFileName(name);
        ASSERT_FALSE(a->SaveAsFile(path)) << S(name);
        EXPECT_EQ(readFile(path), QByteArray("payload")) << S(name);
        saved << QFileInfo(path).fileName();
    }
    saved.sort();
    QStringList expected;
    for (const QString& name : saved)
        expected << QStringLiteral("target/") + name;
    expected.prepend(QStringLiteral("target"));
    expected.sort();
    EXPECT_EQ(Tree(base), expected);
}

TEST_F(MaildirTest, NamesThatCannotBeAFileGetASensibleForm) {
    const QString target = TestEnv::home() + QStringLiteral("/target");
    QDir().mkpath(target);
    const QString longBase = QString(300, QChar(0x00e4)); // two bytes each in UTF-8
    struct Case {
        QString name;
        QString stored;
    } cases[] = {
        {QString(), QStringLiteral("fallback.bin")},
        {QStringLiteral("."), QStringLiteral("fallback.bin")},
        {QStringLiteral(".."), QStringLiteral("fallback.bin")},
        {QStringLiteral("a\x01z\tb\x7f.txt"), QStringLiteral("a_z_b_.txt")},
        {longBase + QStringLiteral(".pdf"), QString(125, QChar(0x00e4)) + QStringLiteral(".pdf")},
        {QString(300, QLatin1Char('y')), QString(255, QLatin1Char('y'))},
        {QStringLiteral("report") + QString(300, QLatin1Char('.')),
         QStringLiteral("report") + QString(249, QLatin1Char('.'))},
    };
    for (const Case& c : cases) {
        ASSERT_FALSE(WriteText(target + QLatin1Char('/') + c.name, "content")) << S(c.name);
        EXPECT_EQ(readFile(target + QLatin1Char('/') + c.stored), QByteArray("content"))
            << S(c.name);
        EXPECT_EQ(Tree(target), QStringList{c.stored}) << S(c.name);
        QFile::remove(target + QLatin1Char('/') + c.stored);
    }
    EXPECT_EQ(readFile(LogFilePath()).count("! SaveAsFile: a name that cannot be a file name"),
              int(std::size(cases)));
    // A surrogate pair is never cut in two.
    const QString emoji =
        QString(200, QChar(0x20ac)) + QString::fromUtf8("\xF0\x9F\x98\x80").repeated(5);
    const QString cut = SafeFileName(emoji, {});
    EXPECT_LE(cut.toUtf8().size(), 255);
    EXPECT_EQ(QString::fromUtf8(cut.toUtf8()), cut);
}

TEST_F(MaildirTest, ALinkAtTheTargetNameIsReplacedNotFollowed) {
    const QString target = TestEnv::home() + QStringLiteral("/target");
    const QString elsewhere = TestEnv::home() + QStringLiteral("/elsewhere.txt");
    QDir().mkpath(target);
    QFile victim(elsewhere);
    ASSERT_TRUE(victim.open(QIODevice::WriteOnly));
    victim.write("keep me");
    victim.close();
    ASSERT_EQ(::symlink(QFile::encodeName(elsewhere).constData(),
                        QFile::encodeName(target + QStringLiteral("/a.pdf")).constData()),
              0);
    ASSERT_EQ(::symlink("/nonexistent/dangling",
                        QFile::encodeName(target + QStringLiteral("/b.pdf")).constData()),
              0);

    ASSERT_FALSE(WriteText(target + QStringLiteral("/a.pdf"), "new"));
    ASSERT_FALSE(WriteText(target + QStringLiteral("/b.pdf"), "new"));
    EXPECT_EQ(readFile(elsewhere), QByteArray("keep me"));
    for (const char* name : {"/a.pdf", "/b.pdf"}) {
        EXPECT_FALSE(QFileInfo(target + QLatin1String(name)).isSymLink());
        EXPECT_EQ(readFile(target + QLatin1String(name)), QByteArray("new"));
    }
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/nonexistent/dangling")));
}

TEST_F(MaildirTest, SaveReplacesWholeOrLeavesWhatWasThere) {
    const QString target = TestEnv::home() + QStringLiteral("/target");
    QDir().mkpath(target + QStringLiteral("/adir"));
    const QString file = target + QStringLiteral("/a.pdf");
    ASSERT_FALSE(WriteText(file, "first version, longer"));
    ASSERT_FALSE(WriteText(file, "second"));
    EXPECT_EQ(readFile(file), QByteArray("second"));

    // A writer that fails half-way leaves the old file and no temporary one.
    const OpError failed = WriteFileInFolder(file, {}, [](int fd) {
        (void)!::write(fd, "par", 3);
        return OpError::make(ErrNo::IoError, QStringLiteral("disk full"));
    });
    EXPECT_TRUE(failed);
    EXPECT_EQ(readFile(file), QByteArray("second"));
    // A folder at the name is an error, not a write into it.
    EXPECT_TRUE(WriteText(target + QStringLiteral("/adir"), "x"));
    EXPECT_EQ(Tree(target), (QStringList{QStringLiteral("a.pdf"), QStringLiteral("adir")}));

    // The target folder must be there, and be a folder of its own, not a link to one.
    EXPECT_EQ(WriteText(target + QStringLiteral("/missing/a.pdf"), "x").number, ErrNo::NotFound);
    const QString link = TestEnv::home() + QStringLiteral("/link");
    ASSERT_EQ(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()),
              0);
    const OpError viaLink = WriteText(link + QStringLiteral("/c.pdf"), "x");
    EXPECT_TRUE(viaLink.description.contains(QLatin1String("symbolic link")))
        << S(viaLink.description);
    EXPECT_FALSE(QFileInfo::exists(target + QStringLiteral("/c.pdf")));
}
