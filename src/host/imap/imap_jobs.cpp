#include "host/imap/imap_jobs.h"

#include "data/log.h"
#include "host/imap/imap_line_ends.h"

#include <QStringDecoder>
#include <QTimeZone>

ImapArg ImapString(const QByteArray& text) {
    if (std::optional<QByteArray> quoted = QuoteImapString(text)) return {*quoted, false};
    return {text, true};
}

namespace {

OpError BadAnswer(const QString& why) {
    return OpError::make(ErrNo::Failed,
                         QStringLiteral("The IMAP server sent malformed data: ") + why);
}

QByteArray FlagList(const QList<QByteArray>& flags) {
    return '(' + flags.join(' ') + ')';
}

// One odd answer among good ones: said, and the rest of the command goes on.
void PassOver(const QString& what, const ImapResponse& r) {
    QByteArray shown;
    for (const ImapValue& v : r.data)
        shown += (shown.isEmpty() ? "" : " ") +
                 (v.kind == ImapValue::Kind::List ? QByteArray("(...)") : v.asBytes().left(80));
    WriteLog(QStringLiteral("! IMAP: passed over %1: * %2").arg(what, ImapPrintable(shown, 200)));
}

// The decoded name: modified UTF-7, else UTF-8 as IMAP4rev2 and UTF8=ACCEPT servers send it (an
// ASCII name that is not good modified UTF-7 is taken as it is); null when neither.
QString MailboxNameFromServer(const QByteArray& raw) {
    if (raw.compare("INBOX", Qt::CaseInsensitive) == 0) return QStringLiteral("INBOX");
    bool ok = false;
    const QString name = DecodeMailboxName(raw, &ok);
    if (ok) return name;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(raw);
    if (utf8.hasError() || text.contains(QChar(0))) return {};
    return text;
}

// Adds the UIDs of a set ("4:6,9"); false for a set it cannot read or one of more UIDs than the
// client holds in one answer.
bool AddUidSet(const QByteArray& set, std::vector<quint64>& uids) {
    constexpr quint64 kMostUids = 10'000'000;
    std::vector<quint64> found;
    for (const QByteArray& range : set.split(',')) {
        const QList<QByteArray> ends = range.split(':');
        bool ok1 = false, ok2 = true;
        quint64 first = ends[0].toULongLong(&ok1);
        quint64 last = ends.size() == 2 ? ends[1].toULongLong(&ok2) : first;
        if (!ok1 || !ok2 || ends.size() > 2 || first == 0 || last == 0) return false;
        if (first > last) std::swap(first, last);
        if (last - first >= kMostUids - found.size()) return false;
        for (quint64 uid = first; uid <= last; ++uid)
            found.push_back(uid);
    }
    uids.insert(uids.end(), found.begin(), found.end());
    return true;
}

} // namespace

std::vector<ImapArg> LoginJob::command() const {
    std::vector<ImapArg> args{{"LOGIN "}, ImapString(user_), {" "}, ImapString(pass_)};
    return args;
}

AuthenticateJob::AuthenticateJob(Mechanism mechanism, const QByteArray& user,
                                 const QByteArray& secret, bool saslIr)
    : mechanism_(mechanism), saslIr_(saslIr) {
    const QByteArray raw = mechanism == Mechanism::Plain
                               ? QByteArray(1, '\0') + user + QByteArray(1, '\0') + secret
                               : "user=" + user +
                                     "\x01"
                                     "auth=Bearer " +
                                     secret + "\x01\x01";
    initial_ = raw.toBase64();
}

QByteArray AuthenticateJob::name() const {
    return mechanism_ == Mechanism::Plain ? "AUTHENTICATE PLAIN" : "AUTHENTICATE XOAUTH2";
}

std::vector<ImapArg> AuthenticateJob::command() const {
    QByteArray line =
        "AUTHENTICATE " + QByteArray(mechanism_ == Mechanism::Plain ? "PLAIN" : "XOAUTH2");
    if (saslIr_) line += ' ' + initial_;
    return {{line}};
}

bool AuthenticateJob::continuation(const ImapResponse&, QByteArray* reply) {
    // The first go-ahead asks for the initial response; a later one carries the server's error
    // (XOAUTH2), which is answered with an empty line so that the tagged NO follows.
    *reply = (!saslIr_ && !sent_) ? initial_ : QByteArray();
    sent_ = true;
    return true;
}

