#include "dialogs/gui_app.h"

#include "addin/cli.h"
#include "addin/data_folder_owner.h"
#include "addin/lifecycle.h"
#include "addin/service_loop.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/protocol.h"
#include "data/settings.h"
#include "dialogs/common/systray.h"
#include "dialogs/icons.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/product_menu.h"
#include "dialogs/qt_interaction.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QMenu>
#include <QSocketNotifier>
#include <QThread>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int gStopPipe[2] = {-1, -1};

void OnStopSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t n = ::write(gStopPipe[1], &byte, 1);
}

} // namespace

QString GuiUsage() {
    return QStringLiteral(
        "usage: stowaway-gui [--store URL | --maildir PATH] [--password-command CMD]\n"
        "                    [--options[=TAB]]\n"
        "  --store URL     the mail store: imap://user@host[:port] (TLS), imap+starttls://...,\n"
        "                  maildir:PATH (default: the setting Store, else $MAILDIR, else "
        "~/Maildir)\n"
        "  --maildir PATH  the Maildir store\n"
        "  --password-command CMD  prints the IMAP password or token (first line)\n"
        "  --options       open the options dialog right after the start\n"
        "  --options=TAB   ... on tab TAB: 0 Watch, 1 Rules, 2 Search, 3 Extras, 4 Options\n");
}

bool ParseGuiArguments(const QStringList& args, GuiOptions& options, QString& error) {
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args.at(i);
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            options.help = true;
        } else if (arg == QLatin1String("--options")) {
            options.showOptions = true;
        } else if (arg.startsWith(QLatin1String("--options="))) {
            bool ok = false;
            options.tab = arg.mid(10).toInt(&ok);
            if (!ok || options.tab < 0 || options.tab > 4) {
                error = QStringLiteral("stowaway-gui: --options takes a tab from 0 to 4\n");
                return false;
            }
            options.showOptions = true;
        } else if ((arg == QLatin1String("--store") ||
                    arg == QLatin1String("--password-command")) &&
                   i + 1 < args.size()) {
            (arg == QLatin1String("--store") ? options.maildir : options.passwordCommand) =
                args.at(++i);
        } else if (arg.startsWith(QLatin1String("--store=")) && arg.size() > 8) {
            options.maildir = arg.mid(8);
        } else if (arg.startsWith(QLatin1String("--password-command=")) && arg.size() > 19) {
            options.passwordCommand = arg.mid(19);
        } else if (arg == QLatin1String("--maildir") && i + 1 < args.size()) {
            options.maildir = ExpandHome(args.at(++i));
        } else if (arg.startsWith(QLatin1String("--maildir=")) && arg.size() > 10) {
            options.maildir = ExpandHome(arg.mid(10));
        } else {
            error = QStringLiteral("stowaway-gui: unknown argument: ") + arg + QLatin1Char('\n') +
                    GuiUsage();
            return false;
        }
    }
    return true;
}

StowawayGuiApp::StowawayGuiApp(GuiOptions options, StoreOpener openStore)
    : m_opts(std::move(options)), m_openStore(std::move(openStore)),
      m_ui(std::make_unique<QtUserInteraction>()) {
    SetUserInteraction(m_ui.get());
}

StowawayGuiApp::~StowawayGuiApp() {
    shutdown();
    m_options.reset();
    SetUserInteraction(nullptr);
    if (gStopPipe[0] >= 0) {
        signal(SIGINT, SIG_DFL);
        signal(SIGTERM, SIG_DFL);
        m_signalNotifier.reset();
        ::close(gStopPipe[0]);
        ::close(gStopPipe[1]);
        gStopPipe[0] = gStopPipe[1] = -1;
    }
}

void StowawayGuiApp::start() {
    QApplication::setQuitOnLastWindowClosed(false);
    SetUpIconTheme();
    QApplication::setWindowIcon(ProgramIcon());
    watchStopSignals();
    // The session's end: the data are written before the desktop takes the program down.
    connect(qApp, &QGuiApplication::commitDataRequest, this, [] {
        FlushProtocol();
        SaveData();
    });

    if (frmSysTray::available()) {
        m_tray = new frmSysTray(ProgramIcon(), this);
        connect(m_tray, &frmSysTray::SysTrayClicked, this, &StowawayGuiApp::showOptions);
        m_ui->setTray(m_tray);
    }
    HostEnvironment host;
    host.openSession = [this] { return m_openStore(m_opts.maildir); };
    host.buildMenu = [this] { buildMenu(); };
    host.removeMenu = [this] { removeMenu(); };
    OnConnection(host);
    m_connected = true;
    if (m_tray) {
        if (!m_menu) {
            // Inert (no store): no product menu, but the tray still offers its Quit.
            m_menu = std::make_unique<QMenu>();
            m_menu->addAction(LangText(QStringLiteral("Beenden"), QStringLiteral("Quit")), this,
                              &StowawayGuiApp::quit);
            m_tray->setMenu(m_menu.get());
        }
        m_tray->setToolTip(gAppCaption);
        m_tray->show();
    }
    m_ui->setLastActionSink([this](const QString& text) {
        if (m_options) m_options->showLastAction(text);
    });
    if (m_opts.showOptions || !m_tray) showOptions();
}

