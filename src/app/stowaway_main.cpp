// `stowaway`: the command line and background service.
#include "addin/cli.h"
#include "host/maildir/mail_builder.h"
#include "host/stores/open_store.h"

#include <QCoreApplication>

namespace {
Result<int> MakeDemoMaildir(const QString& maildir) {
    if (const OpError e = EnsureMaildirFolder(maildir)) return {0, e};
    int count = 0;
    for (const SampleMail& mail : DemoSampleMails(QDateTime::currentDateTime())) {
        SampleMailFlags flags;
        flags.inNew = true;
        const Result<QString> written = WriteMailToMaildir(maildir, mail, flags);
        if (written.error) return {count, written.error};
        ++count;
    }
    return {count, OpError::none()};
}
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("stowaway"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    CliContext ctx{out, err, OpenStore, MakeDemoMaildir};
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    return RunCli(args, ctx);
}
