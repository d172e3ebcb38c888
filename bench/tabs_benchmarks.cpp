// Benchmarks of the options dialog's long lists, on real folders in the temporary folder (kept
// between runs), under the offscreen platform:
//   SearchList/10000         the Search tab lists a folder of 10,000 files: the walk, the sort,
//                            the model and the painted view
//   ExtrasFirstLook/20000    the Extras tab's list of a folder of 20,000 mails, a fresh session
//   ExtrasSecondLook/20000   the same list again in the same session, from the store's cache
#include "corpus.h"

#include "data/globals.h"
#include "data/rule_codes.h"
#include "dialogs/options/extras_page.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/search_page.h"
#include "host/maildir/maildir_session.h"
#include "ui/user_interaction.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>

#include <benchmark/benchmark.h>

namespace {

QTemporaryDir& Home() {
    static QTemporaryDir home(QDir::tempPath() + QStringLiteral("/stowaway-dialog-bench-XXXXXX"));
    return home;
}

constexpr int kFiles = 10000;
QString FileFolder() {
    const QString dir = QDir::tempPath() + QStringLiteral("/stowaway-bench-files-10000");
    if (QFile::exists(dir + QStringLiteral("/.complete"))) return dir;
    QDir(dir).removeRecursively();
    QDir().mkpath(dir);
    for (int i = 0; i < kFiles; ++i) {
        QFile f(dir + QStringLiteral("/Rechnung %1.pdf").arg(i, 5, 10, QLatin1Char('0')));
        if (!f.open(QIODevice::WriteOnly)) return {};
        f.write(QByteArray(i % 5000, 'x'));
    }
    QFile(dir + QStringLiteral("/.complete")).open(QIODevice::WriteOnly);
    return dir;
}

constexpr int kMails = 20000;
QString MailFolder() {
    const QString dir = QDir::tempPath() + QStringLiteral("/stowaway-bench-mails-20000");
    if (QFile::exists(dir + QStringLiteral("/complete"))) return dir;
    QDir(dir).removeRecursively();
    CorpusOptions options;
    options.mails = kMails;
    options.seed = 11;
    options.minBinary = 1024;
    options.medianBinary = 8 * 1024;
    options.maxBinary = 64 * 1024;
    CorpusTotals totals;
    QString error;
    if (!WriteCorpus(dir, options, totals, error)) return {};
    QFile(dir + QStringLiteral("/complete")).open(QIODevice::WriteOnly);
    return dir;
}

void SearchListRun(benchmark::State& state) {
    const QString dir = FileFolder();
    if (dir.isEmpty()) return state.SkipWithError("cannot write the folder");
    ResetGlobals();
    udtRule rule;
    rule.SaveBy = SaveBy::Folder;
    rule.Folder = dir;
    Rules.assign({rule});
    frmStowaway form;
    form.Form_Load();
    form.show();
    form.showTab(2);
    SearchPage* page = form.searchPage();
    for (auto _ : state) {
        page->InitStowawayFolderList();
        page->lvFiles->viewport()->repaint();
    }
    if (page->lvFiles->model()->rowCount() != kFiles + 1)
        state.SkipWithError("the list does not hold every file");
    state.SetItemsProcessed(state.iterations() * kFiles);
}
BENCHMARK(SearchListRun)->Name("SearchList/10000")->Unit(benchmark::kMillisecond);

// A user who picks the inbox of the benchmark's store, and sees nothing else.
class Picker : public UserInteraction {
  public:
    void beep() override {}
    MsgAnswer messageBox(const QString&, MsgButtons, MsgIcon, const QString&) override {
        return MsgAnswer::OK;
    }
    int msgBoxEx(const MsgBoxExRequest&) override { return 1; }
    QString chooseSaveFile(const SaveFileRequest&) override { return {}; }
    QString pickMailFolder(const QString&) override { return QStringLiteral("Bench|Inbox"); }
    bool playSound(const QString&) override { return true; }
    bool openWithShell(const QString&) override { return true; }
    void showTrayNotification(const TrayNotification&) override {}
    void pumpEvents() override {}
    void setBusy(bool) override {}
};

// The list of the whole folder by the Extras tab in a fresh session; with `second`, the time of
// a second look in the same session.
void ExtrasLook(benchmark::State& state, bool second) {
    const QString dir = MailFolder();
    if (dir.isEmpty()) return state.SkipWithError("cannot write the mail folder");
    ResetGlobals();
    for (auto _ : state) {
        state.PauseTiming();
        auto session = std::make_unique<MaildirSession>(
            std::vector<MaildirSession::StoreSpec>{{dir, QStringLiteral("Bench")}});
        SetMailSession(session.get());
        frmStowaway form;
        form.Form_Load();
        form.showTab(3);
        ExtrasPage* page = form.extrasPage();
        page->obSaveMode[1]->setChecked(true);
        const auto pick = [&] {
            Picker picker;
            SetUserInteraction(&picker);
            page->btnSaveOutlFolder->click();
            SetUserInteraction(nullptr);
        };
        if (second) pick();
        state.ResumeTiming();
        pick();
        state.PauseTiming();
        if (page->lvMails->model()->rowCount() < kMails / 2)
            state.SkipWithError("the list misses mails");
        SetMailSession(nullptr);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kMails);
}
void ExtrasFirstLookRun(benchmark::State& state) {
    ExtrasLook(state, false);
}
void ExtrasSecondLookRun(benchmark::State& state) {
    ExtrasLook(state, true);
}
BENCHMARK(ExtrasFirstLookRun)
    ->Name("ExtrasFirstLook/20000")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(ExtrasSecondLookRun)
    ->Name("ExtrasSecondLook/20000")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

} // namespace

int main(int argc, char** argv) {
    qputenv("HOME", Home().path().toUtf8());
    qputenv("XDG_DATA_HOME", (Home().path() + QStringLiteral("/data")).toUtf8());
    qputenv("XDG_CONFIG_HOME", (Home().path() + QStringLiteral("/config")).toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
