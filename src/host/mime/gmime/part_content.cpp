#include "host/mime/gmime/part_content.h"

#include "host/mime/base64_content.h"
#include "host/mime/gmime/gmime_support.h"
#include "host/mime/header_text.h"
#include "host/mime/mime_params.h"
#include "host/mime/posix_files.h"
#include "host/mime/uu_content.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace {

// Called right after a failed write, so errno tells why (a full disk, a quota).
OpError StreamError() {
    const int err = errno;
    if (err != 0) return ErrnoError(err, QStringLiteral("Cannot write the attachment's content"));
    return OpError::make(ErrNo::IoError, QStringLiteral("Cannot write the attachment's content"));
}

// A stream write that stops short (a full disk after part of the piece) gives the count it
// managed, not an error.
bool WriteWhole(GMimeStream* sink, const QByteArray& bytes) {
    if (bytes.isEmpty()) return true;
    errno = 0;
    return g_mime_stream_write(sink, bytes.constData(), std::size_t(bytes.size())) == bytes.size();
}

// Decodes with one of the store's own decoders (base64, uuencode).
template <class Decoder>
OpError WriteDecoded(GMimeStream* encoded, GMimeStream* sink, bool* damaged) {
    Decoder decoder;
    QByteArray decoded;
    // Large pieces: each is one write to the attachment's file.
    QByteArray buffer(1 << 20, Qt::Uninitialized);
    g_mime_stream_reset(encoded);
    for (;;) {
        const ssize_t n = g_mime_stream_read(encoded, buffer.data(), size_t(buffer.size()));
        if (n < 0) return OpError::make(ErrNo::IoError, QStringLiteral("Cannot read the mail"));
        if (n == 0) break;
        decoded.clear();
        decoder.feed(buffer.constData(), std::size_t(n), decoded);
        if (!WriteWhole(sink, decoded)) return StreamError();
    }
    decoded.clear();
    decoder.finish(decoded);
    g_mime_stream_reset(encoded);
    if (!WriteWhole(sink, decoded)) return StreamError();
    if (damaged) *damaged = decoder.damaged();
    return OpError::none();
}

// GMime ends a part's content before the line break that precedes its boundary line, but
// takes that break to be as long as the boundary line's own: in a mail that mixes CRLF and LF
// lines (or ends in a boundary line without a line end) the content keeps a stray "\r" or loses
// its last byte. The bytes around the end in the whole mail tell the break's real length: the
// content with its exact end, or null when GMime's end is right.
GRef<GMimeStream> ExactContent(GMimeStream* encoded) {
    GMimeStream* whole = encoded->super_stream;
    const gint64 start = encoded->bound_start;
    const gint64 end = encoded->bound_end;
    if (!whole || end < start || end < 1) return GRef<GMimeStream>();
    const gint64 wholeEnd = whole->bound_start + g_mime_stream_length(whole);
    if (end + 1 > wholeEnd) return GRef<GMimeStream>(); // the content runs to the end
    char around[3] = {}; // the content's last byte and the two after it
    GRef<GMimeStream> window(g_mime_stream_substream(whole, end - 1, std::min(end + 2, wholeEnd)));
    const ssize_t got = g_mime_stream_read(window.get(), around, sizeof around);
    if (got < 2) return GRef<GMimeStream>();
    gint64 exactEnd = end;
    if (around[1] == '\n') {
        if (around[0] == '\r' && end > start) exactEnd = end - 1; // CRLF before an LF boundary
    } else if (around[1] != '\r' && got == 3 && around[2] == '\n') {
        exactEnd = end + 1; // LF content before a CRLF boundary line
    }
    if (exactEnd == end) return GRef<GMimeStream>();
    return GRef<GMimeStream>(g_mime_stream_substream(whole, start, exactEnd));
}

