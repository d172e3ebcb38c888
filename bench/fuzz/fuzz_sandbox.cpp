#include "fuzz_sandbox.h"

#include "common/folders.h"
#include "data/globals.h"
#include "host/maildir/mail_builder.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>

#include <cstdlib>
#include <memory>

namespace {

FailureContext gContext = nullptr;

struct State {
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<QCoreApplication> app;
};

State& state() {
    static State s;
    return s;
}

void setEnv(const char* name, const QString& value) {
    setenv(name, QFile::encodeName(value).constData(), 1);
}

void finish() {
    // Qt's objects go before the folder, while the runtime is still whole.
    state().app.reset();
    state().dir.reset();
}

} // namespace

namespace Sandbox {

void init() {
    State& s = state();
    if (s.dir) return;
    s.dir =
        std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/stowaway-fuzz-XXXXXX"));
    if (!s.dir->isValid()) {
        std::fprintf(stderr, "cannot make a temporary folder in %s\n",
                     qPrintable(QDir::tempPath()));
        std::exit(2);
    }
    const QString home = s.dir->path();
    setEnv("HOME", home);
    setEnv("XDG_DATA_HOME", home + QStringLiteral("/.local/share"));
    setEnv("XDG_CONFIG_HOME", home + QStringLiteral("/.config"));
    setEnv("XDG_DOCUMENTS_DIR", home + QStringLiteral("/Documents"));
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);

    static int argc = 1;
    static char name[] = "stowaway-fuzz";
    static char* argv[] = {name, nullptr};
    s.app = std::make_unique<QCoreApplication>(argc, argv);
    std::atexit(finish);

    ResetGlobals();
    InitAppCaptions();
    QDir().mkpath(target());
    if (EnsureMaildirFolder(maildir())) {
        std::fprintf(stderr, "cannot make the Maildir %s\n", qPrintable(maildir()));
        std::exit(2);
    }
}

QString root() {
    return state().dir->path();
}

QString maildir() {
    return root() + QStringLiteral("/Mail");
}

QString target() {
    return root() + QStringLiteral("/Saved");
}

void empty(const QString& dir) {
    QDir d(dir);
    for (const QFileInfo& entry :
         d.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System)) {
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.filePath()).removeRecursively();
        else
            d.remove(entry.fileName());
    }
}

void reset() {
    init();
    for (const char* sub : {"cur", "new", "tmp"})
        empty(maildir() + QLatin1Char('/') + QLatin1String(sub));
    empty(target());
    empty(root() + QStringLiteral("/.local/share"));
    ResetGlobals();
    InitAppCaptions();
}

QStringList listAll() {
    QStringList paths;
    const QDir base(root());
    QDirIterator it(root(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        paths << base.relativeFilePath(it.next());
    paths.sort();
    return paths;
}

} // namespace Sandbox

void SetFailureContext(FailureContext context) {
    gContext = context;
}

void FailFuzzCheck() {
    if (gContext) gContext();
    std::fflush(stderr);
    std::abort();
}

// libFuzzer calls this once before the first input; the replay main does the same.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Sandbox::init();
    return 0;
}
