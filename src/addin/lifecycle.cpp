#include "addin/lifecycle.h"

#include "addin/folder_watchers.h"
#include "common/folders.h"
#include "common/vbstring.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"
#include "ui/user_interaction.h"

namespace {
HostEnvironment gHost; // a copy: the caller's may be gone by the shutdown
std::unique_ptr<clsAddinSpecific> gAddin;
std::shared_ptr<MailSession> gSession;
AddinState gState = AddinState::NotConnected;

// The default inbox as LoadData wants it for a first start.
InboxInfo LookUpInbox() {
    InboxInfo info;
    MailSession* session = gobjRDOSession();
    if (!session) {
        info.errorDescription = QStringLiteral("No mail session");
        return info;
    }
    const Result<MailFolderPtr> inbox = session->GetDefaultInbox();
    if (inbox.error || !inbox.value) {
        info.errorDescription =
            inbox.error ? inbox.error.description : QStringLiteral("No inbox in this store");
        return info;
    }
    info.ok = true;
    info.name = inbox.value->Name().value;
    info.path = GetFolderPath(inbox.value, QStringLiteral("|"));
    info.entryId = inbox.value->EntryID().value;
    info.storeId = inbox.value->StoreID().value;
    return info;
}
} // namespace

void OnConnection(HostEnvironment& host) {
    gHost = host;
    CurrLang = static_cast<uint8_t>(
        LeadingNumber(GetSetting(QStringLiteral("CurrLang"), DefaultCurrLang())));
    LangChanged = false;
    InitAppCaptions();
    if (!host.hasUserInterface) {
        gState = AddinState::Inert;
        return;
    }
    ReadSettingsIntoGlobals();
    SWRun = false;
    if (!gAddin) gAddin = std::make_unique<clsAddinSpecific>();
    gAddin->InitAddin(host);
}

void clsAddinSpecific::InitAddin(HostEnvironment& host) {
    WriteLog(QStringLiteral("! Startup Stowaway ") + HostAppVersion() + QStringLiteral("..."));
    gState = AddinState::Inert;

    Result<std::shared_ptr<MailSession>> session =
        host.openSession
            ? host.openSession()
            : Result<std::shared_ptr<MailSession>>{
                  nullptr, OpError::make(ErrNo::Failed, QStringLiteral("No mail store"))};
    if (session.error || !session.value) {
        const QString description =
            session.error ? session.error.description : QStringLiteral("No mail store");
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("Fehler bei Initialisierung des Mail-Speichers: "),
                                 QStringLiteral("Error opening the mail store: ")) +
                            description,
                        MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        return;
    }
    gSession = session.value;
    SetMailSession(gSession.get());
    SetNewMailSource(gSession->newMailSource());
    WriteLog("Using RDO/MAPIObject...");

    LoadData(LookUpInbox);
    gLastAction = LangText(QStringLiteral("Initialisierung..."), QStringLiteral("Initialize..."));
    if (host.buildMenu) host.buildMenu();
    SetWatchFolders();
    gState = AddinState::Running;
}

void clsAddinSpecific::ShutdownAddin() {
    SaveData();
    if (gHost.removeMenu && gState == AddinState::Running) gHost.removeMenu();
    KillFolderWrappers();
    SetNewMailSource(nullptr);
    SetMailSession(nullptr);
    gSession.reset();
    if (gState != AddinState::NotConnected) gState = AddinState::Stopped;
}

void OnBeginShutdown() {
    WriteLog(QStringLiteral("! Shutdown...\r\n") + QString(75, QLatin1Char('^')));
}

void OnDisconnection() {
    if (gAddin) gAddin->ShutdownAddin();
    gAddin.reset();
    gHost = HostEnvironment{};
}

AddinState CurrentAddinState() {
    return gState;
}
std::shared_ptr<MailSession> CurrentSession() {
    return gSession;
}
