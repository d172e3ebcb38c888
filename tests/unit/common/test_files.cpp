#include "common/dates.h"
#include "common/files.h"
#include "common/lang.h"
#include "scoped_time_zone.h"
#include "support/test_env.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
class Files : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        ASSERT_TRUE(dir.isValid());
    }
    QString path(const QString& name) const { return dir.filePath(name); }
    void write(const QString& name, const QByteArray& bytes) const {
        ASSERT_TRUE(PutFile(path(name), bytes));
    }

    ScopedTimeZone tz{kBerlinRule};
    QTemporaryDir dir;
};

TEST_F(Files, FindsAFileByItsPath) {
    write(u"report 2026.pdf"_s, QByteArray(1500, 'x'));
    const QDateTime written(QDate(2026, 11, 21), QTime(14, 5, 9), Qt::LocalTime);
    QFile file(path(u"report 2026.pdf"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(written, QFileDevice::FileModificationTime));
    file.close();

    FileFindData data;
    ASSERT_TRUE(GetFileFindData(file.fileName(), data));
    EXPECT_EQ(data.fileName, u"report 2026.pdf"_s);
    EXPECT_EQ(data.size, 1500);
    EXPECT_FALSE(data.isDirectory);
    EXPECT_EQ(FormatDate(data.lastWriteTime, u"yyyy-mm-dd hh-nn-ss"_s), u"2026-11-21 14-05-09"_s);
    EXPECT_GT(data.creationTime, 0);
    EXPECT_GT(data.lastAccessTime, 0);
}

TEST_F(Files, FindsAFolderButNotAPathEndingInASeparatorNorAnythingMissing) {
    ASSERT_TRUE(QDir(dir.path()).mkdir(u"sub"_s));
    FileFindData data;
    ASSERT_TRUE(GetFileFindData(path(u"sub"_s), data));
    EXPECT_TRUE(data.isDirectory);
    EXPECT_EQ(data.fileName, u"sub"_s);

    data.fileName = u"untouched"_s;
    for (const QString& missing : {path(u"sub/"_s), path(u"sub/.."_s), path(u"nothing.txt"_s),
                                   path(u"nowhere/*.txt"_s), path(u"*.none"_s), QString()})
        EXPECT_FALSE(GetFileFindData(missing, data)) << missing.toStdString();
    EXPECT_EQ(data.fileName, u"untouched"_s);
}

TEST_F(Files, PatternsInTheLastPartFindTheFirstMatchByName) {
    for (const char* name : {"b.txt", "a.txt", "c.pdf", "README", "r1.txt", "r[1].txt"})
        write(QString::fromUtf8(name), "x");
    struct {
        const char* pattern;
        const char* first;
    } const cases[] = {
        {"*.txt", "a.txt"},    {"?.pdf", "c.pdf"},   {"READ*", "README"}, {"*.*", "README"},
        {"r[1]*", "r[1].txt"}, {"r?.txt", "r1.txt"}, {"b*", "b.txt"},
    };
    for (const auto& c : cases) {
        FileFindData data;
        ASSERT_TRUE(GetFileFindData(path(QString::fromUtf8(c.pattern)), data)) << c.pattern;
        EXPECT_EQ(data.fileName, QString::fromUtf8(c.first)) << c.pattern;
    }
}

TEST_F(Files, TypeNamesFromTheMimeDatabase) {
    EXPECT_EQ(GetFileTypeName(u"pdf"_s, false), u"PDF document"_s);
    EXPECT_EQ(GetFileTypeName(u"PDF"_s, true), u"PDF document"_s);

    for (const char* unknown : {"qzx", "", "a/b"}) {
        const QString ext = QString::fromUtf8(unknown);
        CurrLang = 0;
        EXPECT_EQ(GetFileTypeName(ext, true), ext + u"-Datei"_s) << unknown;
        CurrLang = 1;
        EXPECT_EQ(GetFileTypeName(ext, true), ext + u" file"_s) << unknown;
        EXPECT_EQ(GetFileTypeName(ext, false), u"???"_s) << unknown;
    }
}
} // namespace
