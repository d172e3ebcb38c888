#pragma once
// One watcher per active watched folder: a new item there reaches the driver.
#include "host/new_mail.h"

#include <QString>
#include <map>
#include <memory>

class clsFolderWrapper {
  public:
    clsFolderWrapper(MailFolderPtr folder, int16_t key, QString folderPath);

    // The folder route of a new item.
    void m_objItems_ItemAdd(const MailItemPtr& Item);

    int16_t Key() const { return m_key; }
    const QString& FolderPath() const { return m_folderPath; }
    const MailFolderPtr& Folder() const { return m_folder; }
    void setSubscription(std::unique_ptr<ItemAddSubscription> s) { m_subscription = std::move(s); }

  private:
    MailFolderPtr m_folder;
    int16_t m_key;
    QString m_location;
    QString m_folderPath;
    std::unique_ptr<ItemAddSubscription> m_subscription;
};

// All watchers by the decimal text of their key; keys are never reused.
extern std::map<QString, std::unique_ptr<clsFolderWrapper>> colFolderWrappers;
extern int32_t gFldKey;

// The source of new-mail events (the store), set at start.
void SetNewMailSource(NewMailSource* source);

// Rebuilds the watchers from WatchFolders.
void SetWatchFolders();
// Creates one watcher and returns its key as text.
QString FldWrapAdd(const MailFolderPtr& objFolder);
// Removes every watcher.
void KillFolderWrappers();

// While one lives, new-mail events wait instead of reaching the driver; they are handled once
// the last one ends. The owner of the data folder holds one while it runs a caller's command.
class WatchersPause {
  public:
    WatchersPause();
    ~WatchersPause();
    WatchersPause(const WatchersPause&) = delete;
    WatchersPause& operator=(const WatchersPause&) = delete;
};
// True while a watcher hands new mail to the driver.
bool WatcherBusy();
