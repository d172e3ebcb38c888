// The protocol in memory, its delayed save, and the lookups in the tables.
#include "data/data_files.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "support/test_env.h"
#include "unit/data/data_test_util.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

class Protocol : public FreshState {};

namespace {
udtProtoEntry Entry(const QString& attachment) {
    udtProtoEntry e;
    e.Date = 45000.25;
    e.Attachment = attachment;
    e.State = QStringLiteral("S");
    return e;
}

// Runs the event loop until the file has `size` bytes; gives up after a generous fail-safe.
void WaitForFileSize(const QString& path, qint64 size) {
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (QFileInfo(path).size() == size) loop.quit();
    });
    poll.start(10);
    QTimer::singleShot(30000, &loop, &QEventLoop::quit);
    loop.exec();
}
} // namespace

TEST_F(Protocol, NewestEntryFirstAndSavedByTheEventLoop) {
    AddProto(Entry(QStringLiteral("a.pdf")));
    AddProto(Entry(QStringLiteral("b.pdf")));
    AddProto(Entry(QStringLiteral("c.pdf")));
    ASSERT_EQ(ProtoCount, 3);
    ASSERT_EQ(ProtoEntries.size(), 4u);
    EXPECT_EQ(ProtoEntries[1].Attachment.get(), QStringLiteral("c.pdf"));
    EXPECT_EQ(ProtoEntries[3].Attachment.get(), QStringLiteral("a.pdf"));
    EXPECT_TRUE(ProtoChanged);
    EXPECT_FALSE(QFile::exists(DataFilePath(QStringLiteral(".prt")))); // nothing written yet

    const QString path = DataFilePath(QStringLiteral(".prt"));
    WaitForFileSize(path, 3 * 1313);
    const QByteArray bytes = ReadAll(path);
    ASSERT_EQ(bytes.size(), 3 * 1313);
    EXPECT_EQ(bytes.mid(308, 5), QByteArray("c.pdf"));
    EXPECT_EQ(bytes.mid(2 * 1313 + 308, 5), QByteArray("a.pdf"));
    EXPECT_FALSE(ProtoChanged);
}

TEST_F(Protocol, FlushWritesAtOnceWithOtherPendingTables) {
    RulesChanged = true; // an edit of the dialog rides along
    AddProto(Entry(QStringLiteral("x.txt")));
    FlushProtocol();
    EXPECT_EQ(QFileInfo(DataFilePath(QStringLiteral(".prt"))).size(), 1313);
    EXPECT_EQ(QFileInfo(DataFilePath(QStringLiteral(".rls"))).size(), 0);
    EXPECT_FALSE(ProtoChanged || RulesChanged);
}

TEST_F(Protocol, IsFormatBlockedComparesTrimmedExtensionsWithCase) {
    auto row = [](const char* ext, VbBool active) {
        udtBlockedFormat b;
        b.Extension.setRaw(QLatin1String(ext));
        b.Active = active;
        return b;
    };
    BlockedFormats = {
        {}, row("JS ", vbTrue), row(" VB", vbTrue), row("EXE", vbFalse), row("exe", 1)};
    BlockedCount = 4;
    const struct {
        const char* ext;
        bool blocked;
    } cases[] = {{"JS", true},   {"js", false}, {"VB", true},
                 {"EXE", false}, {"exe", true}, {"J", false}};
    for (const auto& c : cases)
        EXPECT_EQ(IsFormatBlocked(QLatin1String(c.ext)), c.blocked) << c.ext;
}

TEST_F(Protocol, GetProjectFolderIgnoresCaseAndBlanks) {
    Projects.resize(3);
    Projects[1].Name = QStringLiteral("Projekt-Logos");
    Projects[1].Folder = QStringLiteral("/data/logos");
    Projects[2].Name = QStringLiteral("  Ärger GmbH");
    Projects[2].Folder = QStringLiteral("/data/ärger/");
    ProjectsCount = 2;
    EXPECT_EQ(GetProjectFolder(QStringLiteral("PROJEKT-logos")), QStringLiteral("/data/logos/"));
    EXPECT_EQ(GetProjectFolder(QStringLiteral("ärger gmbh ")), QStringLiteral("/data/ärger/"));
    EXPECT_EQ(GetProjectFolder(QStringLiteral("Projekt")), QString());
}
