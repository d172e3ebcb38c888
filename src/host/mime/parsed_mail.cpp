#include "host/mime/parsed_mail.h"

#include "data/log.h"
#include "host/mime/gmime/gmime_support.h"
#include "host/mime/gmime/mail_headers.h"
#include "host/mime/gmime/mime_layout.h"
#include "host/mime/gmime/part_content.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

OpError ChangedMeanwhile(const QString& path) {
    return OpError::make(ErrNo::NotFound,
                         QStringLiteral("The mail was changed, moved or removed by another "
                                        "program: ") +
                             path);
}

// Opens the file and checks it is still the one that was listed.
Result<int> OpenMail(const QString& path, const FileIdentity* expected, FileIdentity& identity) {
    const int fd = ::open(EncodePath(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        const int err = errno;
        if (err == ENOENT && expected) return {-1, ChangedMeanwhile(path)};
        return {-1, ErrnoError(err, QStringLiteral("Cannot open the mail ") + path)};
    }
    if (!IdentityOfFd(fd, identity)) {
        const int err = errno;
        ::close(fd);
        return {-1, ErrnoError(err, QStringLiteral("Cannot read the mail ") + path)};
    }
    if (expected && !expected->sameFile(identity)) {
        ::close(fd);
        return {-1, ChangedMeanwhile(path)};
    }
    return {fd, OpError::none()};
}

// Reads the header block, up to the blank line after it; at most a little over `limit` bytes.
Result<QByteArray> ReadHeaderBlock(int fd, const QString& path, qint64 limit) {
    QByteArray data;
    // Header blocks are small: a first read of a few KB usually holds one whole.
    qsizetype block = 8192;
    for (;;) {
        const qsizetype searchFrom = qMax<qsizetype>(0, data.size() - 2);
        const qsizetype used = data.size();
        data.resize(used + block);
        const ssize_t n = ::read(fd, data.data() + used, size_t(block));
        if (n < 0) {
            data.truncate(used);
            if (errno == EINTR) continue;
            return {{}, ErrnoError(errno, QStringLiteral("Cannot read the mail ") + path)};
        }
        data.truncate(used + n);
        if (n == 0) break;
        // The first line end followed by an empty line ("\n\n" or "\n\r\n").
        const char* begin = data.constData();
        const char* end = begin + data.size();
        for (const char* p = begin + searchFrom; p < end;) {
            p = static_cast<const char*>(std::memchr(p, '\n', size_t(end - p)));
            if (!p) break;
            if (p + 1 < end && (p[1] == '\n' || (p[1] == '\r' && p + 2 < end && p[2] == '\n'))) {
                data.truncate(p - begin + 1);
                return {data, OpError::none()};
            }
            ++p;
        }
        if (data.size() > limit) break;
        block = qMin<qsizetype>(block * 2, 65536);
    }
    return {data, OpError::none()};
}

// Collects the faults of a mail's structure that make parts of it go missing or come out
// differently in other programs.
void NoteStructureFault(gint64, GMimeParserWarning code, const gchar*, gpointer faults) {
    const char* text = nullptr;
    switch (code) {
    case GMIME_CRIT_MULTIPART_WITHOUT_BOUNDARY:
        text = "a multipart without a boundary";
        break;
    case GMIME_WARN_MALFORMED_MULTIPART:
        text = "a multipart with no parts";
        break;
    case GMIME_WARN_TRUNCATED_MESSAGE:
        text = "a multipart not closed by its boundary";
        break;
    case GMIME_WARN_MALFORMED_MESSAGE:
    case GMIME_WARN_PART_WITHOUT_CONTENT:
    case GMIME_CRIT_PART_WITHOUT_HEADERS_OR_CONTENT:
        text = "a part without headers or content";
        break;
    case GMIME_CRIT_INVALID_HEADER_NAME:
        text = "an invalid header name";
        break;
    case GMIME_CRIT_NESTING_OVERFLOW:
        text = "parts nested too deeply";
        break;
    default:
        return;
    }
    auto* list = static_cast<QStringList*>(faults);
    if (!list->contains(QLatin1String(text))) list->append(QLatin1String(text));
}

bool StartsWithHeaderLine(const QByteArray& bytes);

// How many bytes of stray lines stand before the first header: the rest of a header cut off
// above (a line that starts with a blank) or a line that is no header at all. Readers pass over
// them; GMime takes the first for the end of the headers and loses every part. Only lines
// followed by a header are stray.
qsizetype StrayLinesBeforeHeaders(const QByteArray& bytes) {
    constexpr int kMostStrayLines = 3;
    qsizetype at = 0;
    for (int line = 0; line <= kMostStrayLines; ++line) {
        const QByteArray rest = QByteArray::fromRawData(bytes.constData() + at, bytes.size() - at);
        if (StartsWithHeaderLine(rest) || rest.startsWith("From ")) return at;
        if (rest.startsWith('\n') || rest.startsWith("\r\n")) return 0;
        const qsizetype end = rest.indexOf('\n');
        if (end < 0) return 0;
        at += end + 1;
    }
    return 0;
}

// Parses bytes that GMime takes over; no copy is made. `faults` gets what is wrong with the
// structure.
GMimeMessage* ParseMessage(GByteArray* bytes, QStringList* faults = nullptr,
                           GRef<GMimeStream>* source = nullptr) {
    EnsureGMime();
    if (const qsizetype stray = StrayLinesBeforeHeaders(QByteArray::fromRawData(
            reinterpret_cast<const char*>(bytes->data), qsizetype(bytes->len)))) {
        g_byte_array_remove_range(bytes, 0, guint(stray));
        if (faults) faults->append(QStringLiteral("a stray line before the headers"));
    }
    GRef<GMimeStream> stream(g_mime_stream_mem_new_with_byte_array(bytes));
    if (source) *source = stream;
    GRef<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    GMimeParserOptions* options = g_mime_parser_options_new();
    if (faults) g_mime_parser_options_set_warning_callback(options, NoteStructureFault, faults);
    GMimeMessage* message = g_mime_parser_construct_message(parser.get(), options);
    g_mime_parser_options_free(options);
    // A boundary line that GMime did not take for one leaves its multipart unclosed.
    const QString unclosed = QStringLiteral("a multipart not closed by its boundary");
    if (faults && faults->contains(unclosed) && CutContentAtBoundaries(message))
        faults->removeAll(unclosed);
    RestoreCutContentEnds(message);
    return message;
}

GByteArray* ToGBytes(const QByteArray& bytes) {
    GByteArray* array = g_byte_array_sized_new(guint(bytes.size()));
    g_byte_array_append(array, reinterpret_cast<const guint8*>(bytes.constData()),
                        guint(bytes.size()));
    return array;
}

// The whole file, in memory GMime can take over.
Result<GByteArray*> ReadWholeMail(int fd, const QString& path, qint64 sizeHint) {
    // Read straight into the array: the whole file at once, then more if it grew meanwhile.
    constexpr guint kBlock = 65536;
    const guint expected = guint(qBound<qint64>(0, sizeHint, 1LL << 30));
    GByteArray* data = g_byte_array_sized_new(expected + kBlock);
    guint used = 0;
    for (;;) {
        const guint wanted = used < expected ? expected - used + 1 : kBlock;
        g_byte_array_set_size(data, used + wanted);
        const ssize_t n = ::read(fd, data->data + used, wanted);
        if (n < 0) {
            if (errno == EINTR) continue;
            const OpError error = ErrnoError(errno, QStringLiteral("Cannot read the mail ") + path);
            g_byte_array_unref(data);
            return {nullptr, error};
        }
        used += guint(n);
        if (n == 0) break;
    }
    g_byte_array_set_size(data, used);
    return {data, OpError::none()};
}

OpError Refused(const OpError& why, const QString& what) {
    return OpError::make(why.number,
                         why.description + QStringLiteral(" (") + what + QLatin1Char(')'));
}

// GMime stores the text in the smallest charset that holds it (ISO-8859-1 for German text) and
// names that charset in the header: naming another one would garble every non-ASCII letter.
GMimeTextPart* NewTextPart(const char* subtype, const QByteArray& utf8) {
    GMimeTextPart* part = g_mime_text_part_new_with_subtype(subtype);
    g_mime_text_part_set_text(part, utf8.constData());
    g_mime_part_set_content_encoding(
        GMIME_PART(part),
        g_mime_part_get_best_content_encoding(GMIME_PART(part), GMIME_ENCODING_CONSTRAINT_7BIT));
    return part;
}

void DropBrokenParams(GMimeObject* object);

// A body part names no file: a name it carried read as empty (else the part would be an
// attachment), yet GMime may hold another value of it, from a second type header or up to a
// NUL byte, and written anew that would read back as a name and make the body a file.
void DropFileNames(GMimeObject* object) {
    g_mime_param_list_remove(
        g_mime_content_type_get_parameters(g_mime_object_get_content_type(object)), "name");
    // The lists tell their header of the change.
    if (GMimeContentDisposition* disposition = g_mime_object_get_content_disposition(object))
        g_mime_param_list_remove(g_mime_content_disposition_get_parameters(disposition),
                                 "filename");
}

void SetText(GMimeTextPart* part, const QByteArray& utf8) {
    // The new charset makes GMime write the type header anew.
    DropBrokenParams(GMIME_OBJECT(part));
    DropFileNames(GMIME_OBJECT(part));
    g_mime_text_part_set_text(part, utf8.constData());
    g_mime_part_set_content_encoding(
        GMIME_PART(part),
        g_mime_part_get_best_content_encoding(GMIME_PART(part), GMIME_ENCODING_CONSTRAINT_7BIT));
}

bool IsAlternative(GMimeMultipart* multipart) {
    return multipart &&
           g_mime_content_type_is_type(g_mime_object_get_content_type(GMIME_OBJECT(multipart)),
                                       "multipart", "alternative");
}

// A GMime stream over a descriptor that stays open after the stream is gone. A pipe stream
// writes straight on without a seek before each write, and its flush does not sync: the caller
// syncs the file once, when it is whole.
GRef<GMimeStream> BorrowedFdStream(int fd) {
    GRef<GMimeStream> stream(g_mime_stream_pipe_new(fd));
    g_mime_stream_pipe_set_owner(GMIME_STREAM_PIPE(stream.get()), FALSE);
    return stream;
}

// GMime's writers add up what each write managed; a write cut short by a full disk shows only
// as the end of the stream, which a pipe stream marks then.
bool WriteStoppedShort(GMimeStream* out) {
    if (!g_mime_stream_eos(out)) return false;
    errno = ENOSPC;
    return true;
}

// GMime keeps a header value only up to a NUL byte in it, and loses its line end with the rest;
// written so, the next header runs into it and is lost to every reader (a stamp among them).
// A line that GMime read as a header without a name (": text") goes: written first, it makes
// the mail unreadable.
void EndHeaderLines(GMimeObject* object) {
    GMimeHeaderList* headers = g_mime_object_get_header_list(object);
    for (int i = g_mime_header_list_get_count(headers) - 1; i >= 0; --i) {
        const char* name = g_mime_header_get_name(g_mime_header_list_get_header_at(headers, i));
        if (!name || !*name) g_mime_header_list_remove_at(headers, i);
    }
    const int count = g_mime_header_list_get_count(headers);
    for (int i = 0; i < count; ++i) {
        GMimeHeader* header = g_mime_header_list_get_header_at(headers, i);
        const QByteArray raw = g_mime_header_get_raw_value(header);
        if (!g_mime_header_get_raw_value(header) || raw.endsWith('\n')) continue;
        g_mime_header_set_raw_value(header, (raw + '\n').constData());
    }
}

// A parameter whose name is no plain token (bytes GMime read out of a broken header) names
// nothing, and written anew it comes out longer than the store reads back; one without a value
// GMime writes as "name=", which it cannot read back, and the parameters after it are lost.
// Such parameters go whenever the type header is written anew.
void DropBrokenParams(GMimeObject* object) {
    GMimeParamList* params =
        g_mime_content_type_get_parameters(g_mime_object_get_content_type(object));
    for (int i = g_mime_param_list_length(params) - 1; i >= 0; --i) {
        GMimeParam* param = g_mime_param_list_get_parameter_at(params, i);
        const QByteArray name = g_mime_param_get_name(param);
        const bool token = !name.isEmpty() && std::all_of(name.begin(), name.end(), [](char c) {
            return c > ' ' && c < 0x7f;
        });
        const char* value = g_mime_param_get_value(param);
        if (!token || !value || !*value) g_mime_param_list_remove_at(params, i);
    }
}

// A part with more than one Content-Type header is written with all of them and read back by
// the last, which need not be the type GMime holds (nor name the boundary it writes); one
// header made from that type, and a fresh boundary for a multipart, read back as written.
void OneContentType(GMimeObject* object) {
    GMimeHeaderList* headers = g_mime_object_get_header_list(object);
    int count = 0;
    for (int i = 0; i < g_mime_header_list_get_count(headers); ++i) {
        const char* name = g_mime_header_get_name(g_mime_header_list_get_header_at(headers, i));
        if (g_ascii_strcasecmp(name, "Content-Type") == 0) ++count;
    }
    if (count < 2) return;
    DropBrokenParams(object);
    const QByteArray type =
        TakeGBytes(g_mime_content_type_encode(g_mime_object_get_content_type(object), nullptr));
    while (g_mime_header_list_remove(headers, "Content-Type")) {
    }
    g_mime_object_set_header(object, "Content-Type", type.trimmed().constData(), nullptr);
    if (GMIME_IS_MULTIPART(object)) g_mime_multipart_set_boundary(GMIME_MULTIPART(object), nullptr);
}

// A Content-Transfer-Encoding header that GMime read as another encoding than it names (one
// cut at a NUL byte) is written with the encoding GMime holds, which it writes the content in.
void MatchingEncoding(GMimeObject* object) {
    if (!GMIME_IS_PART(object)) return;
    GMimePart* part = GMIME_PART(object);
    const char* named = g_mime_object_get_header(object, "Content-Transfer-Encoding");
    const GMimeContentEncoding held = g_mime_part_get_content_encoding(part);
    if (named && g_mime_content_encoding_from_string(named) != held)
        g_mime_part_set_content_encoding(part, held);
}

// GMime keeps a multipart's preamble and epilogue only up to a NUL byte: a line of them cut to
// "--" and a boundary would split the mail anew when read back. No reader shows them, so text
// with such a line goes.
void DropBoundaryLikeText(GMimeMultipart* multipart) {
    const auto boundaryLike = [](const char* text) {
        return text && (qstrncmp(text, "--", 2) == 0 || std::strstr(text, "\n--"));
    };
    if (boundaryLike(g_mime_multipart_get_prologue(multipart)))
        g_mime_multipart_set_prologue(multipart, nullptr);
    if (boundaryLike(g_mime_multipart_get_epilogue(multipart)))
        g_mime_multipart_set_epilogue(multipart, nullptr);
}

// Makes every part of the tree read back as it stands: one type, the encoding it is written
// in, header lines ended, and multiparts closed (one cut off before its closing boundary is
// otherwise written without one, and each read gives its last part one more line end).
void ReadyForWriting(GMimeObject* object) {
    // The type first: a header's new line end makes GMime read the type from it again.
    if (IsUnnamedMessage(object)) {
        GRef<GMimeContentType> type(g_mime_content_type_new("message", "rfc822"));
        g_mime_object_set_content_type(object, type.get());
    }
    OneContentType(object);
    MatchingEncoding(object);
    EndHeaderLines(object);
    if (GMIME_IS_MESSAGE_PART(object)) {
        if (GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object))) {
            EndHeaderLines(GMIME_OBJECT(inner));
            if (GMimeObject* top = g_mime_message_get_mime_part(inner)) ReadyForWriting(top);
        }
        return;
    }
    if (!GMIME_IS_MULTIPART(object)) return;
    GMimeMultipart* multipart = GMIME_MULTIPART(object);
    multipart->write_end_boundary = TRUE;
    DropBoundaryLikeText(multipart);
    const int count = g_mime_multipart_get_count(multipart);
    for (int i = 0; i < count; ++i)
        ReadyForWriting(g_mime_multipart_get_part(multipart, i));
}

