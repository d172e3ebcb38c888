#pragma once
// The loop of a long-lived owner of the data folder (`stowaway watch`, the desktop program):
// the event loop runs until SIGINT, SIGTERM or a caller's "stop", and meanwhile the requests on
// the owner's control socket are served one at a time, never in the middle of a run.
//
//     DataFolderOwner owner(GetDataFolder());
//     if (!owner.acquire(DataFolderOwner::Role::Owner)) { ... owner.holder() ... }
//     OnConnection(host);
//     RunServiceLoop(owner, {[&](OwnerCall* c) { ServeCommandCall(c, store); },
//                            [&] { dialog.show(); }, nullptr});
//     OnBeginShutdown(); OnDisconnection();
#include "addin/data_folder_owner.h"

#include <functional>

struct ServiceHandlers {
    // Carries out a caller's command and finishes the call (ServeCommandCall of addin/cli.h).
    std::function<void(OwnerCall*)> command;
    // Shows the options dialog for a second start; without one, the request is refused.
    std::function<void()> showOptions;
    // Called once the signals are caught and requests are served, right before the loop runs.
    std::function<void()> started;
};

// Opens the owner's control socket and runs the event loop until it is stopped; returns the
// loop's status, or -1 when the socket could not be opened (owner.lastError() says why). The
// shutdown is the caller's, after the return.
int RunServiceLoop(DataFolderOwner& owner, const ServiceHandlers& handlers);
// Ends the loop as SIGTERM does: a caller's command in progress ends at its next pump of events.
void StopServiceLoop();
