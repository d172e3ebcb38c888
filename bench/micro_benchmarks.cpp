// Micro-benchmarks of the engine's hot spots, on real files in a private temporary home:
//   AddProto/N          N protocol records added, then the one save at the end of the run
//   LoadData/100000     the start of a program whose protocol holds 100,000 records; its
//                       counters give the heap a record costs, and how much of it is text
//   NewMailEvent/N      one driver walk over a watched folder of N processed mails (the work
//                       of one new-mail event beside the new mail itself), the session warm
//   FullParse           the store's parse of every mail of the folder of 10,000
//   MatchesRule         one rule with sender, recipient and subject criteria on one mail
#include "corpus.h"
#include "floor_work.h"

#include "data/data_files.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "engine/driver.h"
#include "engine/matching.h"
#include "host/maildir/maildir_session.h"
#include "host/mime/parsed_mail.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <malloc.h>

namespace {

QTemporaryDir& Home() {
    static QTemporaryDir home(QDir::tempPath() + QStringLiteral("/stowaway-micro-XXXXXX"));
    return home;
}

udtProtoEntry SampleEntry(int i) {
    udtProtoEntry e;
    e.Date = 45300.5 + i / 1000.0;
    e.Mail() = QStringLiteral("Unterlagen Nr. %1 – Größe und Übersicht").arg(i);
    e.EntryID() = QStringLiteral("1704096000.C%1S1.corpus").arg(i, 6, 10, QLatin1Char('0'));
    e.StoreID() = QStringLiteral("/home/user/Maildir");
    e.Attachment() = QStringLiteral("Rechnung März-%1-1.pdf").arg(i, 5, 10, QLatin1Char('0'));
    e.FileFormat() = QStringLiteral("PDF");
    e.Sender() = QStringLiteral("Buchhaltung Müller GmbH (rechnung@mueller.example)");
    e.Recipient() = QStringLiteral("Sample Recipient (recipient@example.org)");
    e.Rule() = QStringLiteral("Rechnungen");
    e.Folder() = QStringLiteral("/home/user/Documents/Rechnungen/");
    e.Project() = QString();
    e.State() = QStringLiteral("S");
    return e;
}

void AddProtoRun(benchmark::State& state) {
    const int n = int(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        ResetGlobals();
        QFile::remove(DataFilePath(QStringLiteral(".prt")));
        state.ResumeTiming();
        for (int i = 0; i < n; ++i)
            AddProto(SampleEntry(i));
        FlushProtocol();
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(AddProtoRun)
    ->Name("AddProto")
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void LoadDataRun(benchmark::State& state) {
    const int n = int(state.range(0));
    ResetGlobals();
    {
        QByteArray bytes;
        bytes.reserve(qsizetype(n) * kProtoRecordSize);
        for (int i = 0; i < n; ++i)
            bytes += EncodeProtoEntry(SampleEntry(i));
        QFile file(DataFilePath(QStringLiteral(".prt")));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(bytes) != bytes.size()) {
            state.SkipWithError("cannot write the protocol file");
            return;
        }
    }
    for (auto _ : state) {
        LoadData([] { return InboxInfo{}; });
        if (ProtoEntries.count() != n) state.SkipWithError("the protocol did not load whole");
    }
    // The heap of the loaded protocol, counted by the allocator (records, their text, the
    // table's blocks), against the bytes of text the records hold.
    ProtoEntries.clear();
    const size_t before = mallinfo2().uordblks;
    LoadData([] { return InboxInfo{}; });
    const double heap = double(mallinfo2().uordblks - before);
    double text = 0;
    for (const udtProtoEntry& e : ProtoEntries)
        for (QByteArrayView field :
             {e.Mail().utf8(), e.EntryID().utf8(), e.StoreID().utf8(), e.Attachment().utf8(),
              e.FileFormat().utf8(), e.Sender().utf8(), e.Recipient().utf8(), e.Rule().utf8(),
              e.Folder().utf8(), e.Project().utf8(), e.State().utf8()})
            text += double(field.size());
    state.counters["heap_per_record"] = heap / n;
    state.counters["text_per_record"] = text / n;
    state.counters["beyond_text"] = (heap - text) / n;
    QFile::remove(DataFilePath(QStringLiteral(".prt")));
}
BENCHMARK(LoadDataRun)->Name("LoadData")->Arg(100000)->Unit(benchmark::kMillisecond);

// A folder of processed mails with smaller attachments than the peers' corpus (1 KB to 64 KB,
// median 8 KB), kept between runs of the benchmark program.
constexpr int kFolderMails = 10000;
QString ProcessedFolder(int mails = kFolderMails) {
    const QString dir =
        QDir::tempPath() + QStringLiteral("/stowaway-micro-processed-%1").arg(mails);
    if (QFile::exists(dir + QStringLiteral("/complete"))) return dir;
    QDir(dir).removeRecursively();
    CorpusOptions options;
    options.mails = mails;
    options.seed = 7;
    options.stamped = true;
    options.minBinary = 1024;
    options.medianBinary = 8 * 1024;
    options.maxBinary = 64 * 1024;
    CorpusTotals totals;
    QString error;
    if (!WriteCorpus(dir, options, totals, error)) return {};
    QFile(dir + QStringLiteral("/complete")).open(QIODevice::WriteOnly);
    return dir;
}

udtRule EverythingRule() {
    udtRule r;
    r.Active = vbTrue;
    r.Name = QStringLiteral("Everything");
    r.SaveBy = 4;
    r.Folder = Home().path() + QStringLiteral("/out");
    r.FileExists = 1;
    return r;
}

void NewMailEventRun(benchmark::State& state) {
    const int mails = int(state.range(0));
    const QString dir = ProcessedFolder(mails);
    if (dir.isEmpty()) return state.SkipWithError("cannot write the mail folder");
    ResetGlobals();
    Rules.assign({EverythingRule()});
    MaildirSession session({{dir, QStringLiteral("Bench")}});
    SetMailSession(&session);
    const MailFolderPtr inbox = session.GetDefaultInbox().value;
    // Watched, as in `stowaway watch`: the watcher keeps the store's view of the folder.
    auto watch = session.SubscribeItemAdd(inbox, [](const MailItemPtr&) {});
    if (!watch.ok()) return state.SkipWithError("cannot watch the mail folder");
    StowawayNow(inbox, nullptr, nullptr); // the session has now seen every mail once
    for (auto _ : state)
        benchmark::DoNotOptimize(StowawayNow(inbox, nullptr, nullptr));
    if (ProtoEntries.count() != 0) state.SkipWithError("a processed mail was processed again");
    SetMailSession(nullptr);
    state.SetItemsProcessed(state.iterations() * mails);
}
BENCHMARK(NewMailEventRun)
    ->Name("NewMailEvent")
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void FullParseRun(benchmark::State& state) {
    const QString dir = ProcessedFolder();
    if (dir.isEmpty()) return state.SkipWithError("cannot write the mail folder");
    const QStringList files = MailFiles(dir);
    for (auto _ : state) {
        for (const QString& file : files) {
            auto parsed = ParsedMail::LoadFile(file, nullptr);
            benchmark::DoNotOptimize(parsed.value ? parsed.value->structure().attachments.size()
                                                  : 0);
        }
    }
    state.SetItemsProcessed(state.iterations() * files.size());
}
BENCHMARK(FullParseRun)->Name("FullParse/10000")->Unit(benchmark::kMillisecond);

void MatchesRuleRun(benchmark::State& state) {
    const QString dir = ProcessedFolder();
    if (dir.isEmpty()) return state.SkipWithError("cannot write the mail folder");
    MaildirSession session({{dir, QStringLiteral("Bench")}});
    SetMailSession(&session);
    const std::vector<MailItemPtr> items = session.GetDefaultInbox().value->Items().value;
    udtRule rule = EverythingRule();
    rule.CheckSender = vbTrue;
    rule.Sender = QStringLiteral("mueller.example");
    rule.CheckRecp = vbTrue;
    rule.Recipient = QStringLiteral("recipient@example.org");
    rule.CheckSubj = vbTrue;
    rule.Subject = QStringLiteral("Übersicht");
    QString senderName, senderAddress, recipientName, recipientAddress;
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(MatchesRule(items[i++ % 64], rule, senderName, senderAddress,
                                             recipientName, recipientAddress));
    }
    SetMailSession(nullptr);
}
BENCHMARK(MatchesRuleRun)->Name("MatchesRule")->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    // Everything the program writes goes to a private home.
    qputenv("HOME", Home().path().toUtf8());
    qputenv("XDG_DATA_HOME", (Home().path() + QStringLiteral("/data")).toUtf8());
    qputenv("XDG_CONFIG_HOME", (Home().path() + QStringLiteral("/config")).toUtf8());
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