std::vector<ImapArg> ListJob::command() const {
    return {{"LIST \"\" "}, ImapString(pattern_)};
}

void ListJob::untagged(const ImapResponse& r) {
    if (r.data.empty() || !r.data[0].isAtom("LIST")) return;
    // LIST (flags) delimiter name [extended items (RFC 5258), passed over]
    const bool wellFormed =
        r.data.size() >= 4 && r.data[1].kind == ImapValue::Kind::List &&
        (r.data[2].kind == ImapValue::Kind::Nil ||
         (r.data[2].kind == ImapValue::Kind::String && r.data[2].text.size() <= 1)) &&
        r.data[3].kind != ImapValue::Kind::List;
    if (!wellFormed) {
        PassOver(QStringLiteral("a LIST answer that is not (flags) delimiter name"), r);
        return;
    }
    ImapMailbox box;
    for (const ImapValue& f : r.data[1].list)
        box.flags.insert(f.text.toUpper());
    if (r.data[2].kind == ImapValue::Kind::String && r.data[2].text.size() == 1)
        box.delimiter = QLatin1Char(r.data[2].text[0]);
    // Any astring names a mailbox: an atom, a number ("2024"), NIL, a quoted string, a literal.
    box.rawName = r.data[3].text;
    box.name = MailboxNameFromServer(box.rawName);
    if (box.name.isNull()) {
        PassOver(QStringLiteral("a mailbox name neither modified UTF-7 nor UTF-8"), r);
        return;
    }
    mailboxes.push_back(std::move(box));
}

std::vector<ImapArg> SelectJob::command() const {
    if (state.condStore) return {{name() + ' '}, ImapString(raw_), {" (CONDSTORE)"}};
    return {{name() + ' '}, ImapString(raw_)};
}

void SelectJob::untagged(const ImapResponse& r) {
    if (r.code == "UIDVALIDITY")
        state.uidValidity = r.codeArgs[0].number;
    else if (r.code == "UIDNEXT")
        state.uidNext = r.codeArgs[0].number;
    else if (r.code == "HIGHESTMODSEQ")
        state.highestModSeq = r.codeArgs[0].number;
    else if (r.code == "NOMODSEQ")
        state.noModSeq = true;
    else if (r.code == "PERMANENTFLAGS") {
        state.permanentFlags.clear();
        for (const ImapValue& f : r.codeArgs[0].list)
            state.permanentFlags.insert(f.text);
    } else if (r.data.size() == 2 && r.data[0].kind == ImapValue::Kind::Number &&
               r.data[1].isAtom("EXISTS"))
        state.exists = r.data[0].number;
}

OpError SelectJob::completed(const ImapResponse& tagged) {
    if (OpError e = ImapJob::completed(tagged)) return e;
    if (tagged.code == "READ-ONLY") state.readOnly = true;
    if (state.uidValidity == 0) return BadAnswer(QStringLiteral("a mailbox without UIDVALIDITY"));
    return OpError::none();
}

std::vector<ImapArg> UidFetchJob::command() const {
    QByteArray line = "UID FETCH " + set_ + " (UID " + items_ + ')';
    if (changedSince_) line += " (CHANGEDSINCE " + QByteArray::number(changedSince_) + ')';
    return {{line}};
}

