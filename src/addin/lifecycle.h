#pragma once
// Start and end of the running add-in: the connection, the session, the data, the watchers.
#include "host/mail_store.h"
#include "host/new_mail.h"

#include <functional>
#include <memory>

// What a program offers as the host of the add-in.
struct HostEnvironment {
    // False for a host without any user interface: the add-in then stays inert.
    bool hasUserInterface = true;
    // Opens the mail session; an error is the session failure of the start.
    std::function<Result<std::shared_ptr<MailSession>>()> openSession;
    // Builds and removes the product menu (the tray menu of the desktop program).
    std::function<void()> buildMenu;
    std::function<void()> removeMenu;
};

enum class AddinState { NotConnected, Inert, Running, Stopped };

class clsAddinSpecific {
  public:
    void InitAddin(HostEnvironment& host);
    void ShutdownAddin();
};

// The program's start: settings into the globals, then InitAddin.
void OnConnection(HostEnvironment& host);
// Always writes the shutdown line and its separator.
void OnBeginShutdown();
// The program's end: ShutdownAddin; safe to call twice.
void OnDisconnection();

AddinState CurrentAddinState();
// The open session (shared with the program, for its own commands).
std::shared_ptr<MailSession> CurrentSession();
