#include "host/address_sources.h"

#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"
#include "host/mail_store.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>
#include <QUuid>

namespace {
// A line of a card: "group.NAME;PARAM=x:value", folded lines joined.
struct ContentLine {
    QString name; // upper case, without its group
    QStringList params;
    QString value;
};

QByteArray DecodeQuotedPrintable(const QByteArray& in) {
    QByteArray out;
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in.at(i) == '=' && i + 2 < in.size()) {
            bool ok = false;
            const int byte = in.mid(i + 1, 2).toInt(&ok, 16);
            if (ok) {
                out += static_cast<char>(byte);
                i += 2;
                continue;
            }
        }
        out += in.at(i);
    }
    return out;
}

QString Unescape(const QString& value) {
    QString out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value.at(i) == QLatin1Char('\\') && i + 1 < value.size()) {
            const QChar next = value.at(++i);
            out += next == QLatin1Char('n') || next == QLatin1Char('N') ? QLatin1Char(' ') : next;
        } else {
            out += value.at(i);
        }
    }
    return out.trimmed();
}

std::vector<ContentLine> Unfold(const QByteArray& bytes) {
    std::vector<QByteArray> raw;
    for (QByteArray line : bytes.split('\n')) {
        if (line.endsWith('\r')) line.chop(1);
        if (!raw.empty() && (line.startsWith(' ') || line.startsWith('\t')))
            raw.back() += line.mid(1);
        else if (!raw.empty() && raw.back().endsWith('=') &&
                 raw.back().toUpper().contains("QUOTED-PRINTABLE"))
            raw.back() = raw.back().chopped(1) + line; // a soft break of vCard 2.1
        else
            raw.push_back(line);
    }
    std::vector<ContentLine> lines;
    for (const QByteArray& line : raw) {
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) continue;
        QList<QByteArray> head = line.left(colon).split(';');
        ContentLine cl;
        QByteArray name = head.takeFirst().trimmed().toUpper();
        if (const qsizetype dot = name.lastIndexOf('.'); dot >= 0) name = name.mid(dot + 1);
        cl.name = QString::fromLatin1(name);
        bool qp = false;
        for (const QByteArray& p : head) {
            cl.params << QString::fromUtf8(p).toUpper();
            qp = qp || p.toUpper().contains("QUOTED-PRINTABLE");
        }
        const QByteArray value = line.mid(colon + 1);
        cl.value = QString::fromUtf8(qp ? DecodeQuotedPrintable(value) : value);
        lines.push_back(cl);
    }
    return lines;
}

bool LooksLikeAddress(const QString& address) {
    const qsizetype at = address.indexOf(QLatin1Char('@'));
    return at > 0 && at < address.size() - 1 && !address.contains(QLatin1Char(' ')) &&
           address.count(QLatin1Char('@')) == 1;
}

AddressEntry Invalid(const QString& name, const QString& file) {
    AddressEntry e;
    e.name = name;
    e.type = QStringLiteral("SMTP");
    e.invalid = true;
    e.file = file;
    return e;
}

MailFolderPtr WatchedFolder(MailSession* session, const udtWatchFolder& wf) {
    Result<MailFolderPtr> folder = session->GetFolderFromID(wf.EntryID.get(), QString());
    if (folder.error || !folder.value)
        folder = session->GetFolderFromID(wf.EntryID.get(), wf.StoreID.get());
    return folder.error ? nullptr : folder.value;
}
} // namespace

std::vector<AddressEntry> ParseVCards(const QByteArray& bytes, const QString& file) {
    std::vector<AddressEntry> out;
    bool inCard = false;
    QString fn, n, org;
    QStringList emails;
    QStringList badEmails;
    bool group = false;
    int cards = 0;
    for (const ContentLine& line : Unfold(bytes)) {
        if (line.name == QLatin1String("BEGIN") &&
            line.value.trimmed().compare(QLatin1String("VCARD"), Qt::CaseInsensitive) == 0) {
            inCard = true;
            fn.clear();
            n.clear();
            org.clear();
            emails.clear();
            badEmails.clear();
            group = false;
            continue;
        }
        if (!inCard) continue;
        if (line.name == QLatin1String("FN")) {
            fn = Unescape(line.value);
        } else if (line.name == QLatin1String("N")) {
            // "Family;Given;Additional;Prefix;Suffix": given name first for a display name.
            const QStringList parts = line.value.split(QLatin1Char(';'));
            n = Unescape(parts.value(1) + QLatin1Char(' ') + parts.value(0));
        } else if (line.name == QLatin1String("ORG")) {
            org = Unescape(line.value.section(QLatin1Char(';'), 0, 0));
        } else if (line.name == QLatin1String("EMAIL")) {
            QString address = Unescape(line.value);
            if (address.startsWith(QLatin1String("mailto:"), Qt::CaseInsensitive))
                address = address.mid(7);
            (LooksLikeAddress(address) ? emails : badEmails) << address;
        } else if ((line.name == QLatin1String("KIND") ||
                    line.name == QLatin1String("X-ADDRESSBOOKSERVER-KIND")) &&
                   line.value.trimmed().compare(QLatin1String("group"), Qt::CaseInsensitive) == 0) {
            group = true;
        } else if (line.name == QLatin1String("END")) {
            inCard = false;
            ++cards;
            const QString name = !fn.isEmpty() ? fn : !n.isEmpty() ? n : org;
            if (group) {
                AddressEntry e;
                e.name = name;
                e.type = QStringLiteral("GROUP");
                e.distList = true;
                e.file = file;
                out.push_back(e);
                continue;
            }
            for (const QString& address : emails)
                out.push_back({name, address, QStringLiteral("SMTP"), false, false, file});
            // An address that isn't one can't be used: the row says so.
            for (const QString& address : badEmails)
                out.push_back(Invalid(name.isEmpty() ? address : name, file));
        }
    }
    if (cards == 0 || inCard) {
        WriteLog(QStringLiteral("! Contacts: no complete vCard in '") + file +
                 QStringLiteral("', listed as invalid"));
        out.push_back(Invalid(QFileInfo(file).completeBaseName(), file));
    }
    return out;
}

