#include "addin/service_loop.h"

#include "addin/folder_watchers.h"
#include "addin/owner_relay.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <deque>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int gSignalPipe[2] = {-1, -1};

void OnStopSignal(int) {
    const char c = 1;
    [[maybe_unused]] ssize_t n = ::write(gSignalPipe[1], &c, 1);
}

// Callers' commands wait here for their turn: one at a time, and not while a watcher runs.
struct CommandQueue {
    QObject guard; // its timers end with it
    std::deque<QPointer<OwnerCall>> waiting;
    bool running = false;
    std::function<void(OwnerCall*)> run;

    void serveNext() {
        if (running || waiting.empty()) return;
        if (WatcherBusy()) {
            // This may be a pump inside the watcher's run; look again after it.
            QTimer::singleShot(100, &guard, [this] { serveNext(); });
            return;
        }
        const QPointer<OwnerCall> call = waiting.front();
        waiting.pop_front();
        if (call && !call->connected()) {
            call->finish(1); // its caller went away while it waited: nothing to do
        } else if (call) {
            running = true;
            run(call);
            running = false;
        }
        if (!waiting.empty()) QTimer::singleShot(0, &guard, [this] { serveNext(); });
    }
};
} // namespace

void StopServiceLoop() {
    SetOwnerStopping(true);
    QCoreApplication::exit(0); // ends nested loops too, such as one waiting for an answer
}

int RunServiceLoop(DataFolderOwner& owner, const ServiceHandlers& handlers) {
    // SIGINT and SIGTERM end the loop through a socket pair, so the shutdown runs on the loop.
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, gSignalPipe) != 0) return 1;
    SetOwnerStopping(false);
    QSocketNotifier notifier(gSignalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [] { StopServiceLoop(); });
    struct sigaction sa = {};
    sa.sa_handler = OnStopSignal;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);

    CommandQueue queue;
    queue.run = handlers.command;
    const QMetaObject::Connection served =
        QObject::connect(&owner, &DataFolderOwner::requestArrived, [&](OwnerCall* call) {
            switch (call->kind()) {
            case OwnerRequestKind::Command:
                if (!queue.run) {
                    call->finish(2);
                    return;
                }
                queue.waiting.emplace_back(call);
                QTimer::singleShot(0, &queue.guard, [&queue] { queue.serveNext(); });
                return;
            case OwnerRequestKind::ShowOptions:
                if (handlers.showOptions) handlers.showOptions();
                call->finish(handlers.showOptions ? 0 : 1);
                return;
            case OwnerRequestKind::Stop:
                call->finish(0);
                StopServiceLoop();
                return;
            case OwnerRequestKind::Unknown:
                call->finish(2);
                return;
            }
        });

    // Listening only now: a request that came earlier would find nobody to serve it.
    int status = -1;
    if (owner.listen()) {
        if (handlers.started) handlers.started();
        status = QCoreApplication::exec();
    }

    QObject::disconnect(served);
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    ::close(gSignalPipe[0]);
    ::close(gSignalPipe[1]);
    gSignalPipe[0] = gSignalPipe[1] = -1;
    // Callers still waiting hear that the owner is gone.
    for (const QPointer<OwnerCall>& call : queue.waiting) {
        if (!call) continue;
        call->send(
            {{QStringLiteral("t"), QStringLiteral("err")},
             {QStringLiteral("v"), QStringLiteral("stowaway: the process that owns the data "
                                                  "folder is stopping; nothing was done\n")}});
        call->finish(1);
    }
    return status;
}
