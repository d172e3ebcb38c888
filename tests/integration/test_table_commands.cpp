// The watched-folder, blocked-format and protocol-wipe commands: the real program over a real
// Maildir edits the data files through the same functions as the Watch and Options tabs.
#include "stowaway_command.h"

#include "data/data_files.h"
#include "data/globals.h"

using namespace Qt::StringLiterals;

namespace {

class TableCommandsTest : public StowawayCommandTest {
  protected:
    void load() {
        ResetGlobals();
        LoadData([] { return InboxInfo{}; });
    }
    // Each step: the command, its exit code, a piece of its output (or of its error).
    struct Step {
        QStringList args;
        int exitCode;
        QString says;
    };
    void run(const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            const CommandResult r = runStowaway(step.args);
            const QString all = r.out + r.err;
            EXPECT_EQ(r.exitCode, step.exitCode) << S(step.args.join(u' ')) << '\n' << S(all);
            EXPECT_TRUE(all.contains(step.says)) << S(step.args.join(u' ')) << " says:\n"
                                                 << S(all) << "wanted: " << S(step.says);
        }
    }
};

TEST_F(TableCommandsTest, FoldersAddRemoveAndSwitchTheWatchedFolders) {
    folder(u".Work"_s);
    folder(u".Work.Offers"_s);
    run({
        {{u"folders"_s, u"add"_s, u"Mail|Work"_s}, 0, u"Watching folder 2: Mail|Work"_s},
        // The same folder under another case of its path, and by its name.
        {{u"folders"_s, u"add"_s, u"mail|WORK"_s}, 2, u"'Work' is watched already (folder 2)"_s},
        {{u"folders"_s, u"add"_s, u"Offers"_s}, 0, u"Watching folder 3: Mail|Work|Offers"_s},
        // The store's top holds no mail.
        {{u"folders"_s, u"add"_s, u"Mail"_s}, 2, u"'Mail' is not a mail folder"_s},
        {{u"folders"_s, u"add"_s, u"Nowhere"_s}, 2, u"no folder 'Nowhere' in the store"_s},
        {{u"folders"_s, u"disable"_s, u"offers"_s}, 0, u"Not watching folder 3"_s},
        {{u"folders"_s, u"remove"_s, u"2"_s}, 0, u"No longer watching folder 2: Mail|Work"_s},
        {{u"folders"_s, u"remove"_s, u"9"_s}, 2, u"no watched folder '9'"_s},
        {{u"folders"_s, u"enable"_s}, 2, u"usage: stowaway folders"_s},
        {{u"folders"_s}, 0, u"2. Mail|Work|Offers  (not watched)"_s},
    });
    load();
    ASSERT_EQ(WatchFolders.count(), 2);
    EXPECT_EQ(WatchFolders[1].Path.get(), u"Mail|Inbox"_s);
    EXPECT_EQ(WatchFolders[2].Path.get(), u"Mail|Work|Offers"_s);
    EXPECT_EQ(WatchFolders[2].EntryID.get(), u".Work.Offers"_s);
    EXPECT_FALSE(IsTrue(WatchFolders[2].Active));
}

TEST_F(TableCommandsTest, BlockedAddsOwnRowsAndKeepsTheBuiltInOnes) {
    run({
        {{u"blocked"_s, u"add"_s, u"zip"_s, u"Archive"_s}, 0, u"Blocked ZIP (Archive)"_s},
        {{u"blocked"_s, u"add"_s, u"ZIP"_s, u"Again"_s}, 2, u"ZIP is in the list already"_s},
        {{u"blocked"_s, u"add"_s, u"TOOL"_s, u"x"_s}, 2, u"at most 3 characters"_s},
        {{u"blocked"_s, u"add"_s, u".7z"_s, u"x"_s}, 2, u"without its dot"_s},
        {{u"blocked"_s, u"add"_s, u"../"_s, u"x"_s}, 2, u"without its dot"_s},
        {{u"blocked"_s, u"add"_s, u""_s, u"x"_s}, 2, u"can't be empty"_s},
        {{u"blocked"_s, u"remove"_s, u"exe"_s}, 2, u"EXE is a built-in row"_s},
        {{u"blocked"_s, u"disable"_s, u"exe"_s}, 0, u"EXE is allowed"_s},
        {{u"blocked"_s, u"add"_s, u"mp3"_s, u"Music"_s}, 0, u"Blocked MP3"_s},
        {{u"blocked"_s, u"remove"_s, u"zip"_s}, 0, u"Removed ZIP"_s},
        {{u"blocked"_s, u"enable"_s, u"zip"_s}, 2, u"no blocked format 'zip'"_s},
        {{u"blocked"_s}, 0, u"MP3  Music"_s},
    });
    load();
    ASSERT_EQ(BlockedFormats.count(), 52);
    EXPECT_EQ(BlockedFormats[52].Extension.get(), u"MP3"_s);
    EXPECT_FALSE(IsTrue(BlockedFormats[52].System));
    for (int i = 1; i <= BlockedFormats.count(); ++i) {
        if (BlockedFormats[i].Extension.get() == u"EXE"_s) {
            EXPECT_FALSE(IsTrue(BlockedFormats[i].Active));
        }
    }
}

TEST_F(TableCommandsTest, ProtocolWipeAsksAndLeavesNoFile) {
    useOnlyRule(SaveAllRule(TestEnv::home() + u"/Saved"_s));
    deliver(MailWithFile(u"Offer"_s, u"offer.pdf"_s));
    run({{{u"run"_s, u"--all"_s}, 0, u""_s}, {{u"protocol"_s}, 0, u"1 of 1 entries"_s}});
    ASSERT_TRUE(QFile::exists(DataFilePath(u".prt"_s)));
    // --no-input answers no.
    run({{{u"protocol"_s, u"--wipe"_s}, 1, u"the protocol is kept"_s}});
    EXPECT_TRUE(QFile::exists(DataFilePath(u".prt"_s)));
    run({
        {{u"--yes"_s, u"protocol"_s, u"--wipe"_s}, 0, u"Deleted the protocol (1 entries)"_s},
        {{u"--yes"_s, u"protocol"_s, u"--wipe"_s}, 0, u"The protocol is empty."_s},
        {{u"protocol"_s}, 0, u"0 of 0 entries"_s},
    });
    EXPECT_FALSE(QFile::exists(DataFilePath(u".prt"_s)));
}

} // namespace
