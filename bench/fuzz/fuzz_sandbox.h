#pragma once
// The one folder a fuzz target may write to: a fresh temporary folder per process, with the
// home, data and config folders, a Maildir and a target folder for attachments inside it. It
// goes when the process ends normally; a crash leaves it for the person who looks at the crash.
#include <QString>
#include <QStringList>

#include <cstdio>
#include <cstdlib>

namespace Sandbox {
// Makes the folder and points HOME and the XDG folders into it; also starts Qt and GMime.
// Safe to call more than once.
void init();
QString root();
QString maildir();
QString target();
// Removes everything in `dir` but the folder itself.
void empty(const QString& dir);
// Back to the state after init (made first if need be): no mails, no saved attachments, no data
// files, start-value globals.
void reset();
// Every path under the sandbox root, relative to it, for the check that nothing was written
// where it does not belong.
QStringList listAll();
} // namespace Sandbox

// Something to print with a failure, such as the file the failure is about; null for none.
using FailureContext = void (*)();
void SetFailureContext(FailureContext context);
[[noreturn]] void FailFuzzCheck();

// A broken promise of the code under test: libFuzzer takes the abort as a crash and keeps the
// input.
#define FUZZ_CHECK(cond, ...)                                                                      \
    do {                                                                                           \
        if (!(cond)) {                                                                             \
            std::fprintf(stderr, "FUZZ_CHECK failed: %s\n  ", #cond);                              \
            std::fprintf(stderr, __VA_ARGS__);                                                     \
            std::fprintf(stderr, "\n");                                                            \
            FailFuzzCheck();                                                                       \
        }                                                                                          \
    } while (0)