// A value that stands on one header line as it is.
bool IsPlainStampValue(const QByteArray& value) {
    return std::all_of(value.begin(), value.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

// Whether the bytes open with "Name:" (printable characters, no blank) on their first line.
bool StartsWithHeaderLine(const QByteArray& bytes) {
    qsizetype i = 0;
    while (i < bytes.size() && bytes.at(i) > 0x20 && bytes.at(i) < 0x7F && bytes.at(i) != ':')
        ++i;
    return i > 0 && i < bytes.size() && bytes.at(i) == ':' && bytes.indexOf('\n') > i;
}

// Whether a line of the header block starts with `name`, blanks and a colon, case ignored.
bool HasHeader(const QByteArray& bytes, const char* name) {
    const qsizetype length = qsizetype(std::strlen(name));
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype end = bytes.indexOf('\n', at);
        const qsizetype lineEnd = end < 0 ? bytes.size() : end;
        if (lineEnd == at || (lineEnd == at + 1 && bytes.at(at) == '\r')) return false;
        if (lineEnd - at > length && qstrnicmp(bytes.constData() + at, name, length) == 0) {
            qsizetype i = at + length;
            while (i < lineEnd && (bytes.at(i) == ' ' || bytes.at(i) == '\t'))
                ++i;
            if (i < lineEnd && bytes.at(i) == ':') return true;
        }
        at = lineEnd + 1;
    }
    return false;
}

bool WriteBytes(int fd, const QByteArray& bytes) {
    return WriteAll(fd, bytes.constData(), std::size_t(bytes.size()));
}

} // namespace

