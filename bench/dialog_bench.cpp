// The options dialog on a big protocol: how long it takes to open and show 100,000 entries,
// and to switch the protocol filter and its value. Not a test: it prints what it measured.
//   stowaway-dialog-bench [ENTRIES] [RUNS]    (QT_QPA_PLATFORM=offscreen by default)
#include "data/data_files.h"
#include "data/globals.h"
#include "dialogs/options/frm_stowaway.h"
#include "ui/user_interaction.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
// A protocol as a long life of the add-in leaves it: a few hundred senders, a year of days, a
// few dozen rules and folders, some test runs and errors; newest first.
void MakeProtocol(int entries) {
    std::vector<udtProtoEntry> rows;
    rows.reserve(size_t(entries));
    for (int i = 0; i < entries; ++i) {
        udtProtoEntry e;
        e.Date = 46000.0 - i * (365.0 / entries);
        e.Mail() = QStringLiteral("Invoice %1 for March").arg(i % 5000);
        e.Attachment() = QStringLiteral("document-%1.pdf").arg(i % 20000);
        e.FileFormat() = i % 7 ? QStringLiteral("PDF") : QStringLiteral("DOCX");
        e.Sender() = QStringLiteral("Sender %1").arg(i % 400);
        e.Recipient() = QStringLiteral("me%1@example.com").arg(i % 3);
        e.Rule() = i % 50 ? QStringLiteral("Rule %1").arg(i % 50) : QStringLiteral("SpecialRule");
        e.Folder() = QStringLiteral("/home/user/Documents/Saved/Folder %1/").arg(i % 40);
        e.Project() = i % 3 ? QString() : QStringLiteral("Project %1").arg(i % 12);
        e.State() = i % 97 ? QStringLiteral("S")
                           : (i % 2 ? QStringLiteral("T S") : QStringLiteral("! disk full"));
        rows.push_back(e);
    }
    ProtoEntries.assign(std::move(rows));
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double Ms(QElapsedTimer& t) {
    return double(t.nsecsElapsed()) / 1e6;
}
} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toLocal8Bit());
    QApplication app(argc, argv);
    const int entries = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 100000;
    const int runs = argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : 5;
    MakeProtocol(entries);

    std::vector<double> open;
    std::vector<std::vector<double>> filter(10), value(10);
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer t;
        t.start();
        frmStowaway form;
        form.Form_Load();
        form.show();
        QCoreApplication::processEvents(); // laid out and painted
        open.push_back(Ms(t));
        auto* clFilter = form.findChild<QComboBox*>(QStringLiteral("clFilter"));
        auto* clSelect = form.findChild<QComboBox*>(QStringLiteral("clSelect"));
        auto* lvProto = form.findChild<QTreeView*>(QStringLiteral("lvProto"));
        for (int f = 1; f < 10; ++f) {
            t.restart();
            clFilter->setCurrentIndex(f);
            QCoreApplication::processEvents();
            filter[size_t(f)].push_back(Ms(t));
            t.restart();
            clSelect->setCurrentIndex(std::min(1, clSelect->count() - 1));
            QCoreApplication::processEvents();
            value[size_t(f)].push_back(Ms(t));
            if (run == 0)
                std::printf("  filter %d: %d values, %d rows shown for the first\n", f,
                            clSelect->count() - 1, lvProto->model()->rowCount());
        }
        clFilter->setCurrentIndex(0);
    }
    std::printf("%d protocol entries, %d runs, medians:\n", entries, runs);
    std::printf("  open and show the dialog: %.1f ms (target < 1000 ms)\n", Median(open));
    double worst = 0;
    for (int f = 1; f < 10; ++f) {
        std::printf("  filter %d: choose %.1f ms, its first value %.1f ms\n", f,
                    Median(filter[size_t(f)]), Median(value[size_t(f)]));
        worst = std::max({worst, Median(filter[size_t(f)]), Median(value[size_t(f)])});
    }
    std::printf("  slowest filter step: %.1f ms (target < 300 ms)\n", worst);
    return 0;
}
