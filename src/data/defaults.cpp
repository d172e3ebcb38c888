#include "data/defaults.h"

#include "common/folders.h"
#include "common/lang.h"
#include "ui/user_interaction.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {
QString T(const char* german, const char* english) {
    return LangText(QString::fromUtf8(german), QString::fromUtf8(english));
}

QString DocumentsFolder() {
    return GetSpecialFolder(Csidl::Personal) + QLatin1Char('/');
}

// A rule with every text blank (the reserved bytes stay untouched) and the switches shared by
// all samples.
udtRule BlankSampleRule() {
    udtRule r;
    r.Active = vbTrue;
    r.Name = QString();
    r.Sender = QString();
    r.Recipient = QString();
    r.Subject = QString();
    r.FileFormat = QString();
    r.Folder = QString();
    r.Execute = QString();
    r.CheckFileFormat = vbFalse;
    r.FileExists = FileExists::Ask;
    return r;
}
} // namespace

std::vector<udtRule> SampleRules() {
    std::vector<udtRule> rules(5);

    udtRule& byDate = rules[1];
    byDate = BlankSampleRule();
    byDate.Name = T("Testregel #1", "Test rule #1");
    byDate.CheckSender = vbTrue;
    byDate.Sender = QStringLiteral("invoices@example.com");
    byDate.SaveBy = SaveBy::Date;
    byDate.SaveFormat = SaveFormat::YearMonthDay;
    byDate.Folder = DocumentsFolder() + T("Mail-Anhänge", "Mail Attachments");
    byDate.DelAttach = vbTrue;
    byDate.Notify = vbTrue;

    udtRule& bySender = rules[2];
    bySender = BlankSampleRule();
    bySender.Name = T("Testregel #2", "Test rule #2");
    bySender.CheckRecp = vbTrue;
    bySender.Recipient = QStringLiteral("projects@example.org");
    bySender.SaveBy = SaveBy::Sender;
    bySender.SaveFormat = SaveFormat::Name;
    bySender.Folder = DocumentsFolder() + T("Mail-Anhänge", "Mail Attachments");
    bySender.DelAttach = vbTrue;
    bySender.Hyperlink = vbTrue;

    udtRule& byProject = rules[3];
    byProject = BlankSampleRule();
    byProject.Name = T("Testregel #3", "Test rule #3");
    byProject.CheckSubj = vbTrue;
    byProject.Subject = T("Neues Projektlogo", "New project logo");
    byProject.SaveBy = SaveBy::Project;
    byProject.SaveFormat = 0;
    byProject.Folder = T("Projekt-Logos", "Project logos");
    byProject.Execute = QStringLiteral("xdg-open '%1'");
    byProject.Notify = vbTrue;

    // Matches everything, so it comes last and neither deletes nor links.
    udtRule& fallback = rules[4];
    fallback = BlankSampleRule();
    fallback.Name = T("<Standardregel>", "<Default Rule>");
    fallback.SaveBy = SaveBy::Date;
    fallback.SaveFormat = SaveFormat::YearMonthDay;
    fallback.Folder = DocumentsFolder() + T("Stowaway-Anhänge", "Stowaway Attachments");
    fallback.Notify = vbTrue;

    return rules;
}

std::vector<udtProject> SampleProjects() {
    std::vector<udtProject> projects(3);
    projects[1].Name = T("Projekt-Logos", "Project logos");
    projects[1].Folder =
        GetSpecialFolder(Csidl::AppData) + QLatin1Char('/') + projects[1].Name.get();
    projects[2].Name = T("Beispielwerk GmbH", "Samplewright Inc.");
    projects[2].Folder = DocumentsFolder() + projects[2].Name.get();
    return projects;
}

