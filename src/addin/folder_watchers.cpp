#include "addin/folder_watchers.h"

#include "addin/folder_commands.h"

#include "common/folders.h"
#include "common/vbstring.h"
#include "data/globals.h"
#include "data/log.h"
#include "engine/driver.h"
#include "ui/user_interaction.h"

#include <QTimer>

std::map<QString, std::unique_ptr<clsFolderWrapper>> colFolderWrappers;
int32_t gFldKey = 0;

namespace {
NewMailSource* gNewMailSource = nullptr;
int gPauses = 0;
int gBusy = 0; // nested through pumped events
// Events held back by a pause: the watcher's key and the item. Mail events walk the whole
// folder, so one per watcher is enough.
std::vector<std::pair<QString, MailItemPtr>> gWaiting;

void HandleWaitingEvents() {
    if (gPauses > 0) return;
    const auto waiting = std::move(gWaiting);
    gWaiting.clear();
    for (const auto& [key, item] : waiting) {
        const auto it = colFolderWrappers.find(key);
        if (it != colFolderWrappers.end()) it->second->m_objItems_ItemAdd(item);
    }
}
} // namespace

WatchersPause::WatchersPause() {
    ++gPauses;
}

WatchersPause::~WatchersPause() {
    if (--gPauses == 0 && !gWaiting.empty()) QTimer::singleShot(0, [] { HandleWaitingEvents(); });
}

bool WatcherBusy() {
    return gBusy > 0;
}

void SetNewMailSource(NewMailSource* source) {
    gNewMailSource = source;
}

clsFolderWrapper::clsFolderWrapper(MailFolderPtr folder, int16_t key, QString folderPath)
    : m_folder(std::move(folder)), m_key(key), m_folderPath(std::move(folderPath)) {}

void clsFolderWrapper::m_objItems_ItemAdd(const MailItemPtr& Item) {
    if (gPauses > 0) {
        const QString key = QString::number(m_key);
        const bool isMail = Item->Class().value == ItemClass::Mail;
        for (const auto& [waitingKey, waitingItem] : gWaiting)
            if (isMail && waitingKey == key && waitingItem->Class().value == ItemClass::Mail)
                return;
        gWaiting.emplace_back(key, Item);
        return;
    }
    WriteLog(QStringLiteral("ItemAdd/Start - ") + m_folderPath);
    if (!SWActive) {
        WriteLog("! ItemAdd/Stowaway is deactivated...");
        return;
    }
    const Result<int> cls = Item->Class();
    const bool isMail = cls.ok() && cls.value == ItemClass::Mail;
    const bool isPost = cls.ok() && cls.value == ItemClass::Post;
    if (!isMail && !isPost) {
        WriteLog("ItemAdd/Class <> olMail/olPost...");
        return;
    }
    const MailFolderPtr parent = Item->Parent().value;
    const QString path = parent ? VbTrim(GetFolderPath(parent, QStringLiteral("|"))) : QString();
    WriteLog(QStringLiteral("ItemAdd/FolderPath: ") + path);
    if (path.isEmpty()) return;

    SWRun = true;
    ++gBusy;
    const QString parentName = parent->Name().value;
    udtRule noRule;
    if (isMail) {
        WriteLog(QStringLiteral("ItemAdd/Mail: ") + Item->Subject().value + QLatin1Char('/') +
                 parentName);
        gLastAction = LangText(QStringLiteral("Neue Nachricht(en) in '"),
                               QStringLiteral("New mail(s) in '")) +
                      parentName + QStringLiteral("'...");
        ui().showLastAction(gLastAction);
        // The whole folder is looked through: a burst of new mail is taken by the first call.
        StowawayNow(parent, nullptr, nullptr, noRule);
    } else {
        WriteLog(QStringLiteral("ItemAdd/Post: ") + Item->Subject().value + QLatin1Char('/') +
                 parentName);
        gLastAction =
            LangText(QStringLiteral("Neue(r) Post(s) in '"), QStringLiteral("New post(s) in '")) +
            parentName + QStringLiteral("'...");
        ui().showLastAction(gLastAction);
        StowawayNow(nullptr, Item, nullptr, noRule);
    }
    SWRun = false;
    --gBusy;
    WriteLog("ItemAdd/End...");
    ui().pumpEvents();
}

QString FldWrapAdd(const MailFolderPtr& objFolder) {
    const QString keyText = QString::number(gFldKey);
    auto wrapper = std::make_unique<clsFolderWrapper>(
        objFolder, static_cast<int16_t>(gFldKey), GetFolderPath(objFolder, QStringLiteral("|")));
    if (gNewMailSource) {
        clsFolderWrapper* raw = wrapper.get();
        auto sub = gNewMailSource->SubscribeItemAdd(
            objFolder, [raw](const MailItemPtr& item) { raw->m_objItems_ItemAdd(item); });
        if (sub.ok())
            wrapper->setSubscription(std::move(sub.value));
        else
            WriteLog(QStringLiteral("! FldWrapAdd: ") + wrapper->FolderPath() +
                     QStringLiteral(": ") + sub.error.description);
    }
    colFolderWrappers[keyText] = std::move(wrapper);
    ++gFldKey;
    return keyText;
}

void KillFolderWrappers() {
    colFolderWrappers.clear();
    gWaiting.clear();
}

void SetWatchFolders() {
    KillFolderWrappers();
    if (!gobjRDOSession()) return;
    for (int i = 1; i <= WatchFolders.count(); ++i) {
        const udtWatchFolder& wf = WatchFolders[i];
        if (!IsTrue(wf.Active)) continue;
        const Result<MailFolderPtr> folder = LookUpWatchFolder(wf);
        if (folder.error) {
            ui().beep();
            const QString& description = folder.error.description;
            ui().messageBox(QStringLiteral("SetWatchFolders: ") +
                                LangText(QStringLiteral("Ordner kann nicht überwacht werden:"),
                                         QStringLiteral("Can't watch folder:")) +
                                QStringLiteral("\n\n") + wf.Path.get() + QStringLiteral("\n\n") +
                                description,
                            MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
            continue;
        }
        const QString key = FldWrapAdd(folder.value);
        WriteLog(QStringLiteral("FldWrapAdd: ") + GetFolderPath(folder.value, QStringLiteral("|")));
        Q_UNUSED(key);
    }
}
