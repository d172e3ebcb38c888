// Writes small valid data files, one of each kind, as seeds for fuzz_load_data: the first byte
// picks the file, as the target reads it. Usage: make_data_seeds FOLDER
#include "data_tables.h"
#include "fuzz_sandbox.h"

#include "data/data_files.h"
#include "data/defaults.h"
#include "data/globals.h"

#include <QDir>
#include <QFile>

namespace {

void FillTables() {
    std::vector<udtRule> rules = SampleRules();
    udtRule rule;
    rule.Active = vbTrue;
    rule.Name = QStringLiteral("Rechnungen f\u00fcr M\u00fcller \u20ac");
    rule.CheckSender = vbTrue;
    rule.Sender = QStringLiteral("@example.org");
    rule.SaveBy = 4;
    rule.SaveFormat = 99;
    rule.Folder = QStringLiteral("/home/user/Rechnungen");
    rule.FileExists = 2;
    rule.Execute = QStringLiteral("xdg-open \"%1\"");
    rules.push_back(rule);      // its reserved field stays NUL
    rules.erase(rules.begin()); // the defaults' empty row 0
    Rules.assign(std::move(rules));

    std::vector<udtProject> projects = SampleProjects();
    projects.erase(projects.begin());
    Projects.assign(std::move(projects));

    WatchFolders.assign({DefaultInboxRecord([] {
        return InboxInfo{true,
                         QStringLiteral("Inbox"),
                         QStringLiteral("Mail|Inbox"),
                         QStringLiteral("."),
                         QStringLiteral("/home/user/Mail"),
                         {}};
    })});

    udtProtoEntry entry;
    entry.Date = 45292.5;
    entry.Mail() = QStringLiteral("Ihre Rechnung");
    entry.EntryID() = QStringLiteral("1700000000.M1P2Q3.host");
    entry.StoreID() = QStringLiteral("/home/user/Mail");
    entry.Attachment() = QStringLiteral("Rechnung.pdf");
    entry.FileFormat() = QStringLiteral("PDF");
    entry.Sender() = QStringLiteral("billing@example.org");
    entry.Recipient() = QStringLiteral("user@example.org");
    entry.Rule() = QStringLiteral("Rechnungen");
    entry.Folder() = QStringLiteral("/home/user/Rechnungen/");
    entry.State() = QStringLiteral("S");
    ProtoEntries.assign({entry, entry});
    ProtoEntries[2].State() = QStringLiteral("! Path/File access error");

    std::vector<udtBlockedFormat> blocked = DefaultBlockedFormats();
    blocked.erase(blocked.begin());
    BlockedFormats.assign(std::move(blocked));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    Sandbox::init();
    const QString out = QFile::decodeName(argv[1]);
    if (!QDir().mkpath(out)) {
        std::fprintf(stderr, "cannot make %s\n", argv[1]);
        return 1;
    }
    FillTables();
    for (int i = 0; i < kDataTableCount; ++i)
        DataTableAt(i).markChanged();
    SaveData();
    for (int i = 0; i < kDataTableCount; ++i) {
        const char* extension = DataTableAt(i).extension;
        QFile data(DataFilePath(QLatin1String(extension)));
        QFile seed(out + QStringLiteral("/seed") + QLatin1String(extension));
        if (!data.open(QIODevice::ReadOnly) || !seed.open(QIODevice::WriteOnly)) {
            std::fprintf(stderr, "cannot copy %s\n", extension);
            return 1;
        }
        seed.write(QByteArray(1, char(i)) + data.readAll());
    }
    return 0;
}
