#pragma once
// The bulk run over mail that is already in a folder: the list of the mails with attachments in
// a chosen folder (and its subfolders), and the run that saves their attachments into one folder
// or by the rules. The options dialog's Extras tab and `stowaway extras` both use it.
#include "data/records.h"
#include "engine/driver.h"
#include "host/mail_store.h"

#include <QString>
#include <vector>

class StatusSurface;

// One row of the mail list.
struct ExtrasRow {
    QString folderName;
    QString subject;
    QString senderName;
    QString sizeText; // "1,234 Kb (2)"
    QString tag;      // EntryID "|" StoreID of the folder
    bool ticked = true;
    qint64 kb = 0; // the attachments' size as the lists show it
    int attachments = 0;
    int folder = 0; // index of its folder in ExtrasListing::tree
};

// A folder of the walk, for the overview tree.
struct ExtrasFolder {
    QString name;
    int parent = -1; // index in ExtrasListing::tree; -1 for the folder the walk began with
    qint64 kb = 0;   // the folder's own mails, without its subfolders
};

struct ExtrasListing {
    std::vector<ExtrasRow> rows;
    std::vector<ExtrasFolder> tree; // in the order of the walk: a parent before its children
    int folders = 0;
    int mails = 0;
    qint64 totalKb = 0;
};

// Bytes as the lists show them: integer kilobytes plus 1.
qint64 SizeInKb(qint64 bytes);
// "###,###,###": digits in groups of three, nothing at all for 0.
QString FormatThousands(qint64 value);
// Each leading "0" becomes a blank; the first other character ends the walk.
QString NullsToBlanks(const QString& text);
// The overview tree's texts: "  1024 Kb - " and the subject or the folder's name.
QString OverviewNodeText(qint64 kb, const QString& text);
// A folder node's text: its name, behind its size when that is at least 1 Kb.
QString OverviewFolderText(const ExtrasFolder& folder);
// "folders/mails, 1,234 Kb".
QString ExtrasTotalsText(const ExtrasListing& listing);

// The mails and posts with attachments of `folder` (and, asked for, of its subfolders), all
// ticked. Progress over the items goes to `status` (may be null).
ExtrasListing ListExtrasMails(const MailFolderPtr& folder, bool withSubfolders,
                              StatusSurface* status);

// The store's folder with the path `path` ("Maildir|Work", case ignored); null when none has it.
MailFolderPtr FindFolderByPath(const QString& path);
// The mail of a row's or a node's tag: by its EntryID and StoreID, else by the EntryID alone.
Result<MailItemPtr> GetItemFromTag(const QString& tag);

// The modes of the tab, by the number of their option.
enum class ExtrasMode { ByRules = 0, ToFolder = 1, Overview = 2 };

struct ExtrasRunOptions {
    MailFolderPtr sourceFolder; // "Save from"; null: none chosen
    ExtrasMode mode = ExtrasMode::Overview;
    QString targetFolder; // "Save to"; a text beginning with "<" is none chosen
    bool keepStructure = false;
    bool delAttach = false;
    bool hyperlinks = false;
};

struct ExtrasRunSummary {
    bool refused = false;      // a check before the run said no; nothing was done
    int rowsDone = 0;          // ticked rows handed to the engine
    int rowsFailed = 0;        // ticked rows whose mail could not be reached
    bool stoppedEarly = false; // the engine answered False
    int filesSaved = 0;        // protocol entries of the run (a test run's count too)
    int filesFailed = 0;       // its entries of a failed save
    int mailsPassedOver = 0;   // mails the engine left aside (read, stamped, no attachment)
};

// The text of the closing box: "Fertig..." / "Done...", then what the run did, the passed-over
// mails counted by their reasons.
QString ExtrasDoneText(const ExtrasRunSummary& summary,
                       const std::vector<PassedOverRecord::Entry>& passedOver);
// The box's list: each passed-over mail or attachment and each failed save, with the reason.
QStringList ExtrasDoneDetails(const std::vector<PassedOverRecord::Entry>& passedOver,
                              const QStringList& failedSaves);

// The one-off rule of the "Save to" mode.
udtRule ExtrasSpecialRule(const ExtrasRunOptions& options);

// Runs the engine over every ticked row, one mail at a time, in test mode when SWTest is set.
// Refusals, unreachable mails and the end are shown through ui(); progress goes to `status`.
// Leaves DoProto on.
ExtrasRunSummary RunExtras(const ExtrasRunOptions& options, const std::vector<ExtrasRow>& rows,
                           StatusSurface* status);
