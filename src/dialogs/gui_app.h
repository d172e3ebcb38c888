#pragma once
// The desktop program: the add-in's lifecycle as the service runs it, with a face (the tray,
// the options dialog, Qt dialogs for every question).
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

#include "host/mail_store.h"

class DataFolderOwner;
class QMenu;
class frmStowaway;
class frmSysTray;
class QtUserInteraction;
class QSocketNotifier;

struct GuiOptions {
    QString maildir;          // the store: --store or --maildir; empty: the setting, $MAILDIR...
    QString passwordCommand;  // --password-command; null: the setting PasswordCommand
    bool showOptions = false; // --options: the dialog right after the start
    int tab = 0;              // --options=TAB: the tab it opens on (0..4)
    bool help = false;        // --help: the usage, and nothing else
};

// The usage text of --help.
QString GuiUsage();
// Reads --store URL, --maildir PATH, --password-command CMD, --options and --help. False with a
// message in `error` for anything else.
bool ParseGuiArguments(const QStringList& args, GuiOptions& options, QString& error);

// Opens the store that --maildir names.
using StoreOpener = std::function<Result<std::shared_ptr<MailSession>>(const QString&)>;

class StowawayGuiApp : public QObject {
    Q_OBJECT
  public:
    StowawayGuiApp(GuiOptions options, StoreOpener openStore);
    ~StowawayGuiApp() override;

    // Connects the add-in (settings, store, data, menu, watchers), puts up the tray, and opens
    // the options dialog when asked to or when there is no tray. Run it once, after the data
    // folder is this process's own.
    void start();
    // Makes this process the data folder's owner. When another stowaway-gui owns it, that one is
    // asked to show its options dialog; when the service owns it, the user is asked whether to
    // stop the service and take over. False when this process is not to run; `exitCode` then
    // says how it ends.
    bool claimDataFolder(DataFolderOwner& owner, int& exitCode);
    // Runs the event loop until Quit, SIGTERM or SIGINT, then shuts down cleanly. The exit code.
    // With an owner, requests of other processes (commands, a second start) are served meanwhile.
    int exec(DataFolderOwner* owner = nullptr);
    // Shows the options dialog, loaded afresh, or raises it when it is open.
    void showOptions();
    // Ends the event loop; the clean shutdown follows in exec().
    void quit();
    // Writes the data and disconnects; safe to call twice.
    void shutdown();

    frmStowaway* optionsDialog() const { return m_options.get(); }

  private:
    void buildMenu();
    void removeMenu();
    void watchStopSignals();

    GuiOptions m_opts;
    StoreOpener m_openStore;
    std::unique_ptr<QtUserInteraction> m_ui;
    std::unique_ptr<frmStowaway> m_options;
    std::unique_ptr<QMenu> m_menu;
    QPointer<frmSysTray> m_tray;
    std::unique_ptr<QSocketNotifier> m_signalNotifier;
    bool m_connected = false;
    bool m_quitRequested = false; // a stop asked for before the event loop ran
};