struct ParsedMail::Tree {
    Tree(GMimeMessage* m, GRef<GMimeStream> s) : message(m), source(std::move(s)) {
        layout = AnalyseMime(message);
    }
    ~Tree() { g_object_unref(message); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    void replaceInTree(GMimeObject* old, GMimeObject* replacement);

    GMimeMessage* message;
    GRef<GMimeStream> source; // the bytes the message was parsed from
    MimeLayout layout;
};

struct ParsedMail::RawBytes {
    GByteArray* bytes; // owned until Parse takes it over
};

ParsedMail::ParsedMail(std::unique_ptr<Tree> tree) : tree_(std::move(tree)) {}

ParsedMail::~ParsedMail() = default;

Result<std::shared_ptr<ParsedMail>> ParsedMail::Parse(RawBytes& raw, const QString& what,
                                                      const MailLimits& limits, const char* store) {
    GByteArray* bytes = std::exchange(raw.bytes, nullptr);
    const QByteArray view =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes->data), qsizetype(bytes->len));
    if (OpError refused = PrescanMail(view, limits)) {
        g_byte_array_unref(bytes);
        return {nullptr, Refused(refused, what)};
    }
    QStringList faults;
    GRef<GMimeStream> source;
    GMimeMessage* message = ParseMessage(bytes, &faults, &source);
    if (!message)
        return {nullptr,
                OpError::make(ErrNo::Failed, QStringLiteral("Not a readable mail: ") + what)};
    // Such a mail is still read as far as it goes; the LOG says why parts may be missing.
    if (!faults.isEmpty())
        WriteLog(QStringLiteral("! %1: a damaged mail (%2): %3")
                     .arg(QLatin1String(store), faults.join(QStringLiteral(", ")), what));
    return {std::shared_ptr<ParsedMail>(
                new ParsedMail(std::make_unique<Tree>(message, std::move(source)))),
            OpError::none()};
}

