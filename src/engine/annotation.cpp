#include "engine/annotation.h"

#include "engine/engine_log.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/text.h"
#include "common/vbstring.h"
#include "data/log.h"
#include "data/settings.h"

namespace {

constexpr int kLatin1Codepage = 28591;
const QString kTag = QStringLiteral("[SW]");

QString HeadText() {
    return QString(60, QLatin1Char('~')) + kCrLf + gAppCaption +
           LangText(QStringLiteral(" · Gespeicherte Anhänge: "),
                    QStringLiteral(" · Saved attachments: ")) +
           kCrLf + kCrLf;
}

// A link target: a file URI of the absolute path. What would end the path or change its
// meaning for a reader ("%", "#", "?", blanks, control characters) is percent-encoded; every
// other character, umlauts included, stays as it is.
QString LinkTarget(const QString& path) {
    QString target = QStringLiteral("file://");
    target.reserve(target.size() + path.size());
    for (const QChar c : path) {
        const char16_t u = c.unicode();
        if (u <= 0x20 || u == 0x7f || u == '%' || u == '#' || u == '?')
            target += QLatin1Char('%') + QString::number(u, 16).toUpper().rightJustified(2, u'0');
        else
            target += c;
    }
    return target;
}

QString RtfEscaped(const QString& text) {
    return QString(text).replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
}

void LogElement(const char* prefix, int number, const QString& path) {
    WriteLog(QLatin1String(prefix) + QStringLiteral("/Attachment ") + QString::number(number) +
             QStringLiteral(": ") + path);
}

QStringList SavedPaths(const QStringList& savedList) {
    QStringList paths;
    for (const QString& element : savedList)
        paths << element.section(QLatin1Char('|'), 1);
    return paths;
}

void MarkSubject(MailItem& mail) {
    const QString mark = GetSetting(QStringLiteral("MarkMail"), QStringLiteral("0"));
    const QString subject = mail.Subject().value;
    if (subject.contains(kTag)) return;
    if (mark == QLatin1String("1"))
        mail.SetSubject(kTag + QLatin1Char(' ') + subject);
    else if (mark == QLatin1String("2"))
        mail.SetSubject(subject + QLatin1Char(' ') + kTag);
}

// Sets the code page and then the body; the last error of the two counts.
OpError WriteBody(MailItem& mail, int format, const QString& body) {
    const OpError codepageError = mail.SetInternetCodepage(kLatin1Codepage);
    OpError error;
    if (format == BodyFormat::Html)
        error = mail.SetHTMLBody(body);
    else if (format == BodyFormat::RichText)
        error = mail.SetRTFBody(body);
    else
        error = mail.SetBody(body);
    return error ? error : codepageError;
}

// Outlook keeps a mail's plain-text alternative in step with its HTML by itself; here the two
// are separate parts, so the plain one gets the list as well, or readers showing it never see it.
void AnnotatePlainAlternative(MailItem& mail, const QStringList& paths, bool hyperlink) {
    const QString plain = VbTrim(mail.Body().value);
    if (plain.isEmpty()) return;
    if (const OpError error =
            mail.SetBody(plain + kCrLf + kCrLf + PlainBlock(paths, hyperlink, false) + kCrLf))
        WriteLog(QStringLiteral("! Error setting .Body: ") + error.description);
}

} // namespace

QString HtmlBlock(const QStringList& paths, bool hyperlink) {
    QString block =
        QStringLiteral("<br>") + HtmlEncode(HeadText()).replace(kCrLf, QStringLiteral("<br>"));
    int number = 0;
    for (const QString& path : paths) {
        LogElement("HTML", ++number, path);
        if (hyperlink)
            block += QStringLiteral("<a href=\"") + LinkTarget(path) + QStringLiteral("\">") +
                     HtmlEncode(path) + QStringLiteral("</a><br>");
        else
            block += HtmlEncode(path) + QStringLiteral("<br>");
    }
    return block;
}

QString RtfBlock(const QStringList& paths, bool hyperlink) {
    QString block = HeadText();
    int number = 0;
    for (const QString& path : paths) {
        LogElement("RTF", ++number, path);
        block += (hyperlink ? RtfEscaped(LinkTarget(path)) : RtfEscaped(path)) + kCrLf;
    }
    return block + kCrLf;
}