// The last of the part's headers of that name: GMime takes the type and the disposition from
// the last, and a name read from another would make a named part the body, or the other way.
QByteArray RawHeader(GMimeObject* part, const char* name) {
    GMimeHeaderList* headers = g_mime_object_get_header_list(part);
    GMimeHeader* header = nullptr;
    for (int i = headers ? g_mime_header_list_get_count(headers) - 1 : -1; i >= 0 && !header; --i) {
        GMimeHeader* candidate = g_mime_header_list_get_header_at(headers, i);
        if (g_ascii_strcasecmp(g_mime_header_get_name(candidate), name) == 0) header = candidate;
    }
    if (!header) return {};
    const char* raw = g_mime_header_get_raw_value(header);
    return raw ? QByteArray(raw) : QByteArray(g_mime_header_get_value(header));
}

} // namespace

void RestoreCutContentEnds(GMimeMessage* message) {
    std::vector<GMimeObject*> pending;
    if (GMimeObject* top = message ? g_mime_message_get_mime_part(message) : nullptr)
        pending.push_back(top);
    while (!pending.empty()) {
        GMimeObject* object = pending.back();
        pending.pop_back();
        if (GMIME_IS_MULTIPART(object)) {
            GMimeMultipart* multipart = GMIME_MULTIPART(object);
            for (int i = 0; i < g_mime_multipart_get_count(multipart); ++i)
                pending.push_back(g_mime_multipart_get_part(multipart, i));
        } else if (GMIME_IS_MESSAGE_PART(object)) {
            GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
            if (GMimeObject* top = inner ? g_mime_message_get_mime_part(inner) : nullptr)
                pending.push_back(top);
        } else if (GMIME_IS_PART(object)) {
            GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(object));
            if (!content) continue;
            GMimeStream* stream = g_mime_data_wrapper_get_stream(content);
            // Only a lost byte: a stray "\r" is left out on reading, and written back it keeps
            // the mail's bytes as they were.
            GRef<GMimeStream> exact = ExactContent(stream);
            if (!exact || exact.get()->bound_end <= stream->bound_end) continue;
            GRef<GMimeDataWrapper> whole(g_mime_data_wrapper_new_with_stream(
                exact.get(), g_mime_data_wrapper_get_encoding(content)));
            g_mime_part_set_content(GMIME_PART(object), whole.get());
        }
    }
}

namespace {

// Where the content of `stream` meets a line that starts with one of the boundaries: the end of
// the content before that line's break; -1 when there is none.
gint64 BoundaryInContent(GMimeStream* stream, const std::vector<QByteArray>& boundaries) {
    GMimeStream* whole = stream->super_stream;
    if (!whole || stream->bound_end <= stream->bound_start) return -1;
    GRef<GMimeStream> window(
        g_mime_stream_substream(whole, stream->bound_start, stream->bound_end));
    GRef<GMimeStream> memory(g_mime_stream_mem_new());
    if (g_mime_stream_write_to_stream(window.get(), memory.get()) < 0) return -1;
    const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory.get()));
    const QByteArray content =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes->data), qsizetype(bytes->len));
    for (qsizetype line = 0; line < content.size();) {
        for (const QByteArray& boundary : boundaries) {
            if (QByteArrayView(content).sliced(line).startsWith(boundary)) {
                qsizetype end = line;
                if (end > 0 && content.at(end - 1) == '\n') --end;
                if (end > 0 && content.at(end - 1) == '\r') --end;
                return stream->bound_start + end;
            }
        }
        const qsizetype next = content.indexOf('\n', line);
        if (next < 0) break;
        line = next + 1;
    }
    return -1;
}

bool CutAtBoundaries(GMimeObject* object, std::vector<QByteArray>& boundaries) {
    if (GMIME_IS_MULTIPART(object)) {
        GMimeMultipart* multipart = GMIME_MULTIPART(object);
        const char* boundary = g_mime_multipart_get_boundary(multipart);
        if (boundary && *boundary) boundaries.push_back(QByteArray("--") + boundary);
        bool cut = false;
        for (int i = 0; i < g_mime_multipart_get_count(multipart); ++i)
            cut = CutAtBoundaries(g_mime_multipart_get_part(multipart, i), boundaries) || cut;
        if (boundary && *boundary) boundaries.pop_back();
        return cut;
    }
    if (!GMIME_IS_PART(object) || boundaries.empty()) return false;
    GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(object));
    GMimeStream* stream = content ? g_mime_data_wrapper_get_stream(content) : nullptr;
    if (!stream) return false;
    const gint64 end = BoundaryInContent(stream, boundaries);
    if (end < 0) return false;
    GRef<GMimeStream> exact(
        g_mime_stream_substream(stream->super_stream, stream->bound_start, end));
    GRef<GMimeDataWrapper> whole(g_mime_data_wrapper_new_with_stream(
        exact.get(), g_mime_data_wrapper_get_encoding(content)));
    g_mime_part_set_content(GMIME_PART(object), whole.get());
    return true;
}

} // namespace

