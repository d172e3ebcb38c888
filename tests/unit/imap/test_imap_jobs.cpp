// Server transcripts, in the forms real servers (Dovecot, Cyrus, Courier, Gmail, Microsoft 365)
// and the RFCs' examples send them, played by the scripted server under a real connection and
// the real jobs: what the client sends is checked line by line, what it keeps of the answers
// and what it says in the LOG is the row's outcome.
#include "fakes/fake_imap_socket.h"
#include "host/imap/imap_jobs.h"
#include "host/imap/imap_store.h"
#include "support/test_env.h"

#include <gtest/gtest.h>

namespace {

using Run = std::function<QString(ImapConnection&)>;

struct Transcript {
    const char* name;
    std::vector<QByteArray> script;
    Run run;         // after the opening; none: the opening alone
    QString outcome; // what came of it, then " | " and each LOG line
    ImapSecurity security = ImapSecurity::Plain;
};

// Runs a job; its error, or what `show` picks of it.
template <class Job, class Show> Run Do(Job job, Show show) {
    return [job, show](ImapConnection& conn) mutable {
        const OpError e = conn.run(job);
        return e ? QStringLiteral("error: ") + e.description : show(job);
    };
}
template <class Job> Run Do(Job job) {
    return Do(job, [](const Job&) { return QStringLiteral("ok"); });
}

QString Mails(const UidFetchJob& job) {
    QStringList out;
    for (const auto& [uid, m] : job.mails) {
        QStringList flags(m.flags.begin(), m.flags.end());
        flags.sort();
        out << QStringLiteral("%1(%2)").arg(uid).arg(QString::fromUtf8(flags.join(' ').toUtf8()));
        if (m.modSeq) out.last() += QStringLiteral("@%1").arg(m.modSeq);
        if (m.hasBody)
            out.last() += QLatin1Char('=') + QString::fromLatin1(m.body.toPercentEncoding());
    }
    return out.join(QLatin1Char(' '));
}
Run Fetch(QByteArray set, QByteArray items, quint64 since = 0) {
    return Do(UidFetchJob(set, items, since), Mails);
}
Run List() {
    return Do(ListJob(), [](const ListJob& job) {
        QStringList out;
        for (const ImapMailbox& b : job.mailboxes)
            out << b.name + (b.selectable() ? QString() : QStringLiteral("(x)")) +
                       (b.delimiter.isNull() ? QStringLiteral("(flat)") : QString());
        return out.join(QLatin1Char(','));
    });
}
Run Search(QByteArray criteria) {
    return Do(UidSearchJob({{criteria}}), [](const UidSearchJob& job) {
        QStringList out;
        for (const quint64 uid : job.uids)
            out << QString::number(uid);
        return out.join(QLatin1Char(','));
    });
}
Run Select(QByteArray name, bool readOnly = false, bool condStore = false) {
    return Do(SelectJob(name, readOnly, condStore), [](const SelectJob& job) {
        const ImapMailboxState& s = job.state;
        return QStringLiteral("validity=%1 next=%2 exists=%3 keywords=%4 modseq=%5%6")
            .arg(s.uidValidity)
            .arg(s.uidNext)
            .arg(s.exists)
            .arg(s.keywordsAllowed())
            .arg(s.highestModSeq)
            .arg(s.noModSeq ? QStringLiteral(" none") : QString());
    });
}
Run Login() {
    return [](ImapConnection& conn) {
        ImapAccount account;
        account.user = QStringLiteral("smith");
        account.endpoint = conn.endpoint();
        const OpError e = ImapLogin(conn, account, "secret");
        if (e) return QStringLiteral("error: ") + e.description;
        NoopJob noop; // the next command: nothing was sent in between
        return conn.run(noop) ? QStringLiteral("noop failed") : QStringLiteral("logged in");
    };
}
Run Append(QByteArray mail, QList<QByteArray> flags = {}) {
    return Do(
        AppendJob("INBOX", flags, QDateTime(QDate(2024, 3, 5), QTime(10, 20, 30), Qt::UTC), mail),
        [](const AppendJob& job) {
            return QStringLiteral("%1/%2").arg(job.uidValidity).arg(job.uid);
        });
}

const QByteArray kDovecot = "S: * OK [CAPABILITY IMAP4rev1 SASL-IR LOGIN-REFERRALS ID ENABLE IDLE "
                            "LITERAL+ AUTH=PLAIN] Dovecot (Debian) ready.";
const QByteArray kCyrus = "S: * OK [CAPABILITY IMAP4rev1 LITERAL+ ID ENABLE AUTH=PLAIN SASL-IR] "
                          "cyrus.example Cyrus IMAP 3.6.1-Debian-3.6.1-4+deb12u1 server ready";
const QByteArray kCourier =
    "S: * OK [CAPABILITY IMAP4rev1 UIDPLUS CHILDREN NAMESPACE THREAD=ORDEREDSUBJECT "
    "THREAD=REFERENCES SORT QUOTA IDLE AUTH=PLAIN ACL ACL2=UNION ENABLE UTF8=ACCEPT] Courier-IMAP "
    "ready. Copyright 1998-2018 Double Precision, Inc.  See COPYING for distribution information.";
const QByteArray kGmail =
    "S: * OK [CAPABILITY IMAP4rev1 UNSELECT IDLE NAMESPACE QUOTA ID XLIST CHILDREN X-GM-EXT-1 "
    "XYZZY SASL-IR AUTH=XOAUTH2 AUTH=PLAIN AUTH=PLAIN-CLIENTTOKEN AUTH=OAUTHBEARER] Gimap ready "
    "for requests from 192.0.2.7 a1mb4567890abc";
const QByteArray kMicrosoft = "S: * OK The Microsoft Exchange IMAP4 service is ready. "
                              "[TQBXADIAUABSADAANQBDAEEAMAAwADEAMgAuAA==]";
const QByteArray kMicrosoftCaps = "S: * CAPABILITY IMAP4 IMAP4rev1 AUTH=PLAIN AUTH=XOAUTH2 SASL-IR "
                                  "UIDPLUS MOVE ID UNSELECT CHILDREN IDLE NAMESPACE LITERAL+";

const Transcript kTranscripts[] = {
    // Logging in.
    {"DovecotLoginQuotesTheSecret",
     {"S: * OK [CAPABILITY IMAP4rev1 ID] Dovecot ready.", "C: s1 LOGIN \"bob\" \"p\\\"w\"",
      "S: s1 OK [CAPABILITY IMAP4rev1 IDLE] Logged in"},
     Do(LoginJob("bob", "p\"w")),
     "ok"},
    {"CyrusPlainLoginUpdatesTheCapabilities",
     {kCyrus, "C: s1 AUTHENTICATE PLAIN AGJvYgBzZWNyZXQ=",
      "S: s1 OK [CAPABILITY IMAP4rev1 LITERAL+ ID ENABLE ACL UIDPLUS IDLE] User logged in "
      "SESSIONID=<cyrus-1234-1700000000-1>"},
     [](ImapConnection& conn) {
         AuthenticateJob job(AuthenticateJob::Mechanism::Plain, "bob", "secret", true);
         return conn.run(job) ? QStringLiteral("failed")
                              : QString::number(conn.hasCapability("IDLE"));
     },
     "1"},
    {"GmailOAuthErrorIsAnsweredWithAnEmptyLine",
     {kGmail, "C: s1 AUTHENTICATE XOAUTH2 dXNlcj1ib2IBYXV0aD1CZWFyZXIgdG9rAQE=",
      "S: + eyJzdGF0dXMiOiI0MDAiLCJzY2hlbWVzIjoiQmVhcmVyIn0=", "C: ",
      "S: s1 NO [AUTHENTICATIONFAILED] Invalid credentials (Failure)"},
     Do(AuthenticateJob(AuthenticateJob::Mechanism::XOAuth2, "bob", "tok", true)),
     "error: the server answered NO Invalid credentials (Failure) to AUTHENTICATE XOAUTH2"},
    {"RfcPreauthGreetingNeedsNoLogin",
     {"S: * PREAUTH IMAP4rev1 server logged in as Smith", "C: s1 CAPABILITY",
      "S: * CAPABILITY IMAP4rev1 IDLE", "S: s1 OK CAPABILITY completed", "C: s2 NOOP",
      "S: s2 OK NOOP completed"},
     Login(),
     "logged in"},
    {"PreauthBeforeStartTlsIsRefused",
     {"S: * PREAUTH [CAPABILITY IMAP4rev1 STARTTLS] logged in as Smith"},
     {},
     "open: IMAP mail.example: the server greeted as logged in (PREAUTH) before STARTTLS",
     ImapSecurity::StartTls},
    {"MicrosoftGreetingWithoutCapabilitiesIsAskedForThem",
     {kMicrosoft, "C: s1 CAPABILITY", kMicrosoftCaps, "S: s1 OK CAPABILITY completed.",
      "C: s2 AUTHENTICATE PLAIN AHNtaXRoAHNlY3JldA==", "S: s2 OK AUTHENTICATE completed.",
      "C: s3 NOOP", "S: s3 OK NOOP completed."},
     Login(),
     "logged in"},
    {"Imap4rev2OnlyServerIsTaken",
     {"S: * OK [CAPABILITY IMAP4rev2 AUTH=PLAIN ENABLE IDLE LITERAL- UIDPLUS] IMAP4rev2 ready",
      "C: s1 UID SEARCH UNSEEN", "S: * ESEARCH (TAG \"s1\") UID ALL 4:6,9",
      "S: s1 OK SEARCH completed"},
     Search("UNSEEN"),
     "4,5,6,9"},
    {"MicrosoftEmptyEsearch",
     {kMicrosoft, "C: s1 CAPABILITY", kMicrosoftCaps + " ENABLE IMAP4rev2",
      "S: s1 OK CAPABILITY completed.", "C: s2 UID SEARCH UNSEEN", "S: * ESEARCH (TAG \"s2\") UID",
      "S: s2 OK SEARCH completed."},
     Search("UNSEEN"),
     ""},
    {"TrailingBlanksAfterSearch",
     {kDovecot, "C: s1 UID SEARCH ALL", "S: * SEARCH 169654 169655 ", "S: * SEARCH ",
      "S: s1 OK Search completed"},
     Search("ALL"),
     "169654,169655"},
    // Selecting.
    {"CourierSelectLimitsKeywords",
     {kCourier, "C: s1 SELECT \"INBOX.Archiv\"",
      "S: * FLAGS (\\Draft \\Answered \\Flagged \\Deleted \\Seen \\Recent)",
      "S: * OK [PERMANENTFLAGS (\\Draft \\Answered \\Flagged \\Deleted \\Seen)] Limited",
      "S: * 4 EXISTS", "S: * 0 RECENT", "S: * OK [UIDVALIDITY 1700000000] Ok",
      "S: * OK [MYRIGHTS \"acdilrsw\"] ACL", "S: * OK [UIDNEXT 9] Ok", "S: s1 OK [READ-WRITE] Ok"},
     Select("INBOX.Archiv"),
     "validity=1700000000 next=9 exists=4 keywords=0 modseq=0"},
    {"GmailExamineWithCondStore",
     {kGmail, "C: s1 EXAMINE \"INBOX\" (CONDSTORE)",
      "S: * FLAGS (\\Answered \\Flagged \\Draft \\Deleted \\Seen $NotPhishing $Phishing)",
      "S: * OK [PERMANENTFLAGS ()] Flags permitted.", "S: * OK [UIDVALIDITY 636588758] UIDs valid.",
      "S: * 271 EXISTS", "S: * 0 RECENT", "S: * OK [UIDNEXT 24821] Predicted next UID.",
      "S: * OK [HIGHESTMODSEQ 917752]", "S: s1 OK [READ-ONLY] INBOX selected. (Success)"},
     Select("INBOX", true, true),
     "validity=636588758 next=24821 exists=271 keywords=0 modseq=917752"},
    {"CyrusNoModSeqAndUnknownCodes",
     {kCyrus, "C: s1 EXAMINE \"INBOX\" (CONDSTORE)",
      "S: * OK [PERMANENTFLAGS (\\Answered \\Flagged \\Draft \\Deleted \\Seen \\*)] Ok",
      "S: * OK [UIDVALIDITY 1700000001] Ok", "S: * OK [NOMODSEQ] Ok",
      "S: * OK [MAILBOXID (a1b2c3d4-e5f6)] Ok", "S: * OK [URLMECH INTERNAL] Ok",
      "S: s1 OK [READ-ONLY] Completed"},
     Select("INBOX", true, true),
     "validity=1700000001 next=0 exists=0 keywords=1 modseq=0 none"},
    {"SelectWithoutUidValidityIsRefused",
     {kDovecot, "C: s1 EXAMINE \"INBOX\"", "S: * 0 EXISTS", "S: s1 OK done"},
     Select("INBOX", true),
     "error: The IMAP server sent malformed data: a mailbox without UIDVALIDITY"},
    {"OddPermanentFlagsArePassedOverNotTheSelect",
     {kCourier, "C: s1 SELECT \"INBOX\"",
      "S: * OK [PERMANENTFLAGS (Junk NonJunk * \\Draft)] Limited", "S: * OK [UIDVALIDITY 7] Ok",
      "S: s1 OK [READ-WRITE] Ok"},
     Select("INBOX"),
     "validity=7 next=0 exists=0 keywords=0 modseq=0 | ! IMAP mail.example: passed over what the "
     "server sent (The IMAP server sent malformed data: expected a value at byte 35 in: * OK "
     "[PERMANENTFLAGS (Junk NonJunk * \\Draft)] Limited\\x0d\\x0a)"},
    // Fetching, with what servers tell unasked in between.
    {"DovecotFetchWithUnsolicitedFlagsWithoutUid",
     {kDovecot, "C: s1 UID FETCH 5:* (UID FLAGS BODY.PEEK[])",
      "S: * 2 FETCH (UID 5 FLAGS (\\Seen QWKStowaway) BODY[] {4}\r\nab\r\n)",
      "S: * 1994 FETCH (FLAGS ())", "S: * 3 EXPUNGE", "S: * 4 EXISTS",
      "S: * 3 FETCH (FLAGS () UID 6 BODY[] {1}\r\nz)",
      "S: s1 OK Fetch completed (0.001 + 0.000 secs)."},
     Fetch("5:*", "FLAGS BODY.PEEK[]"),
     "5(QWKStowaway \\Seen)=ab%0D%0A 6()=z"},
    {"GmailUnsolicitedFetchWithLabelsAndTrailingBlank",
     {kGmail, "C: s1 UID FETCH 14300 (UID FLAGS)",
      "S: * 14005 FETCH (X-GM-THRID 900154593605437028 X-GM-MSGID 900154593605437028 "
      "X-GM-LABELS (Awesome \"\\\\Important\") UID 14300 MODSEQ (1) FLAGS (\\Seen) )",
      "S: * 350602 FETCH (UID 402782 MODSEQ (10000934) FLAGS (\\Seen))", "S: s1 OK Success"},
     Fetch("14300", "FLAGS"),
     "14300(\\Seen)@1 402782(\\Seen)@10000934"},
    {"ModSeqAloneIsNotTakenForAMailWithoutFlags",
     {kCyrus, "C: s1 UID FETCH 1:* (UID FLAGS MODSEQ) (CHANGEDSINCE 40)",
      "S: * 2 FETCH (UID 5 FLAGS () MODSEQ (41))", "S: * 9 FETCH (UID 12 MODSEQ (45))",
      "S: * 7 FETCH (MODSEQ (44) UID 9 FLAGS (\\Seen))", "S: s1 OK Completed (0.000 sec)"},
     Fetch("1:*", "FLAGS MODSEQ", 40),
     "5()@41 9(\\Seen)@44"},
    {"OneOddFetchAnswerIsPassedOver",
     {kDovecot, "C: s1 UID FETCH 1:* (UID FLAGS)", "S: * 1 FETCH (UID 3 FLAGS)",
      "S: * 2 FETCH (UID 4 FLAGS (\\Seen))", "S: s1 OK Fetch completed."},
     Fetch("1:*", "FLAGS"),
     "4(\\Seen) | ! IMAP: passed over a FETCH answer that is not a list of names and values: * 1 "
     "FETCH (...)"},
    {"OnlyFetchAnswersWithoutUidAreSaidOnce",
     {kDovecot, "C: s1 UID FETCH 1:* (UID FLAGS)", "S: * 1 FETCH (FLAGS (\\Seen))",
      "S: s1 OK Fetch completed."},
     Fetch("1:*", "FLAGS"),
     " | ! IMAP: passed over 1 FETCH answer(s) without UID to UID FETCH"},
    // Listing.
    {"DovecotListDecodesModifiedUtf7",
     {kDovecot, "C: s1 LIST \"\" \"*\"", "S: * LIST (\\HasChildren) \".\" INBOX",
      "S: * LIST (\\HasNoChildren) \".\" \"INBOX.Entw&APw-rfe\"",
      "S: * LIST (\\Noselect \\HasChildren) \".\" Archiv", "S: s1 OK List completed (0.001 secs)."},
     List(),
     "INBOX,INBOX.Entwürfe,Archiv(x)"},
    {"AllDigitNilAndBracketNamesAreNames",
     {kDovecot, "C: s1 LIST \"\" \"*\"", "S: * LIST (\\HasNoChildren) \"/\" 2024",
      "S: * LIST (\\HasNoChildren) \"/\" 007", "S: * LIST (\\HasNoChildren) \"/\" NIL",
      "S: * LIST (\\HasNoChildren \\UnMarked) \"/\" [Gmail]/Starred", "S: s1 OK List completed."},
     List(),
     "2024,007,NIL,[Gmail]/Starred"},
    {"NilDelimiterIsAFlatNamespace",
     {"S: * OK [CAPABILITY IMAP4rev1 LITERAL+] IMAP4rev1 SEINE IMAP server ready",
      "C: s1 LIST \"\" \"*\"", "S: * LIST (\\NoInferiors) NIL \"INBOX\"",
      "S: * LIST (\\NoInferiors \\UnMarked) \"/\" \"Sent Messages\"", "S: s1 OK LIST completed"},
     List(),
     "INBOX(flat),Sent Messages"},
    {"Rfc5258ExtendedItemsAreSkipped",
     {kCyrus, "C: s1 LIST \"\" \"*\"", "S: * LIST (\\Marked \\NoInferiors) \"/\" \"inbox\"",
      "S: * LIST () \"/\" \"Fruit\" (\"CHILDINFO\" (\"SUBSCRIBED\"))",
      "S: * LIST (\\HasNoChildren) \"/\" \"Fruit/Peach\" (\"OLDNAME\" (\"Fruit/Apricot\"))",
      "S: s1 OK List completed."},
     List(),
     "INBOX,Fruit,Fruit/Peach"},
    {"Utf8NamesQuotedBareAndLiteral",
     {kCourier, "C: s1 LIST \"\" \"*\"", "S: * LIST () \"/\" \"Entw\xc3\xbcrfe\"",
      "S: * LIST () \"/\" \xe6\x97\xa5\xe6\x9c\xac",
      "S: * LIST () \"/\" {8}\r\nR\xc3\xa9sum\xc3\xa9", "S: * LIST () \"/\" \"\xe9t\xe9\"",
      "S: s1 OK LIST completed"},
     List(),
     "Entwürfe,日本,Résumé | ! IMAP: passed over a mailbox name neither modified UTF-7 nor UTF-8: "
     "* "
     "LIST (...) / \\xe9t\\xe9"},
    {"MicrosoftSpecialUseInPlainList",
     {kMicrosoft, "C: s1 CAPABILITY", kMicrosoftCaps, "S: s1 OK CAPABILITY completed.",
      "C: s2 LIST \"\" \"*\"", "S: * LIST (\\Marked \\HasNoChildren) \"/\" INBOX",
      "S: * LIST (\\HasNoChildren \\Trash) \"/\" \"Deleted Items\"",
      "S: * LIST (\\HasNoChildren \\Sent) \"/\" \"Sent Items\"", "S: s2 OK LIST completed."},
     List(),
     "INBOX,Deleted Items,Sent Items"},
    // Writing.
    {"CourierAppendWaitsForGoAhead",
     {kCourier, "C: s1 APPEND \"INBOX\" (\\Seen QWKStowaway) \" 5-Mar-2024 10:20:30 +0000\" {6}",
      "S: + OK", "C: a\r\nb\r\n", "S: s1 OK [APPENDUID 1700000000 31] APPEND Ok."},
     Append("a\nb\r\n", {"\\Seen", "QWKStowaway"}),
     "1700000000/31"},
    {"CyrusAppendRefusedAfterTheLiteral",
     {kCyrus, "C: s1 APPEND \"INBOX\" () \" 5-Mar-2024 10:20:30 +0000\" {6+}\r\nx\r\ny\r\n",
      "S: s1 NO Message contains bare newlines"},
     Append("x\r\ny\r\n"),
     "error: the server answered NO Message contains bare newlines to APPEND"},
    {"GmailAppendRefusedBeforeTheLiteral",
     {kGmail, "C: s1 APPEND \"INBOX\" () \" 5-Mar-2024 10:20:30 +0000\" {1}",
      "S: s1 NO [OVERQUOTA] Account exceeded command or bandwidth limits. (Failure)"},
     Append("x"),
     "error: the server answered NO Account exceeded command or bandwidth limits. (Failure) to "
     "APPEND"},
    // The server going away, or not making sense.
    {"GmailByeInTheMiddleOfAFetch",
     {kGmail, "C: s1 UID FETCH 1:* (UID FLAGS)", "S: * 1 FETCH (UID 3 FLAGS ())",
      "S: * BYE System Error", "X"},
     Fetch("1:*", "FLAGS"),
     "error: IMAP mail.example: the server ended the connection: System Error"},
    {"ByeThenTheTaggedAnswerClosesAfterIt",
     {"S: * OK Yandex IMAP4rev1 ready", "C: s1 CAPABILITY", "S: * CAPABILITY IMAP4rev1",
      "S: s1 OK CAPABILITY Completed.", "C: s2 NOOP", "S: * BYE Autologout; idle for too long",
      "S: s2 OK NOOP Completed."},
     [](ImapConnection& conn) {
         NoopJob noop;
         const OpError e = conn.run(noop);
         return QStringLiteral("%1 open=%2").arg(e ? e.description : "ok").arg(conn.isOpen());
     },
     "ok open=0"},
    {"ByeGreeting",
     {"S: * BYE Too many simultaneous connections. (Failure)"},
     {},
     "open: IMAP mail.example: the server refused the connection: Too many simultaneous "
     "connections. (Failure)"},
    {"SmtpServerIsNotImap",
     {"S: 220 smtp.example ESMTP Postfix (Debian/GNU)"},
     {},
     "open: IMAP mail.example: The IMAP server sent malformed data: a tagged response without OK, "
     "NO or BAD at byte 16 in: 220 smtp.example ESMTP Postfix (Debian/GNU)\\x0d\\x0a"},
    {"Imap2IsRefused",
     {"S: * OK hi", "C: s1 CAPABILITY", "S: * CAPABILITY IMAP2", "S: s1 OK done"},
     {},
     "open: IMAP mail.example: the server does not speak IMAP4rev1"},
    {"NoStartTls",
     {"S: * OK [CAPABILITY IMAP4rev1] hi"},
     {},
     "open: IMAP mail.example: the server does not offer STARTTLS",
     ImapSecurity::StartTls},
    {"DroppedConnectionInALiteral",
     {kDovecot, "C: s1 UID FETCH 1 (UID BODY.PEEK[])", "S: * 1 FETCH (UID 1 BODY[] {50}\r\npart",
      "X"},
     Fetch("1", "BODY.PEEK[]"),
     "error: IMAP mail.example: the server closed the connection"},
    {"AnswerToAnotherTag",
     {kDovecot, "C: s1 NOOP", "S: s9 OK done"},
     Do(NoopJob()),
     "error: IMAP mail.example: an answer to a command never sent"},
    {"UnreadableAnswerToTheCommandFailsIt",
     {kDovecot, "C: s1 NOOP", "S: s1 OK [UIDNEXT x] done"},
     Do(NoopJob()),
     "error: IMAP mail.example: The IMAP server sent malformed data: UIDNEXT without one number at "
     "byte 16 in: s1 OK [UIDNEXT x] done\\x0d\\x0a"},
    {"UnexpectedContinuation",
     {kDovecot, "C: s1 NOOP", "S: + what"},
     Do(NoopJob()),
     "error: IMAP mail.example: an unexpected continuation during NOOP"},

};

void PrintTo(const Transcript& t, std::ostream* os) {
    *os << t.name;
}

class ServerTranscript : public FreshState, public testing::WithParamInterface<Transcript> {};

TEST_P(ServerTranscript, KeepsToTheScriptAndReadsTheAnswers) {
    const Transcript& t = GetParam();
    FakeImapServer server(t.script);
    ImapConnection conn({QStringLiteral("mail.example"), 143, t.security}, {}, 5000,
                        server.factory());
    const OpError opened = conn.open();
    QStringList outcome{opened  ? QStringLiteral("open: ") + opened.description
                        : t.run ? t.run(conn)
                                : QStringLiteral("opened")};
    outcome << LogLinesWithoutStamps();
    conn.close();
    EXPECT_EQ(outcome.join(QStringLiteral(" | ")), t.outcome);
    EXPECT_EQ(server.faults(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Imap, ServerTranscript, testing::ValuesIn(kTranscripts),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ImapInternalDate, RoundTripsThroughTheServerForm) {
    const QDateTime when(QDate(2024, 3, 5), QTime(10, 20, 30), Qt::UTC);
    EXPECT_EQ(FormatInternalDate(when), QByteArray(" 5-Mar-2024 10:20:30 +0000"));
    EXPECT_EQ(ParseInternalDate("05-Mar-2024 12:20:30 +0200").toUTC(), when);
    EXPECT_FALSE(ParseInternalDate("5-Foo-2024 10:20:30 +0000").isValid());
}

} // namespace
