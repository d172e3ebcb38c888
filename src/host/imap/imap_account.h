#pragma once
// An IMAP account as the user names it: imap://user@host[:port] (TLS), imap+starttls://...,
// imap+plain://... (loopback only), with ?auth=xoauth2 for an OAuth2 token in place of the
// password; and where its secret comes from.
#include "host/imap/imap_connection.h"
#include "host/store_spec.h"

#include <QUrl>

struct ImapAccount {
    QString user;
    ImapEndpoint endpoint;
    bool xoauth2 = false;
    // "imap://user@host:port", the store's id; the same for every way of securing it.
    QString storeId() const;
    // "user@host", the name of the store's top folder.
    QString displayName() const;
};

Result<ImapAccount> ParseImapUrl(const QString& text);

// The secret: the first line of what `command` writes (run by /bin/sh), else the desktop's
// secret service through secret-tool (attributes service=stowaway, user, host). Never logged.
Result<QByteArray> ReadImapSecret(const ImapAccount& account, const QString& command);