void UidFetchJob::untagged(const ImapResponse& r) {
    if (r.data.size() < 2 || !r.data[1].isAtom("FETCH")) return;
    if (r.data.size() != 3 || r.data[2].kind != ImapValue::Kind::List ||
        r.data[2].list.size() % 2) {
        PassOver(QStringLiteral("a FETCH answer that is not a list of names and values"), r);
        return;
    }
    FetchedMail m;
    const std::vector<ImapValue>& items = r.data[2].list;
    for (size_t i = 0; i + 1 < items.size(); i += 2) {
        const ImapValue& key = items[i];
        const ImapValue& value = items[i + 1];
        if (key.kind != ImapValue::Kind::Atom) {
            PassOver(QStringLiteral("a FETCH item without a name"), r);
            return;
        }
        const QByteArray k = key.text.toUpper();
        if (k == "UID" && value.kind == ImapValue::Kind::Number)
            m.uid = value.number;
        else if (k == "FLAGS" && value.kind == ImapValue::Kind::List) {
            m.hasFlags = true;
            for (const ImapValue& f : value.list)
                m.flags.insert(f.text);
        } else if (k == "INTERNALDATE" && value.kind == ImapValue::Kind::String)
            m.internalDate = ParseInternalDate(value.text);
        else if (k == "RFC822.SIZE" && value.kind == ImapValue::Kind::Number)
            m.size = qint64(value.number);
        else if (k == "MODSEQ" && value.kind == ImapValue::Kind::List && value.list.size() == 1 &&
                 value.list[0].kind == ImapValue::Kind::Number)
            m.modSeq = value.list[0].number;
        else if (k == "BODY[]" && value.kind == ImapValue::Kind::String) {
            m.body = value.text;
            m.hasBody = true;
        } else if (k == "BODY[HEADER]" && value.kind == ImapValue::Kind::String) {
            m.header = value.text;
            m.hasHeader = true;
        }
    }
    // A flag change the server tells unasked, by sequence number: not an answer to UID FETCH.
    if (m.uid == 0) {
        ++withoutUid_;
        return;
    }
    FetchedMail& slot = mails[m.uid];
    slot.uid = m.uid;
    if (m.hasFlags) {
        slot.flags = m.flags;
        slot.hasFlags = true;
    }
    if (m.internalDate.isValid()) slot.internalDate = m.internalDate;
    if (m.size >= 0) slot.size = m.size;
    slot.modSeq = std::max(slot.modSeq, m.modSeq);
    if (m.hasBody) {
        slot.body = m.body;
        slot.hasBody = true;
    }
    if (m.hasHeader) {
        slot.header = m.header;
        slot.hasHeader = true;
    }
}

OpError UidFetchJob::completed(const ImapResponse& tagged) {
    if (OpError e = ImapJob::completed(tagged)) return e;
    // A mail without the flags asked for was told of unasked (a MODSEQ alone); taken as it is,
    // it would look unread and never stamped.
    if (items_.split(' ').contains("FLAGS")) {
        for (auto it = mails.begin(); it != mails.end();)
            it = it->second.hasFlags ? std::next(it) : mails.erase(it);
    }
    if (mails.empty() && withoutUid_)
        WriteLog(QStringLiteral("! IMAP: passed over %1 FETCH answer(s) without UID to UID FETCH")
                     .arg(withoutUid_));
    return OpError::none();
}

std::vector<ImapArg> UidStoreJob::command() const {
    return {
        {"UID STORE " + set_ + (add_ ? " +FLAGS.SILENT " : " -FLAGS.SILENT ") + FlagList(flags_)}};
}

std::vector<ImapArg> AppendJob::command() const {
    QByteArray line = "APPEND ";
    std::vector<ImapArg> args;
    const ImapArg box = ImapString(raw_);
    args.push_back({line});
    args.push_back(box);
    QByteArray tail = ' ' + FlagList(flags_);
    if (date_.isValid()) tail += " \"" + FormatInternalDate(date_) + '"';
    args.push_back({tail + ' '});
    args.push_back({CrlfLineEnds(mail_), true});
    return args;
}

OpError AppendJob::completed(const ImapResponse& tagged) {
    if (OpError e = ImapJob::completed(tagged)) return e;
    if (tagged.code == "APPENDUID") {
        uidValidity = tagged.codeArgs[0].number;
        if (tagged.codeArgs[1].kind != ImapValue::Kind::Number)
            return BadAnswer(QStringLiteral("APPENDUID with more than one UID for one mail"));
        uid = tagged.codeArgs[1].number;
    }
    return OpError::none();
}

std::vector<ImapArg> StatusJob::command() const {
    return {{"STATUS "}, ImapString(raw_), {" (UIDVALIDITY UIDNEXT)"}};
}

void StatusJob::untagged(const ImapResponse& r) {
    if (r.data.size() != 3 || !r.data[0].isAtom("STATUS") ||
        r.data[2].kind != ImapValue::Kind::List)
        return;
    const std::vector<ImapValue>& items = r.data[2].list;
    for (size_t i = 0; i + 1 < items.size(); i += 2) {
        if (items[i].isAtom("UIDVALIDITY"))
            uidValidity = items[i + 1].number;
        else if (items[i].isAtom("UIDNEXT"))
            uidNext = items[i + 1].number;
    }
}

std::vector<ImapArg> UidSearchJob::command() const {
    std::vector<ImapArg> args{{"UID SEARCH "}};
    args.insert(args.end(), criteria_.begin(), criteria_.end());
    return args;
}