bool StowawayGuiApp::claimDataFolder(DataFolderOwner& owner, int& exitCode) {
    // The question below is asked in the user's language.
    ReadSettingsIntoGlobals();
    InitAppCaptions();
    bool stopAsked = false;
    int waited = 0;
    while (!owner.acquire(DataFolderOwner::Role::Owner)) {
        if (!owner.heldByOther()) {
            ui().beep();
            ui().messageBox(LangText(QStringLiteral("Der Datenordner kann nicht gesperrt werden: "),
                                     QStringLiteral("The data folder cannot be locked: ")) +
                                owner.lastError(),
                            MsgButtons::OK, MsgIcon::Stop, gAppCaption);
            exitCode = 1;
            return false;
        }
        const DataFolderHolder holder = owner.holder();
        if (holder.owner && !stopAsked) {
            // A desktop program shows its dialog; the service refuses, as it has none.
            if (SendOwnerRequest(GetDataFolder(), OwnerRequestKind::ShowOptions) == 0) {
                exitCode = 0;
                return false;
            }
            ui().beep();
            const MsgAnswer take = ui().messageBox(
                LangText(QStringLiteral("Stowaway läuft bereits als Dienst (%1).\n\nSoll der "
                                        "Dienst beendet werden, damit dieses Programm übernimmt?"),
                         QStringLiteral("Stowaway is already running as a service (%1).\n\nStop "
                                        "the service so that this program takes over?"))
                    .arg(DescribeHolder(holder)),
                MsgButtons::YesNo, MsgIcon::Question, gAppCaption);
            if (take != MsgAnswer::Yes) {
                exitCode = 0;
                return false;
            }
            SendOwnerRequest(GetDataFolder(), OwnerRequestKind::Stop);
            stopAsked = true;
        }
        // A command's run, or the service writing its data on the way out: wait for its end.
        if (++waited > 600) {
            ui().beep();
            ui().messageBox(LangText(QStringLiteral("Der Datenordner wird weiter benutzt von "),
                                     QStringLiteral("The data folder is still in use by ")) +
                                DescribeHolder(holder),
                            MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
            exitCode = 1;
            return false;
        }
        QThread::msleep(100);
    }
    return true;
}

int StowawayGuiApp::exec(DataFolderOwner* owner) {
    int code = 0;
    if (!m_quitRequested) {
        code = owner ? RunServiceLoop(*owner, {[this](OwnerCall* call) {
                                                   ServeCommandCall(call, m_opts.maildir);
                                               },
                                               [this] { showOptions(); }, nullptr})
                     : QApplication::exec();
        if (code == -1) {
            WriteLog("! stowaway-gui: cannot open the control socket " + owner->socketPath() +
                     ": " + owner->lastError());
            code = 1;
        }
    }
    shutdown();
    return code;
}

void StowawayGuiApp::showOptions() {
    if (!m_options) m_options = std::make_unique<frmStowaway>();
    if (m_options->isVisible()) {
        // A minimized dialog comes back as it was; raising alone leaves it in the task bar.
        m_options->setWindowState(m_options->windowState() & ~Qt::WindowMinimized);
        m_options->raise();
        m_options->activateWindow();
        WriteLog("Options dialog raised");
        return;
    }
    m_options->Form_Load();
    if (m_opts.tab > 0) {
        m_options->showTab(m_opts.tab);
        m_opts.tab = 0;
    }
    m_options->show();
    m_options->raise();
    m_options->activateWindow();
    WriteLog("Options dialog shown");
}

void StowawayGuiApp::quit() {
    m_quitRequested = true;
    StopServiceLoop(); // a caller's command in progress ends at its next pump
}

void StowawayGuiApp::shutdown() {
    if (!m_connected) return;
    m_connected = false;
    if (m_options) m_options->close();
    OnBeginShutdown();
    FlushProtocol();
    OnDisconnection();
}

void StowawayGuiApp::buildMenu() {
    if (!m_menu) {
        m_menu = std::make_unique<QMenu>();
        m_menu->setObjectName(QStringLiteral("mnuPopup"));
    }
    BuildProductMenu(
        *m_menu, [this] { showOptions(); }, [this] { quit(); });
    if (m_tray) m_tray->setMenu(m_menu.get());
}

void StowawayGuiApp::removeMenu() {
    if (m_tray) m_tray->setMenu(nullptr);
    if (m_menu) m_menu->clear();
}

void StowawayGuiApp::watchStopSignals() {
    // SIGTERM and SIGINT end the event loop through a pipe, so the shutdown runs on the loop.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, gStopPipe) != 0) {
        WriteLog("! stowaway-gui: no signal handling, SIGTERM ends the program without saving");
        return;
    }
    m_signalNotifier = std::make_unique<QSocketNotifier>(gStopPipe[0], QSocketNotifier::Read);
    connect(m_signalNotifier.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        [[maybe_unused]] const ssize_t n = ::read(gStopPipe[0], &byte, 1);
        quit();
    });
    struct sigaction sa = {};
    sa.sa_handler = OnStopSignal;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}
