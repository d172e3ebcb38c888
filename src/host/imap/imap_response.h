#pragma once
// What an IMAP server sends: a response is cut from the byte stream whole (its literals included)
// and parsed into values. Read generously where servers differ (trailing blanks, 8-bit atoms,
// numbers and NIL where names stand); anything else off the grammar is an error that says where,
// never a guess. Lines and literals have size limits, so a server cannot make the client hold
// more than it allows.
#include "common/error.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

struct ImapValue {
    enum class Kind { Atom, Number, String, Nil, List };
    Kind kind = Kind::Nil;
    QByteArray text; // atom (flags keep their backslash) or string bytes; a number's or NIL's text
    quint64 number = 0;
    std::vector<ImapValue> list;

    bool isAtom(const char* name) const;
    // An atom, number or string as text; empty for NIL and lists.
    QByteArray asBytes() const;
};

struct ImapResponse {
    enum class Type { Untagged, Tagged, Continuation };
    Type type = Type::Untagged;
    QByteArray tag;
    // OK, NO, BAD, BYE or PREAUTH (upper case) for a status response; empty for data.
    QByteArray status;
    // The response code of a status response ("UIDVALIDITY", upper case) and its arguments;
    // a code this parser does not know keeps its argument text as one atom.
    QByteArray code;
    std::vector<ImapValue> codeArgs;
    QString text; // the human text of a status response or continuation
    // The values of a data response: "* 3 EXISTS" gives [3, EXISTS]; "* 3 FETCH (...)" gives
    // [3, FETCH, (...)]; "* CAPABILITY A B" gives [CAPABILITY, A, B].
    std::vector<ImapValue> data;
};

struct ImapLimits {
    qsizetype maxLine = 1024 * 1024;             // bytes of one line, literals not counted
    qsizetype maxLiteral = 256LL * 1024 * 1024;  // bytes of one literal
    qsizetype maxResponse = 512LL * 1024 * 1024; // bytes of one response, literals counted
    int maxDepth = 64;                           // nested parentheses
};

// Parses one complete response (as ImapReader cuts it, CRLF at the end).
Result<ImapResponse> ParseImapResponse(const QByteArray& bytes, const ImapLimits& limits = {});

// Cuts responses from a byte stream.
class ImapReader {
  public:
    explicit ImapReader(ImapLimits limits = {}) : limits_(limits) {}
    void feed(const QByteArray& bytes) { buffer_.append(bytes); }
    // The next complete response, parsed; nothing when more bytes are needed. A response that
    // does not parse is an error naming it (with the type and tag read before the fault), and
    // the stream goes on after it. After an error in the framing (a line or literal over the
    // limits, a line end without CR) the stream cannot be trusted any more: failed() is true and
    // every later call gives the same error.
    std::optional<Result<ImapResponse>> next();
    bool failed() const { return bool(error_); }

  private:
    ImapLimits limits_;
    QByteArray buffer_;
    qsizetype scanned_ = 0; // bytes of the pending response already known to be complete
    OpError error_;
};

// What a server sent, for a message: the first `max` bytes, control and 8-bit bytes as "\xNN".
QString ImapPrintable(const QByteArray& bytes, qsizetype max);

// Modified UTF-7 of mailbox names (RFC 3501 5.1.3).
QString DecodeMailboxName(const QByteArray& name, bool* ok = nullptr);
QByteArray EncodeMailboxName(const QString& name);
// A string argument of a command: an atom-safe quoted string, or nothing when the text needs a
// literal (CR, LF, NUL or 8-bit bytes).
std::optional<QByteArray> QuoteImapString(const QByteArray& text);
