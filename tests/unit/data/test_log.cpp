// The LOG file: marks, line format, encoding, and failures that stay silent.
#include "data/globals.h"
#include "data/log.h"
#include "support/test_env.h"
#include "unit/data/data_test_util.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

class Log : public FreshState {};

namespace {
const QString kStamp = u"\\d\\d\\.\\d\\d\\.\\d{4} - \\d\\d:\\d\\d:\\d\\d - "_s;

// Asserts that the LOG holds exactly these lines, each behind a time stamp.
void ExpectLines(const QStringList& messages) {
    QString pattern = u"^"_s;
    for (const QString& m : messages)
        pattern += kStamp + QRegularExpression::escape(m) + u"\r\n"_s;
    const QString text = QString::fromLatin1(FileBytes(LogFilePath()));
    EXPECT_TRUE(QRegularExpression(pattern + u"$"_s).match(text).hasMatch()) << text.toStdString();
}
} // namespace

TEST_F(Log, WithoutDoProtoOnlyBangLinesAreWritten) {
    WriteLog("StowawayNow/not written");
    WriteLog("! Startup Stowaway 2.50...");
    WriteLog("del"); // needs DoProto as well
    ExpectLines({u"! Startup Stowaway 2.50..."_s});
}

TEST_F(Log, MarksAndLineFormat) {
    DoProto = true;
    WriteLog("SWN/first");
    QString separator = u"^"_s;
    WriteLog(separator);
    EXPECT_EQ(separator, QString(75, QLatin1Char('^')) + u"\r\n"_s);
    WriteLog("two\nlines\r\nand a third");
    ExpectLines({u"SWN/first"_s, QString(75, QLatin1Char('^')) + u"\r\n"_s,
                 u"two\r\nlines\r\nand a third"_s});

    WriteLog("del");
    EXPECT_FALSE(QFile::exists(LogFilePath()));
    WriteLog("after");
    ExpectLines({u"after"_s});
}

TEST_F(Log, TextIsWindows1252) {
    WriteLog("! Größe: 5 € – 中");
    EXPECT_TRUE(FileBytes(LogFilePath())
                    .endsWith("! Gr\xf6\xdf"
                              "e: 5 \x80 \x96 ?\r\n"));
}