udtWatchFolder DefaultInboxRecord(const InboxLookup& inbox) {
    InboxInfo info;
    if (inbox)
        info = inbox();
    else
        info.errorDescription = QStringLiteral("no mail store");

    udtWatchFolder w;
    if (info.ok) {
        w.Active = vbTrue;
        w.Name = info.name;
        w.Path = info.path;
        w.StoreID = info.storeId;
        w.EntryID = info.entryId;
        return w;
    }

    ui().beep();
    ui().messageBox(
        T("LoadData: Zugriff auf Posteingang nicht möglich!", "LadData: Can't access inbox!") +
            QStringLiteral("\n\n") + info.errorDescription,
        MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
    w.Active = vbFalse;
    w.Name = T("Posteingang - Fehler!", "Inbox - Error!");
    w.Path = T("Kein Zugriff möglich: ", "Access denied: ") + info.errorDescription;
    w.EntryID = QString();
    w.StoreID = QString();
    return w;
}

udtBlockedFormat AddBlockedFormat(const QString& ext, const QString& description, bool system) {
    udtBlockedFormat b;
    b.Extension = ext.toUpper(); // the field keeps 3 characters
    b.Description = description; // and 30 here
    b.Active = vbTrue;
    b.System = ToVb(system);
    return b;
}

std::vector<udtBlockedFormat> DefaultBlockedFormats() {
    static const char* const kTable[][2] = {
        {"ADE", "Access-Bibliothek"},
        {"ADP", "Access-Projekt"},
        {"APP", "FoxPro-Anwendung"},
        {"BAS", "Visual Basic-Modul"},
        {"BAT", "Batch-Datei"},
        {"CHM", "HTML-Hilfedatei"},
        {"CMD", "Batch-Datei"},
        {"COM", "Ausführbares MS-DOS-Programm"},
        {"CPL", "Kontrollfeld"},
        {"CRT", "Sicherheitszertifikat"},
        {"CSH", "Unix Shellscript"},
        {"EXE", "Ausführbares Windows-Programm"},
        {"FXP", "FoxPro-Datei"},
        {"HLP", "Hilfe-Datei"},
        {"HTA", "HTML-Script"},
        {"INF", "Setup-Informationen"},
        {"INS", "Internet Naming Services"},
        {"ISP", "Internet Communication Settings"},
        {"JS", "JScript-Datei"},
        {"JSE", "JScript-Datei (Verschlüsselt)"},
        {"KSH", "Unix Shellscript"},
        {"LNK", "Verknüpfung"},
        {"MDA", "Access-Add-In"},
        {"MDB", "Access-Datenbank"},
        {"MDE", "Access-Bibliothek"},
        {"MDT", "Access-Datendatei"},
        {"MDW", "Access-Arbeitsgruppeninfos"},
        {"MDZ", "Access-Assistenten"},
        {"MSC", "Common Console Document"},
        {"MSI", "Windows Installer Package"},
        {"MSP", "Windows Installer Patch"},
        {"MST", "MS Visual Test-Quellcode"},
        {"OPS", "FoxPro-Datei"},
        {"PCD", "Photo CD-/MS Visual Test-Script"},
        {"PIF", "MS-DOS-Verknüpfung"},
        {"PRF", "Outlook Profile Settings"},
        {"PRG", "FoxPro-Quellcode"},
        {"REG", "Registry-Einstellungen"},
        {"SCF", "Windows Explorer Script"},
        {"SCR", "Bildschirmschoner"},
        {"SCT", "Windows Script"},
        {"SHB", "Dokument-Verknüpfung"},
        {"SHS", "Shell Scrapobject"},
        {"URL", "Internet-Adresse"},
        {"VB", "VBScript"},
        {"VBE", "VBScript (Verschlüsselt)"},
        {"VBS", "VBScript"},
        {"WSC", "Windows Script"},
        {"WSF", "Windows Script"},
        {"WSH", "Windows Script"},
        {"XSL", "XML-Datei/Script"},
    };
    std::vector<udtBlockedFormat> rows(1);
    rows.reserve(std::size(kTable) + 1);
    for (const auto& row : kTable)
        rows.push_back(
            AddBlockedFormat(QString::fromUtf8(row[0]), QString::fromUtf8(row[1]), true));
    return rows;
}

QString InstalledManualPath() {
    return QStringLiteral("/usr/share/doc/stowaway/README.md");
}

QString DefaultManual() {
    const QString besideProgram =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/doc/stowaway/README.md");
    for (const QString& candidate :
         {besideProgram, InstalledManualPath(), QStringLiteral(STOWAWAY_SOURCE_README)})
        if (QFileInfo(candidate).isFile()) return QDir::cleanPath(candidate);
    return InstalledManualPath();
}
