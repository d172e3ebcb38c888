#pragma once
// The folders of a Maildir store. The root's own cur/ new/ tmp/ are the Inbox (a root without
// them is only the top of its folders, and its INBOX folder is the inbox); Maildir++
// folders are the root's ".A.B" entries; nested folders are sub-folders that hold their own
// cur/ new/ tmp/. A folder's id is its path relative to the root: "." for the Inbox, ".Work.Sub"
// or "Work/Sub"; "/" stands for the store's top level, which holds the others.
#include <QString>

#include <vector>

namespace FolderIds {
inline const QString Top = QStringLiteral("/");
inline const QString Inbox = QStringLiteral(".");
} // namespace FolderIds

struct FolderEntry {
    QString id;
    QString name;            // this level's name as the user reads it
    bool hasMaildir = false; // false for a level that only holds other folders
};

// True when `dir` holds a cur/ or new/ folder.
bool IsMaildirFolder(const QString& dir);
// The folder a store opens on: the root when it holds mail of its own, else its sub-folder
// named INBOX in any case (mbsync's layout: <account>/INBOX beside the other folders, nothing
// at the top); the root when there is neither.
QString DefaultInboxId(const QString& root);
// Why `root` is no mail store, empty when it is one: a Maildir, or a folder of Maildirs.
QString WhyNotAMailStore(const QString& root);
// The folder on disk for a folder id (the root for the Inbox).
QString FolderDirectory(const QString& root, const QString& id);
// The id of the folder above ("/" for the top's children, empty for the top).
QString ParentFolderId(const QString& id);
// The last level's name: "Inbox" for ".", the Maildir++ or path part otherwise, with IMAP's
// modified UTF-7 ("Entw&APw-rfe") decoded.
QString FolderLevelName(const QString& id);
// Whether the id is well formed and names a folder of the store; `hasMaildir` tells whether it
// has mail of its own.
bool FolderExists(const QString& root, const QString& id, bool* hasMaildir = nullptr);
// The folders directly below `parentId`, the Inbox first, then by name.
std::vector<FolderEntry> ChildFolders(const QString& root, const QString& parentId);
// Every folder of the store that holds mail, the Inbox first.
std::vector<FolderEntry> AllMailFolders(const QString& root);

// Decodes IMAP's modified UTF-7; text that is not valid stays as it is.
QString DecodeModifiedUtf7(const QString& text);