QStringList VCardFolders() {
    QStringList candidates{QDir::homePath() + QStringLiteral("/.local/share/contacts"),
                           QDir::homePath() + QStringLiteral("/.contacts")};
    const QString xdg = qEnvironmentVariable("XDG_DATA_HOME");
    if (!xdg.isEmpty()) candidates.prepend(xdg + QStringLiteral("/contacts"));
    for (const QString& f :
         GetSetting(QStringLiteral("VCardFolders"), QString()).split(QLatin1Char(';')))
        if (!f.trimmed().isEmpty()) candidates << f.trimmed();
    QStringList out;
    QSet<QString> seen;
    for (const QString& c : candidates) {
        const QFileInfo info(c);
        if (!info.isDir()) continue;
        const QString canonical = info.canonicalFilePath();
        if (seen.contains(canonical)) continue;
        seen.insert(canonical);
        out << QDir::cleanPath(c);
    }
    return out;
}

std::vector<AddressEntry> ReadVCardFolder(const QString& folder) {
    QStringList files;
    QDirIterator it(folder, {QStringLiteral("*.vcf"), QStringLiteral("*.VCF")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        files << it.next();
    files.sort();
    std::vector<AddressEntry> out;
    for (const QString& path : files) {
        QFile f(path);
        // A card is small; anything far larger is not one.
        if (!f.open(QIODevice::ReadOnly) || f.size() > 4 * 1024 * 1024) {
            WriteLog(QStringLiteral("! Contacts: can't read '") + path + QStringLiteral("'"));
            out.push_back(Invalid(QFileInfo(path).completeBaseName(), path));
            continue;
        }
        for (AddressEntry& e : ParseVCards(f.readAll(), path))
            out.push_back(std::move(e));
    }
    return out;
}

std::vector<AddressEntry> MailAddresses() {
    std::vector<AddressEntry> out;
    MailSession* session = gobjRDOSession();
    if (!session) return out;
    QSet<QString> seen;
    const auto add = [&](const QString& name, const QString& address) {
        const QString key = address.trimmed().toLower();
        if (key.isEmpty() || seen.contains(key)) return;
        seen.insert(key);
        AddressEntry e;
        e.name = name.trimmed().isEmpty() ? address.trimmed() : name.trimmed();
        e.address = address.trimmed();
        e.type = QStringLiteral("SMTP");
        e.invalid = !LooksLikeAddress(e.address);
        out.push_back(e);
    };
    for (int i = 1; i <= WatchFolders.count(); ++i) {
        const MailFolderPtr folder = WatchedFolder(session, WatchFolders[static_cast<size_t>(i)]);
        if (!folder) continue;
        for (const MailItemPtr& item : folder->Items().value) {
            if (!item) continue;
            add(item->SenderName().value, item->SenderEmailAddress().value);
            for (const Recipient& r : item->Recipients().value)
                add(r.Name, r.Address);
        }
    }
    return out;
}

std::vector<AddressBook> LoadAddressBooks() {
    std::vector<AddressBook> books;
    for (const QString& folder : VCardFolders())
        books.push_back({QDir::toNativeSeparators(folder), folder, ReadVCardFolder(folder)});
    books.push_back({QString(), QString(), MailAddresses()});
    return books;
}

QString WriteVCard(const QString& folder, const QString& name, const QString& address) {
    if (!QDir().mkpath(folder)) return {};
    const auto escape = [](QString v) {
        v.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
        v.replace(QLatin1Char(','), QLatin1String("\\,"));
        v.replace(QLatin1Char(';'), QLatin1String("\\;"));
        v.replace(QLatin1Char('\n'), QLatin1String("\\n"));
        return v;
    };
    const QString uid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QString path = QDir(folder).filePath(uid + QStringLiteral(".vcf"));
    if (QFileInfo::exists(path)) return {};
    const QString card = QStringLiteral("BEGIN:VCARD\r\nVERSION:3.0\r\nUID:") + uid +
                         QStringLiteral("\r\nFN:") + escape(name) + QStringLiteral("\r\nN:") +
                         escape(name) + QStringLiteral(";;;;\r\nEMAIL;TYPE=INTERNET:") +
                         escape(address) + QStringLiteral("\r\nEND:VCARD\r\n");
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly)) return {};
    f.write(card.toUtf8());
    return f.commit() ? path : QString();
}