Result<std::shared_ptr<ParsedMail>>
ParsedMail::FromBytes(const QByteArray& bytes, const QString& what, const MailLimits& limits) {
    RawBytes raw{ToGBytes(bytes)};
    return Parse(raw, what, limits, "IMAP");
}

Result<std::shared_ptr<ParsedMail>>
ParsedMail::LoadFile(const QString& path, const FileIdentity* expected, const MailLimits& limits) {
    FileIdentity identity;
    const Result<int> fd = OpenMail(path, expected, identity);
    if (!fd.ok()) return {nullptr, fd.error};
    UniqueFd guard(fd.value);
    const Result<GByteArray*> data = ReadWholeMail(fd.value, path, identity.size);
    if (!data.ok()) return {nullptr, data.error};
    RawBytes raw{data.value};
    Result<std::shared_ptr<ParsedMail>> mail = Parse(raw, path, limits, "Maildir");
    if (mail.ok()) mail.value->identity_ = identity;
    return mail;
}

Result<MailHeaders> ParsedMail::LoadHeaders(const QString& path, const FileIdentity* expected,
                                            const MailLimits& limits) {
    FileIdentity identity;
    const Result<int> fd = OpenMail(path, expected, identity);
    if (!fd.ok()) return {{}, fd.error};
    UniqueFd guard(fd.value);
    Result<QByteArray> data = ReadHeaderBlock(fd.value, path, limits.maxHeaderBlock + 1);
    if (!data.ok()) return {{}, data.error};
    return HeadersFromBytes(std::move(data.value), path, limits);
}

