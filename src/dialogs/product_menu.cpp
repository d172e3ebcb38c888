#include "dialogs/product_menu.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "data/globals.h"
#include "dialogs/icons.h"
#include "ui/user_interaction.h"

#include <QAction>
#include <QIcon>
#include <QMenu>

namespace {
const char* const kTag = "Tag";
const char* const kCaption = "Caption";

// The icons behind the classic face ids: options, a rule's folder, a project's folder.
QIcon FaceIcon(int faceId) {
    switch (faceId) {
    case 222:
        return ThemeIcon({"preferences-system", "emblem-system", "preferences-other"});
    case 2554:
        return ThemeIcon({"folder-documents", "folder"});
    default:
        return ThemeIcon({"folder"});
    }
}

// "&" shows as itself, not as a mnemonic.
QString MenuText(const QString& caption) {
    QString text = caption;
    return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QAction* AddButton(QMenu& menu, const QString& caption, const QString& tag, int faceId) {
    QAction* action = menu.addAction(FaceIcon(faceId), MenuText(caption));
    action->setProperty(kTag, tag);
    action->setProperty(kCaption, caption);
    return action;
}

void AddFolderButtons(QMenu& folders) {
    if (Rules.count() == 0) {
        QAction* none =
            AddButton(folders, LangText(QStringLiteral("<Keine>"), QStringLiteral("<None>")),
                      QStringLiteral("QWKSWDir_0"), 2529);
        QObject::connect(none, &QAction::triggered, none, [none] {
            OpenRuleFolder(ActionTag(none), none->property(kCaption).toString());
        });
        return;
    }
    QString caption; // a rule whose project has gone keeps the previous rule's caption
    for (int i = 1; i <= Rules.count(); ++i) {
        const udtRule& rule = Rules[i];
        int faceId = 2529;
        if (rule.SaveBy != 3) {
            caption = rule.Folder.get().trimmed();
        } else {
            faceId = 2554;
            const QString project = rule.Folder.get().trimmed();
            for (int p = 1; p <= Projects.count(); ++p) {
                if (Projects[p].Name.get().trimmed().compare(project, Qt::CaseInsensitive) == 0) {
                    caption = Projects[p].Folder.get().trimmed();
                    break;
                }
            }
        }
        bool listed = false;
        for (const QAction* existing : folders.actions())
            if (existing->property(kCaption).toString().compare(caption, Qt::CaseInsensitive) == 0)
                listed = true;
        if (listed) continue;
        QAction* button = AddButton(folders, caption, QStringLiteral("QWKSWDir_%1").arg(i), faceId);
        QObject::connect(button, &QAction::triggered, button, [button] {
            OpenRuleFolder(ActionTag(button), button->property(kCaption).toString());
        });
    }
}
} // namespace

QString ActionTag(const QAction* action) {
    return action->property(kTag).toString();
}

void BuildProductMenu(QMenu& menu, const std::function<void()>& onOptions,
                      const std::function<void()>& onQuit) {
    menu.clear();
    QMenu* family = menu.addMenu(QStringLiteral("Quillworks"));
    family->setObjectName(QStringLiteral("mnuQuillworks"));
    QMenu* product = family->addMenu(MenuText(gAppShortName));
    product->setObjectName(QStringLiteral("mnuProduct"));
    product->menuAction()->setProperty(kTag, QStringLiteral("SWButton"));

    // "&&" shows as one "&", in Qt as on the classic command bar.
    QAction* options = product->addAction(
        FaceIcon(222), gAppShortName + LangText(QStringLiteral("-Optionen && Funktionen..."),
                                                QStringLiteral(" Options && Functions...")));
    options->setProperty(kTag, QStringLiteral("QWKSWOptions"));
    options->setObjectName(QStringLiteral("objMenuButton"));
    QObject::connect(options, &QAction::triggered, options, [onOptions] { onOptions(); });

    product->addSeparator(); // BeginGroup
    QMenu* folders = product->addMenu(
        MenuText(gAppShortName + LangText(QStringLiteral("-Ordner"), QStringLiteral(" folders"))));
    folders->setObjectName(QStringLiteral("objFoldersPopup"));
    folders->menuAction()->setProperty(kTag, QStringLiteral("QWKSWDirs"));
    AddFolderButtons(*folders);

    menu.addSeparator();
    QAction* quit = menu.addAction(ThemeIcon({"application-exit", "system-shutdown"}),
                                   LangText(QStringLiteral("Beenden"), QStringLiteral("Quit")));
    quit->setObjectName(QStringLiteral("mnuQuit"));
    QObject::connect(quit, &QAction::triggered, quit, [onQuit] { onQuit(); });
}

void OpenRuleFolder(const QString& tag, const QString& caption) {
    if (!tag.startsWith(QLatin1String("QWKSWDir")) || caption.startsWith(QLatin1Char('<'))) {
        ui().beep();
        return;
    }
    ui().openWithShell(StripBackslash(caption));
    ui().pumpEvents();
}
