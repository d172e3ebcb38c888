// `stowaway`: the command line and background service.
#include "addin/cli.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("stowaway"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    CliContext ctx{out, err, [](const QString& maildir) {
                       return Result<std::shared_ptr<MailSession>>{
                           nullptr, OpError::make(ErrNo::NotFound,
                                                  QStringLiteral("Maildir store not available yet: ") + maildir)};
                   }};
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    return RunCli(args, ctx);
}