Result<MailHeaders> ParsedMail::HeadersFromBytes(QByteArray header, const QString& what,
                                                 const MailLimits& limits) {
    header.append('\n'); // ends the header block, so the mail has an empty body
    if (OpError refused = PrescanMail(header, limits)) return {{}, Refused(refused, what)};
    GMimeMessage* message = ParseMessage(ToGBytes(header));
    if (!message)
        return {{}, OpError::make(ErrNo::Failed, QStringLiteral("Not a readable mail: ") + what)};
    MailHeaders headers = ReadMailHeaders(message);
    g_object_unref(message);
    return {headers, OpError::none()};
}

MailHeaders ParsedMail::headers() const {
    return ReadMailHeaders(tree_->message);
}

QByteArray ParsedMail::messageId() const {
    const char* id = g_mime_message_get_message_id(tree_->message);
    return id && *id ? '<' + QByteArray(id) + '>' : QByteArray();
}

const MailStructure& ParsedMail::structure() const {
    if (!structure_)
        structure_ =
            std::make_unique<MailStructure>(DescribeStructure(tree_->message, tree_->layout));
    return *structure_;
}

void ParsedMail::setSubject(const QString& subject) {
    rewritten_ = true;
    g_mime_message_set_subject(tree_->message, subject.toUtf8().constData(), "utf-8");
}