QString PlainBlock(const QStringList& paths, bool hyperlink, bool logElements) {
    QString block = HeadText();
    int number = 0;
    for (const QString& path : paths) {
        if (logElements) LogElement("TXT", ++number, path);
        block += (hyperlink ? LinkTarget(path) : path) + kCrLf;
    }
    return block;
}

namespace {
// A mail the store would not change keeps its files: they are not counted as taken out, and
// the mail's other rules wait, as they would see those files again.
void SaveMail(RunState& run, MailState& state, const RuleRun& rr) {
    const OpError error = state.mail->Save();
    if (!error) return;
    WriteLog(QStringLiteral("! The mail could not be changed: ") + error.description);
    ++run.mailsNotChanged;
    run.filesDeleted -= rr.filesDeleted;
    state.saveFailed = true;
}
} // namespace

void AnnotateAndSaveMail(RunState& run, MailState& state, const RuleRun& rr) {
    if (!state.mail) return;
    MailItem& mail = *state.mail;
    if (rr.delAttach && run.filesDeleted >= 1) MarkSubject(mail);

    // Text goes into a mail only when attachments were taken out of it. Then the removal and
    // the list are saved together: a save in between would let a crash leave a mail without
    // its attachments and without the list of where they went.
    if (rr.deletedNames.isEmpty()) {
        SaveMail(run, state, rr);
        return;
    }
    WriteLog(QStringLiteral("DeletedAttachm: ") + rr.deletedNames);
    const int format = mail.BodyFormat().value;
    WriteLog(QStringLiteral("BodyFormat: ") + QString::number(format));

    const QStringList paths = SavedPaths(rr.savedList);
    const bool hyperlink = IsTrue(rr.rule.Hyperlink);
    QString block;
    QString newBody;
    const char* label;
    const char* bodyName;
    if (format == BodyFormat::Html) {
        const QString body = VbTrim(mail.HTMLBody().value);
        WriteLog("HTML...");
        block = HtmlBlock(paths, hyperlink);
        // Before the closing mark; a body without one gets the block after its whole text.
        const qsizetype pos = body.indexOf(QLatin1String("</body>"), 0, Qt::CaseInsensitive);
        newBody = pos >= 0 ? body.left(pos) + block + body.mid(pos) : body + block;
        label = "HTML";
        bodyName = "HTMLBody";
    } else if (format == BodyFormat::RichText) {
        const QString body = VbTrim(mail.RTFBody().value);
        WriteLog("RTF...");
        block = RtfBlock(paths, hyperlink);
        const qsizetype pos = body.lastIndexOf(QLatin1Char('}'));
        newBody = (pos >= 0 ? body.left(pos) : run.lastNewBody) +
                  QString(block).replace(kCrLf, QStringLiteral("\\par ")) + QLatin1Char('}');
        label = "RTF";
        bodyName = "RTFBody";
    } else {
        const QString body = VbTrim(mail.Body().value);
        WriteLog("TXT/Plain, Others...");
        block = PlainBlock(paths, hyperlink);
        newBody = body + kCrLf + kCrLf + block + kCrLf + kCrLf;
        label = "TXT";
        bodyName = "Body";
    }
    run.lastNewBody = newBody;

    WriteLog(QStringLiteral("New Body: ") + kCrLf + newBody);
    if (const OpError error = WriteBody(mail, format, newBody))
        WriteLog(QStringLiteral("! Error setting .") + QLatin1String(bodyName) +
                 QStringLiteral(": ") + error.description);
    if (format == BodyFormat::Html) AnnotatePlainAlternative(mail, paths, hyperlink);
    WriteLog(QLatin1String(label) + QStringLiteral("/Links: ") + kCrLf + block);
    const QString readBack = format == BodyFormat::Html       ? mail.HTMLBody().value
                             : format == BodyFormat::RichText ? mail.RTFBody().value
                                                              : mail.Body().value;
    WriteLog(QLatin1String(bodyName) + QStringLiteral(": ") + kCrLf + readBack);
    SaveMail(run, state, rr);
}