void UidSearchJob::untagged(const ImapResponse& r) {
    if (r.data.empty()) return;
    if (r.data[0].isAtom("SEARCH")) {
        for (size_t i = 1; i < r.data.size(); ++i) {
            if (r.data[i].kind == ImapValue::Kind::Number && r.data[i].number != 0)
                uids.push_back(r.data[i].number);
            else if (r.data[i].kind != ImapValue::Kind::List) // (MODSEQ n) of CONDSTORE
                PassOver(QStringLiteral("a SEARCH result that is not a UID"), r);
        }
        return;
    }
    // IMAP4rev2 servers answer ESEARCH: (TAG "s1") UID ALL 4:6,9
    if (!r.data[0].isAtom("ESEARCH")) return;
    for (size_t i = 1; i + 1 < r.data.size(); ++i) {
        if (!r.data[i].isAtom("ALL")) continue;
        if (!AddUidSet(r.data[i + 1].asBytes(), uids))
            PassOver(QStringLiteral("an ESEARCH result that is not a set of UIDs"), r);
        return;
    }
}

void NoopJob::untagged(const ImapResponse& r) {
    if (r.data.size() == 2 && r.data[0].kind == ImapValue::Kind::Number &&
        r.data[1].isAtom("EXISTS")) {
        exists = r.data[0].number;
        sawExists = true;
    }
}

namespace {
const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
} // namespace

QByteArray FormatInternalDate(const QDateTime& date) {
    const QDateTime utc = date.toUTC();
    return QStringLiteral("%1-%2-%3 %4 +0000")
        .arg(utc.date().day(), 2, 10, QLatin1Char(' '))
        .arg(QLatin1String(kMonths[utc.date().month() - 1]))
        .arg(utc.date().year(), 4, 10, QLatin1Char('0'))
        .arg(utc.time().toString(QStringLiteral("HH:mm:ss")))
        .toLatin1();
}

QDateTime ParseInternalDate(const QByteArray& text) {
    // dd-Mon-yyyy hh:mm:ss +zzzz, the day possibly with a leading blank.
    const QByteArray t = text.trimmed();
    const QList<QByteArray> parts = t.split(' ');
    if (parts.size() != 3) return {};
    const QList<QByteArray> dmy = parts[0].split('-');
    if (dmy.size() != 3) return {};
    int month = 0;
    for (int i = 0; i < 12; ++i)
        if (dmy[1].compare(kMonths[i], Qt::CaseInsensitive) == 0) month = i + 1;
    const QDate d(dmy[2].toInt(), month, dmy[0].toInt());
    const QTime tm = QTime::fromString(QString::fromLatin1(parts[1]), QStringLiteral("HH:mm:ss"));
    const QByteArray& zone = parts[2];
    if (!d.isValid() || !tm.isValid() || zone.size() != 5 || (zone[0] != '+' && zone[0] != '-'))
        return {};
    const int offset =
        (zone.mid(1, 2).toInt() * 3600 + zone.mid(3, 2).toInt() * 60) * (zone[0] == '-' ? -1 : 1);
    return QDateTime(d, tm, QTimeZone(offset));
}

namespace {

// (("prefix" "delimiter" extensions...) ...) or NIL; an entry of another shape is passed over.
std::vector<ImapNamespace> NamespaceList(const ImapValue& value) {
    std::vector<ImapNamespace> spaces;
    if (value.kind != ImapValue::Kind::List) return spaces;
    for (const ImapValue& entry : value.list) {
        if (entry.kind != ImapValue::Kind::List || entry.list.size() < 2 ||
            entry.list[0].kind != ImapValue::Kind::String)
            continue;
        ImapNamespace space{entry.list[0].text, QChar()};
        if (entry.list[1].kind == ImapValue::Kind::String && entry.list[1].text.size() == 1)
            space.delimiter = QLatin1Char(entry.list[1].text[0]);
        spaces.push_back(std::move(space));
    }
    return spaces;
}

} // namespace

void NamespaceJob::untagged(const ImapResponse& r) {
    if (r.data.size() < 4 || !r.data[0].isAtom("NAMESPACE")) return;
    answered = true;
    personal = NamespaceList(r.data[1]);
    others = NamespaceList(r.data[2]);
    for (ImapNamespace& space : NamespaceList(r.data[3]))
        others.push_back(std::move(space));
}
