// The notes of mails passed over, and of stamps the server would not keep, on disk: kept across
// instances while UIDVALIDITY and the flags stay, dropped when either changes or the mail is
// gone, and a damaged file read as no notes and written anew.
// The mod-sequence beside them likewise; a file written without one has none.
#include "host/imap/imap_summary_cache.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QByteArray kBox = "INBOX";
const QSet<QByteArray> kStamped{"\\Seen", "QWKStowaway"};

QByteArray ReadAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

TEST(ImapSummaryCache, NotesLastAcrossInstancesWhileValidityAndFlagsStay) {
    QTemporaryDir dir;
    {
        ImapSummaryCache cache(dir.path());
        cache.markDone(kBox, 7, 1, kStamped);
        cache.markDone(kBox, 7, 2, {});
        cache.markDone(kBox, 7, 3, kStamped);
        for (const quint64 uid : {1, 2, 3})
            cache.setStamped(kBox, 7, uid, true);
        cache.setStamped(kBox, 7, 1, false); // its stamp cleared again
        cache.prune(kBox, 7, {1, 2});        // 3 was expunged
        cache.setModSeq(kBox, 7, 4200);
    } // saved at the end
    ImapSummaryCache cache(dir.path());
    EXPECT_EQ(cache.modSeq(kBox, 7), 4200u);
    EXPECT_TRUE(cache.isDone(kBox, 7, 1, {"\\Recent", "qwkstowaway", "\\SEEN"}))
        << "\\Recent and the case of flags do not count";
    EXPECT_TRUE(cache.isDone(kBox, 7, 2, {}));
    EXPECT_FALSE(cache.isDone(kBox, 7, 3, kStamped));
    EXPECT_EQ(QList<bool>({cache.isStamped(kBox, 7, 1), cache.isStamped(kBox, 7, 2),
                           cache.isStamped(kBox, 7, 3), cache.isStamped("Archive", 7, 2)}),
              QList<bool>({false, true, false, false}));
    EXPECT_FALSE(cache.isDone(kBox, 7, 1, {"QWKStowaway"})) << "marked unread since";
    EXPECT_FALSE(cache.isDone("Archive", 7, 1, kStamped));
    // A recreated mailbox: the same UIDs are other mails.
    EXPECT_FALSE(cache.isDone(kBox, 8, 2, {}));
    EXPECT_FALSE(cache.isStamped(kBox, 8, 2));
    EXPECT_EQ(cache.modSeq(kBox, 8), 0u);
    cache.save();
    EXPECT_FALSE(ImapSummaryCache(dir.path()).isDone(kBox, 7, 2, {}));
}

TEST(ImapSummaryCache, ADamagedFileIsNoNotesAndIsWrittenAnew) {
    QTemporaryDir dir;
    QByteArray good;
    {
        ImapSummaryCache cache(dir.path());
        cache.markDone(kBox, 7, 1, kStamped);
        cache.markDone(kBox, 7, 2, kStamped);
        cache.save();
        good = ReadAll(cache.pathOf(kBox));
    }
    ASSERT_TRUE(good.startsWith("stowaway-imap-done 1\nSU5CT1g=\n7\n")) << good.toStdString();
    {
        ImapSummaryCache cache(dir.path());
        EXPECT_TRUE(cache.isDone(kBox, 7, 2, kStamped));
        EXPECT_EQ(cache.modSeq(kBox, 7), 0u);
    }
    const struct {
        const char* name;
        QByteArray text;
    } cases[] = {
        {"garbage", "\x7f\x45LF\0\1\2"},
        {"cut off", good.left(good.size() - 8)},
        {"a line lost", QByteArray(good).replace("1 \\seen qwkstowaway\n", "")},
        {"a bad UID", QByteArray(good).replace("2 \\seen", "x2 \\seen")},
        {"a bad stamp", QByteArray(good).replace("2 \\seen", "+x")},
        {"a bad mod-sequence", QByteArray(good).replace("\n7\n", "\n7 x\n")},
        {"another mailbox's", QByteArray(good).replace(kBox.toBase64(), "QXJjaGl2ZQ==")},
        {"empty", ""},
    };
    ASSERT_TRUE(good.contains("1 \\seen qwkstowaway\n")) << good.toStdString();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ImapSummaryCache cache(dir.path());
        {
            QFile f(cache.pathOf(kBox));
            ASSERT_TRUE(f.open(QIODevice::WriteOnly));
            f.write(c.text);
        }
        EXPECT_FALSE(cache.isDone(kBox, 7, 2, kStamped));
        cache.markDone(kBox, 7, 1, kStamped);
        cache.markDone(kBox, 7, 2, kStamped);
        cache.save();
        EXPECT_EQ(ReadAll(cache.pathOf(kBox)), good);
    }
}

} // namespace