void ParsedMail::setMileage(const QString& mileage) {
    stamp_ = mileage.toUtf8();
    g_mime_object_set_header(GMIME_OBJECT(tree_->message), "X-Mileage",
                             mileage.toUtf8().constData(), "utf-8");
}

void ParsedMail::Tree::replaceInTree(GMimeObject* old, GMimeObject* replacement) {
    const auto parent = layout.parents.find(old);
    if (parent == layout.parents.end()) {
        g_mime_message_set_mime_part(message, replacement);
        return;
    }
    const int index = g_mime_multipart_index_of(parent->second, old);
    if (GMimeObject* replaced = g_mime_multipart_replace(parent->second, index, replacement))
        g_object_unref(replaced);
}

void ParsedMail::refreshBodies() {
    MimeLayout fresh = AnalyseMime(tree_->message);
    tree_->layout.plainBody = fresh.plainBody;
    tree_->layout.htmlBody = fresh.htmlBody;
    tree_->layout.calendarBody = fresh.calendarBody;
    tree_->layout.parents = std::move(fresh.parents);
    if (structure_) structure_->hasHtmlBody = tree_->layout.htmlBody != nullptr;
}

OpError ParsedMail::deleteAttachment(int index) {
    rewritten_ = true;
    structure(); // names stay as they were first given
    if (index < 0 || index >= int(tree_->layout.attachments.size()))
        return OpError::make(ErrNo::NotFound, QStringLiteral("No such attachment"));
    GMimeObject* current = tree_->layout.attachments[size_t(index)];
    for (;;) {
        const auto parent = tree_->layout.parents.find(current);
        if (parent == tree_->layout.parents.end()) {
            // The attachment was the whole mail: an empty text remains.
            GRef<GMimeTextPart> empty(NewTextPart("plain", QByteArray()));
            g_mime_message_set_mime_part(tree_->message, GMIME_OBJECT(empty.get()));
            break;
        }
        GMimeMultipart* multipart = parent->second;
        g_mime_multipart_remove(multipart, current);
        // A multipart left with one part is still valid; one left empty goes as well.
        if (g_mime_multipart_get_count(multipart) > 0) break;
        current = GMIME_OBJECT(multipart);
    }
    tree_->layout.attachments.erase(tree_->layout.attachments.begin() + index);
    structure_->attachments.erase(structure_->attachments.begin() + index);
    refreshBodies();
    return OpError::none();
}

