#pragma once
// The records every suite makes: an active rule, a project, a watched store folder and a
// protocol entry, each with the fields a test names and the rest as a new record has them.
#include "data/records.h"
#include "data/rule_codes.h"

// An active rule saving by `saveBy` into `folder` (a project's name for SaveBy::Project).
inline udtRule MakeRule(const QString& name, int16_t saveBy = SaveBy::Folder,
                        const QString& folder = {}, uint8_t fileExists = FileExists::Ask) {
    udtRule rule;
    rule.Active = vbTrue;
    rule.Name = name;
    rule.SaveBy = saveBy;
    rule.Folder = folder;
    rule.FileExists = fileExists;
    return rule;
}

inline udtProject MakeProject(const QString& name, const QString& folder) {
    udtProject project;
    project.Name = name;
    project.Folder = folder;
    return project;
}

// The record of a store folder as an add makes it; `path` is the folder's path as the list
// shows it ("Store|Inbox"), empty for the name alone.
template <class Folder>
udtWatchFolder WatchOf(const Folder& folder, bool active = true, const QString& path = {}) {
    udtWatchFolder wf;
    wf.Active = ToVb(active);
    wf.Name = folder->Name().value;
    wf.Path = path;
    wf.EntryID = folder->EntryID().value;
    wf.StoreID = folder->StoreID().value;
    return wf;
}

// A protocol entry of a saved attachment: the mail's subject is "Mail about <attachment>", the
// format its extension.
inline udtProtoEntry MakeEntry(double date, const QString& attachment, const QString& sender = {},
                               const QString& folder = {}, const QString& rule = {},
                               const QString& state = QStringLiteral("S")) {
    udtProtoEntry e;
    e.Date = date;
    e.Mail() = QStringLiteral("Mail about ") + attachment;
    e.Attachment() = attachment;
    e.FileFormat() = attachment.section(QLatin1Char('.'), -1).toUpper();
    e.Sender() = sender;
    e.Folder() = folder;
    e.Rule() = rule;
    e.State() = state;
    return e;
}
