// The protocol in memory, its delayed save, and the lookups in the tables.
#include "data/data_files.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "support/builders.h"
#include "support/test_env.h"
#include "unit/data/data_test_util.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

using namespace Qt::StringLiterals;

class Protocol : public FreshState {};

namespace {
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
    AddProto(MakeEntry(45000.25, u"a.pdf"_s));
    AddProto(MakeEntry(45000.25, u"b.pdf"_s));
    AddProto(MakeEntry(45000.25, u"c.pdf"_s));
    ASSERT_EQ(ProtoEntries.count(), 3);
    EXPECT_EQ(ProtoEntries[1].Attachment().get(), u"c.pdf"_s);
    EXPECT_EQ(ProtoEntries[3].Attachment().get(), u"a.pdf"_s);
    EXPECT_TRUE(ProtoEntries.changed);
    EXPECT_FALSE(QFile::exists(DataFilePath(u".prt"_s))); // nothing written yet

    const QString path = DataFilePath(u".prt"_s);
    WaitForFileSize(path, 3 * 1313);
    const QByteArray bytes = FileBytes(path);
    ASSERT_EQ(bytes.size(), 3 * 1313);
    EXPECT_EQ(bytes.mid(308, 5), QByteArray("c.pdf"));
    EXPECT_EQ(bytes.mid(2 * 1313 + 308, 5), QByteArray("a.pdf"));
    EXPECT_FALSE(ProtoEntries.changed);
}

TEST_F(Protocol, FlushWritesAtOnceWithOtherPendingTables) {
    Rules.changed = true; // an edit of the dialog rides along
    AddProto(MakeEntry(45000.25, u"x.txt"_s));
    FlushProtocol();
    EXPECT_EQ(QFileInfo(DataFilePath(u".prt"_s)).size(), 1313);
    EXPECT_EQ(QFileInfo(DataFilePath(u".rls"_s)).size(), 0);
    EXPECT_FALSE(ProtoEntries.changed || Rules.changed);
}

TEST_F(Protocol, IsFormatBlockedComparesTrimmedExtensionsWithCase) {
    auto row = [](const char* ext, VbBool active) {
        udtBlockedFormat b;
        b.Extension.setRaw(QLatin1String(ext));
        b.Active = active;
        return b;
    };
    BlockedFormats.assign(
        {row("JS ", vbTrue), row(" VB", vbTrue), row("EXE", vbFalse), row("exe", 1)});
    const struct {
        const char* ext;
        bool blocked;
    } cases[] = {{"JS", true},   {"js", false}, {"VB", true},
                 {"EXE", false}, {"exe", true}, {"J", false}};
    for (const auto& c : cases)
        EXPECT_EQ(IsFormatBlocked(QLatin1String(c.ext)), c.blocked) << c.ext;
}

TEST_F(Protocol, GetProjectFolderIgnoresCaseAndBlanks) {
    Projects.assign({udtProject{}, udtProject{}});
    Projects[1].Name = u"Projekt-Logos"_s;
    Projects[1].Folder = u"/data/logos"_s;
    Projects[2].Name = u"  Ärger GmbH"_s;
    Projects[2].Folder = u"/data/ärger/"_s;
    EXPECT_EQ(GetProjectFolder(u"PROJEKT-logos"_s), u"/data/logos/"_s);
    EXPECT_EQ(GetProjectFolder(u"ärger gmbh "_s), u"/data/ärger/"_s);
    EXPECT_EQ(GetProjectFolder(u"Projekt"_s), QString());
}