void ParsedMail::setBody(bool html, const QString& text) {
    rewritten_ = true;
    const QByteArray utf8 = text.toUtf8();
    GMimeObject* existing = html ? tree_->layout.htmlBody : tree_->layout.plainBody;
    if (existing && GMIME_IS_TEXT_PART(existing)) {
        SetText(GMIME_TEXT_PART(existing), utf8);
        return;
    }
    GRef<GMimeObject> part(GMIME_OBJECT(NewTextPart(html ? "html" : "plain", utf8)));
    GMimeObject* other = html ? tree_->layout.plainBody : tree_->layout.htmlBody;
    if (existing) {
        tree_->replaceInTree(existing, part.get());
    } else if (other) {
        const auto parent = tree_->layout.parents.find(other);
        GMimeMultipart* holder = parent == tree_->layout.parents.end() ? nullptr : parent->second;
        if (IsAlternative(holder)) {
            // The richer alternative goes last.
            if (html)
                g_mime_multipart_add(holder, part.get());
            else
                g_mime_multipart_insert(holder, g_mime_multipart_index_of(holder, other),
                                        part.get());
        } else {
            GRef<GMimeObject> keep = GRef<GMimeObject>::borrow(other);
            GRef<GMimeMultipart> alternative(g_mime_multipart_new_with_subtype("alternative"));
            tree_->replaceInTree(other, GMIME_OBJECT(alternative.get()));
            g_mime_multipart_add(alternative.get(), html ? other : part.get());
            g_mime_multipart_add(alternative.get(), html ? part.get() : other);
        }
    } else {
        GMimeObject* top = g_mime_message_get_mime_part(tree_->message);
        if (!top) {
            g_mime_message_set_mime_part(tree_->message, part.get());
        } else if (GMIME_IS_MULTIPART(top) && !GMIME_IS_MULTIPART_SIGNED(top) &&
                   !GMIME_IS_MULTIPART_ENCRYPTED(top)) {
            GMimeMultipart* multipart = GMIME_MULTIPART(top);
            // A multipart without parts may have been read without a boundary: GMime makes one
            // up that its header does not show, and the new body would be lost to any reader.
            if (g_mime_multipart_get_count(multipart) == 0) {
                DropBrokenParams(top);
                g_mime_multipart_set_boundary(multipart, nullptr);
            }
            g_mime_multipart_insert(multipart, 0, part.get());
        } else {
            GRef<GMimeObject> keep = GRef<GMimeObject>::borrow(top);
            // A calendar that is the whole mail stays its body: the text becomes an alternative
            // to it, not a part beside it, which would make the calendar an attachment.
            const char* subtype = top == tree_->layout.calendarBody ? "alternative" : "mixed";
            GRef<GMimeMultipart> holder(g_mime_multipart_new_with_subtype(subtype));
            g_mime_message_set_mime_part(tree_->message, GMIME_OBJECT(holder.get()));
            g_mime_multipart_add(holder.get(), part.get());
            g_mime_multipart_add(holder.get(), top);
        }
    }
    refreshBodies();
}

