// Saving an attachment to disk: inside the target folder whatever the name says, never
// through a link, never half-written.
#include "data/log.h"
#include "host/mime/attachment_file.h"
#include "support/maildir_fixture.h"

#include <QDirIterator>

#include <unistd.h>

using namespace Qt::StringLiterals;

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
    return WriteFileInFolder(path, u"fallback.bin"_s, [&](int fd) {
        return ::write(fd, text.constData(), size_t(text.size())) == text.size()
                   ? OpError::none()
                   : OpError::make(ErrNo::IoError, u"short write"_s);
    });
}

} // namespace

TEST_F(MaildirTest, NamesThatCannotBeAFileGetASensibleForm) {
    const QString target = TestEnv::home() + u"/target"_s;
    QDir().mkpath(target);
    const QString longBase = QString(300, QChar(0x00e4)); // two bytes each in UTF-8
    struct Case {
        QString name;
        QString stored;
    } cases[] = {
        {QString(), u"fallback.bin"_s},
        {u"."_s, u"fallback.bin"_s},
        {u".."_s, u"fallback.bin"_s},
        {u"a\x01z\tb\x7f.txt"_s, u"a_z_b_.txt"_s},
        {longBase + u".pdf"_s, QString(125, QChar(0x00e4)) + u".pdf"_s},
        {QString(300, QLatin1Char('y')), QString(255, QLatin1Char('y'))},
        {u"report"_s + QString(300, QLatin1Char('.')),
         u"report"_s + QString(249, QLatin1Char('.'))},
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
    const QString target = TestEnv::home() + u"/target"_s;
    const QString elsewhere = TestEnv::home() + u"/elsewhere.txt"_s;
    QDir().mkpath(target);
    QFile victim(elsewhere);
    ASSERT_TRUE(victim.open(QIODevice::WriteOnly));
    victim.write("keep me");
    victim.close();
    ASSERT_EQ(::symlink(QFile::encodeName(elsewhere).constData(),
                        QFile::encodeName(target + u"/a.pdf"_s).constData()),
              0);
    ASSERT_EQ(
        ::symlink("/nonexistent/dangling", QFile::encodeName(target + u"/b.pdf"_s).constData()), 0);

    ASSERT_FALSE(WriteText(target + u"/a.pdf"_s, "new"));
    ASSERT_FALSE(WriteText(target + u"/b.pdf"_s, "new"));
    EXPECT_EQ(readFile(elsewhere), QByteArray("keep me"));
    for (const char* name : {"/a.pdf", "/b.pdf"}) {
        EXPECT_FALSE(QFileInfo(target + QLatin1String(name)).isSymLink());
        EXPECT_EQ(readFile(target + QLatin1String(name)), QByteArray("new"));
    }
    EXPECT_FALSE(QFileInfo::exists(u"/nonexistent/dangling"_s));
}

TEST_F(MaildirTest, SaveReplacesWholeOrLeavesWhatWasThere) {
    const QString target = TestEnv::home() + u"/target"_s;
    QDir().mkpath(target + u"/adir"_s);
    const QString file = target + u"/a.pdf"_s;
    ASSERT_FALSE(WriteText(file, "first version, longer"));
    ASSERT_FALSE(WriteText(file, "second"));
    EXPECT_EQ(readFile(file), QByteArray("second"));

    // A writer that fails half-way leaves the old file and no temporary one.
    const OpError failed = WriteFileInFolder(file, {}, [](int fd) {
        (void)!::write(fd, "par", 3);
        return OpError::make(ErrNo::IoError, u"disk full"_s);
    });
    EXPECT_TRUE(failed);
    EXPECT_EQ(readFile(file), QByteArray("second"));
    // A folder at the name is an error, not a write into it.
    EXPECT_TRUE(WriteText(target + u"/adir"_s, "x"));
    EXPECT_EQ(Tree(target), (QStringList{u"a.pdf"_s, u"adir"_s}));

    // The target folder must be there, and be a folder of its own, not a link to one.
    EXPECT_EQ(WriteText(target + u"/missing/a.pdf"_s, "x").number, ErrNo::NotFound);
    const QString link = TestEnv::home() + u"/link"_s;
    ASSERT_EQ(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()),
              0);
    const OpError viaLink = WriteText(link + u"/c.pdf"_s, "x");
    EXPECT_TRUE(viaLink.description.contains(QLatin1String("symbolic link")))
        << S(viaLink.description);
    EXPECT_FALSE(QFileInfo::exists(target + u"/c.pdf"_s));
}
