#pragma once
// One mail file parsed by GMime, with the changes the engine makes to it before it is written
// back: subject, stamp, bodies, removed attachments.
#include "host/mime/mail_summary.h"
#include "host/mime/mime_prescan.h"
#include "host/mime/posix_files.h"

#include <memory>

class ParsedMail {
  public:
    ~ParsedMail();
    ParsedMail(const ParsedMail&) = delete;
    ParsedMail& operator=(const ParsedMail&) = delete;

    // Reads and parses the whole file. With `expected` the file must still be the one that was
    // listed; a mail another program changed or replaced meanwhile is an error.
    static Result<std::shared_ptr<ParsedMail>>
    LoadFile(const QString& path, const FileIdentity* expected, const MailLimits& limits = {});
    // A mail fetched from an IMAP server; `what` names it in messages.
    static Result<std::shared_ptr<ParsedMail>>
    FromBytes(const QByteArray& bytes, const QString& what, const MailLimits& limits = {});
    // Reads only the header block of a file.
    // The header fields of a mail's header block alone: its parts are not looked at, so a
    // multipart mail is not taken for a cut-off one.
    static Result<MailHeaders> HeadersFromBytes(QByteArray header, const QString& what,
                                                const MailLimits& limits = {});
    static Result<MailHeaders> LoadHeaders(const QString& path, const FileIdentity* expected,
                                           const MailLimits& limits = {});

    const FileIdentity& identity() const { return identity_; }
    MailHeaders headers() const;
    // The Message-ID with its angle brackets; empty for none.
    QByteArray messageId() const;
    // Attachment names stay as first given, also after others were removed.
    const MailStructure& structure() const;

    void setSubject(const QString& subject);
    void setMileage(const QString& mileage);
    // Removes attachment `index` (from 0) from the MIME tree.
    OpError deleteAttachment(int index);
    // Replaces the text of the HTML or plain body, or adds such a body, in UTF-8.
    void setBody(bool html, const QString& text);
    QString bodyText(bool html) const;
    // The decoded size of attachment `index`; decoding is the only way to know it, so it is
    // done when asked and not with the structure.
    qint64 attachmentSize(int index) const;
    // Writes the decoded content of attachment `index`; an error if it cannot be decoded whole.
    OpError writeAttachment(int index, int fd) const;
    // Writes the whole message.
    OpError writeTo(int fd) const;

  private:
    // The GMime objects, kept out of this header so that the stores need not see GMime.
    struct Tree;
    struct RawBytes;
    explicit ParsedMail(std::unique_ptr<Tree> tree);
    // `store` names where the mail lives in the LOG ("Maildir", "IMAP").
    static Result<std::shared_ptr<ParsedMail>> Parse(RawBytes& bytes, const QString& what,
                                                     const MailLimits& limits, const char* store);
    void refreshBodies();
    // The file's own bytes with the stamp as a first header line, when the stamp is the only
    // change and the bytes allow it; false when the message must be written anew.
    bool writeStampedSource(int fd, OpError& error) const;

    std::unique_ptr<Tree> tree_;
    QByteArray stamp_;       // the stamp set since the parse
    bool rewritten_ = false; // anything besides the stamp changed
    FileIdentity identity_;
    mutable std::unique_ptr<MailStructure> structure_;
};