QString ParsedMail::bodyText(bool html) const {
    GMimeObject* part = html ? tree_->layout.htmlBody : tree_->layout.plainBody;
    return part ? PartText(part) : QString();
}

qint64 ParsedMail::attachmentSize(int index) const {
    if (index < 0 || index >= int(tree_->layout.attachments.size())) return 0;
    return PartContentSize(tree_->layout.attachments[size_t(index)], nullptr);
}

OpError ParsedMail::writeAttachment(int index, int fd) const {
    if (index < 0 || index >= int(tree_->layout.attachments.size()))
        return OpError::make(ErrNo::NotFound, QStringLiteral("No such attachment"));
    GRef<GMimeStream> out = BorrowedFdStream(fd);
    bool damaged = false;
    if (OpError error =
            WritePartContent(tree_->layout.attachments[size_t(index)], out.get(), &damaged))
        return error;
    if (WriteStoppedShort(out.get()))
        return ErrnoError(ENOSPC, QStringLiteral("Cannot write the attachment's content"));
    if (damaged) {
        GMimeObject* part = tree_->layout.attachments[size_t(index)];
        const bool uu = GMIME_IS_PART(part) && g_mime_part_get_content_encoding(GMIME_PART(part)) ==
                                                   GMIME_CONTENT_ENCODING_UUENCODE;
        return OpError::make(ErrNo::IoError,
                             QStringLiteral("The attachment \"%1\" is damaged (its %2 content "
                                            "ends early) and cannot be saved whole")
                                 .arg(structure().attachments[size_t(index)].fileName,
                                      uu ? QStringLiteral("uuencoded") : QStringLiteral("base64")));
    }
    if (g_mime_stream_flush(out.get()) != 0)
        return OpError::make(ErrNo::IoError, QStringLiteral("Cannot write the attachment"));
    return OpError::none();
}

OpError ParsedMail::writeTo(int fd) const {
    OpError fastError;
    if (writeStampedSource(fd, fastError)) return fastError;
    EndHeaderLines(GMIME_OBJECT(tree_->message));
    if (GMimeObject* top = g_mime_message_get_mime_part(tree_->message)) ReadyForWriting(top);
    GRef<GMimeStream> out = BorrowedFdStream(fd);
    if (g_mime_object_write_to_stream(GMIME_OBJECT(tree_->message), nullptr, out.get()) < 0 ||
        g_mime_stream_flush(out.get()) != 0 || WriteStoppedShort(out.get())) {
        // Right after the failed write, errno tells why (a full disk, a quota).
        const int err = errno;
        return err ? ErrnoError(err, QStringLiteral("Cannot write the mail"))
                   : OpError::make(ErrNo::IoError, QStringLiteral("Cannot write the mail"));
    }
    return OpError::none();
}

bool ParsedMail::writeStampedSource(int fd, OpError& error) const {
    if (rewritten_ || stamp_.isEmpty() || !tree_->source || !IsPlainStampValue(stamp_))
        return false;
    const GByteArray* bytes =
        g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(tree_->source.get()));
    if (!bytes) return false;
    const QByteArray source =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes->data), qsizetype(bytes->len));
    // Only a header block that plainly starts with a header and has no stamp yet: the new
    // line goes first, where no reader can take it for anything else.
    if (!StartsWithHeaderLine(source) || HasHeader(source, "X-Mileage")) return false;
    const qsizetype firstEnd = source.indexOf('\n');
    const bool crlf = firstEnd > 0 && source.at(firstEnd - 1) == '\r';
    const QByteArray line =
        QByteArrayLiteral("X-Mileage: ") + stamp_ + (crlf ? QByteArrayLiteral("\r\n") : "\n");
    if (!WriteBytes(fd, line) || !WriteBytes(fd, source)) {
        error = ErrnoError(errno, QStringLiteral("Cannot write the mail"));
    }
    return true;
}
