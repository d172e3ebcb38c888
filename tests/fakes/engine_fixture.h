#pragma once
// Every engine test: a fresh home, an in-memory store with a "Maildir" store and its "Inbox",
// a scripted user, a real temporary target folder, no pause after changed mails.
#include "fakes/fake_mail_store.h"
#include "fakes/scripted_ui.h"
#include "support/builders.h"
#include "support/test_env.h"

#include "common/ansi.h"
#include "common/dates.h"
#include "common/folders.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"
#include "engine/driver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

class EngineTest : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        session = std::make_shared<FakeMailSession>();
        SetMailSession(session.get());
        SetUserInteraction(&user);
        SaveSetting(QStringLiteral("PaceSeconds"), QStringLiteral("0"));
        NotifyTime = 0;
        store = session->addStore(QStringLiteral("Maildir"), QStringLiteral("/mail"));
        inbox = store->addFolder(QStringLiteral("Inbox"));
        root = targets.path();
    }
    void TearDown() override {
        SetMailSession(nullptr);
        SetUserInteraction(nullptr);
    }

    // An active rule that saves everything to `folder`, replacing existing files.
    static udtRule MakeRule(const QString& name, const QString& folder) {
        return ::MakeRule(name, SaveBy::Folder, folder, FileExists::Replace);
    }
    udtRule& addRule(const udtRule& rule) {
        Rules.append(rule);
        return Rules[Rules.count()];
    }
    udtRule& addRule(const QString& name, const QString& subfolder = QStringLiteral("out")) {
        return addRule(MakeRule(name, root + QLatin1Char('/') + subfolder));
    }
    void addProject(const QString& name, const QString& folder) {
        Projects.append(MakeProject(name, folder));
    }

    static double Date(int y, int m, int d, int h = 10, int min = 30) {
        return DateToOle(QDateTime(QDate(y, m, d), QTime(h, min)));
    }
    // An unread mail from Anna Berg to Carl Dorn with the given attachments.
    FakeMessagePtr addMail(const QString& subject, const QStringList& attachments,
                           FakeFolderPtr folder = nullptr) {
        FakeMessageData data;
        data.subject = subject;
        data.senderName = QStringLiteral("Anna Berg");
        data.senderAddress = QStringLiteral("anna@berg.example");
        data.recipients = {{QStringLiteral("Carl Dorn"), QStringLiteral("carl@dorn.example")},
                           {QStringLiteral("Eva Fink"), QStringLiteral("eva@fink.example")}};
        data.receivedTime = Date(2024, 3, 15);
        data.body = QStringLiteral("Hello");
        FakeMessagePtr message = (folder ? folder : inbox)->addMessage(data);
        for (const QString& name : attachments)
            message->addAttachment(name, name.toUtf8() + " content");
        return message;
    }

    // A real run (or a test run) over the inbox, as the run button makes it.
    bool runFolder(bool test = false, FakeFolderPtr folder = nullptr) {
        SWTest = test;
        SWRun = !test;
        const bool result = StowawayNow(folder ? folder : inbox, nullptr, nullptr);
        SWRun = false;
        return result;
    }
    // The new-mail path: one item, no summary.
    bool runItem(const FakeMessagePtr& message, udtRule* special = nullptr) {
        const MailItemPtr item = inbox->itemFor(message);
        if (special) return StowawayNow(nullptr, item, nullptr, *special);
        return StowawayNow(nullptr, item, nullptr);
    }

    QString out(const QString& relative = QStringLiteral("out")) const {
        return root + QLatin1Char('/') + relative;
    }
    // A file in the default target folder "out".
    QString outFile(const QString& name) const { return out() + QLatin1Char('/') + name; }
    static QStringList filesIn(const QString& dir) {
        return QDir(dir).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    static QStringList logLines() { return LogLinesWithoutStamps(); }
    // The protocol, newest first.
    static std::vector<udtProtoEntry> proto() { return {ProtoEntries.begin(), ProtoEntries.end()}; }

    std::shared_ptr<FakeMailSession> session;
    ScriptedUserInteraction user;
    FakeFolderPtr store;
    FakeFolderPtr inbox;
    QTemporaryDir targets;
    QString root;
};
