#pragma once
// Where the address chooser finds people: vCard folders (one .vcf per contact, as CardDAV sync
// tools write them) and the senders and recipients of the mails in the watched folders.
#include <QString>
#include <QStringList>

#include <vector>

struct AddressEntry {
    QString name;
    QString address;
    QString type;          // "SMTP" for an address, "GROUP" for a contact group
    bool distList = false; // a contact group
    bool invalid = false;  // the address can't be read (a damaged card, no usable address)
    QString file;          // the card's file; empty for an address seen in mail
};

struct AddressBook {
    QString name;   // as the chooser lists it
    QString folder; // the vCard folder; empty for the addresses seen in mail
    std::vector<AddressEntry> entries;
};

// The vCard folders that exist: ~/.local/share/contacts, ~/.contacts, and those of the setting
// VCardFolders (separated by ";"), each once.
QStringList VCardFolders();
// Every card below `folder` (sub-folders too, as sync tools keep one per collection), in file
// name order. A card that can't be read is listed as invalid and gets a LOG line.
std::vector<AddressEntry> ReadVCardFolder(const QString& folder);
// The cards of one .vcf file: an entry per e-mail address of each contact.
std::vector<AddressEntry> ParseVCards(const QByteArray& bytes, const QString& file);
// Senders and recipients of the mails in the watched folders, each address once (its first
// name kept), through the mail session.
std::vector<AddressEntry> MailAddresses();
// The vCard books, then the book of the addresses seen in mail.
std::vector<AddressBook> LoadAddressBooks();
// A new card in `folder` for `name` and `address`; its path, or empty when it can't be written
// (the folder is made first; an existing file is never replaced).
QString WriteVCard(const QString& folder, const QString& name, const QString& address);