bool CutContentAtBoundaries(GMimeMessage* message) {
    std::vector<QByteArray> boundaries;
    GMimeObject* top = message ? g_mime_message_get_mime_part(message) : nullptr;
    return top && CutAtBoundaries(top, boundaries);
}

OpError WritePartContent(GMimeObject* part, GMimeStream* sink, bool* damaged) {
    if (damaged) *damaged = false;
    if (GMIME_IS_MESSAGE_PART(part)) {
        GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(part));
        if (inner && g_mime_object_write_to_stream(GMIME_OBJECT(inner), nullptr, sink) < 0)
            return StreamError();
        return OpError::none();
    }
    if (!GMIME_IS_PART(part)) return OpError::none();
    GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(part));
    if (!content) return OpError::none();
    const GMimeContentEncoding encoding = g_mime_data_wrapper_get_encoding(content);
    GMimeStream* encoded = g_mime_data_wrapper_get_stream(content);
    GRef<GMimeDataWrapper> corrected;
    if (GRef<GMimeStream> exact = ExactContent(encoded)) {
        corrected =
            GRef<GMimeDataWrapper>(g_mime_data_wrapper_new_with_stream(exact.get(), encoding));
        content = corrected.get();
        encoded = exact.get();
    }
    if (encoding == GMIME_CONTENT_ENCODING_BASE64)
        return WriteDecoded<Base64ContentDecoder>(encoded, sink, damaged);
    if (encoding == GMIME_CONTENT_ENCODING_UUENCODE)
        return WriteDecoded<UuContentDecoder>(encoded, sink, damaged);
    if (g_mime_data_wrapper_write_to_stream(content, sink) < 0) return StreamError();
    return OpError::none();
}

QByteArray PartContent(GMimeObject* part, bool* damaged) {
    GRef<GMimeStream> memory(g_mime_stream_mem_new());
    WritePartContent(part, memory.get(), damaged);
    GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory.get()));
    return QByteArray(reinterpret_cast<const char*>(bytes->data), qsizetype(bytes->len));
}

qint64 PartContentSize(GMimeObject* part, bool* damaged) {
    GRef<GMimeStream> counter(g_mime_stream_null_new());
    WritePartContent(part, counter.get(), damaged);
    return qint64(GMIME_STREAM_NULL(counter.get())->written);
}

QString PartText(GMimeObject* part) {
    // A NUL byte is no text, and the charset conversion would end the text there: a body with
    // one would lose the rest of its words when written anew.
    const QByteArray bytes = PartContent(part, nullptr).replace('\0', QByteArray());
    const char* charset = g_mime_object_get_content_type_parameter(part, "charset");
    return DecodeCharset(bytes, charset ? QByteArray(charset) : QByteArray());
}

QString PartFileName(GMimeObject* part) {
    static const struct {
        const char* header;
        const char* param;
    } kSources[] = {{"Content-Disposition", "filename"}, {"Content-Type", "name"}};
    for (const auto& source : kSources) {
        const QByteArray raw = RawHeader(part, source.header);
        if (raw.isEmpty()) continue;
        const auto name = DecodedParam(ParseHeaderParams(raw), source.param);
        if (name && !name->trimmed().isEmpty()) return name->trimmed();
    }
    return {};
}

QByteArray PartMimeType(GMimeObject* part) {
    char* type = g_mime_content_type_get_mime_type(g_mime_object_get_content_type(part));
    return TakeGBytes(type).toLower();
}
