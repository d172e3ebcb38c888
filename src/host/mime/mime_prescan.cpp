#include "host/mime/mime_prescan.h"

#include "host/mime/mime_params.h"

#include <vector>

namespace {

// One level of the structure: a multipart with its boundary, or an attached message.
struct Frame {
    QByteArray boundary; // empty for an attached message
};

// What the headers of the current entity said.
struct EntityHeaders {
    QByteArray contentType;
    QByteArray boundary;
    QByteArray encoding;
};

class Prescanner {
  public:
    Prescanner(const QByteArray& mail, const MailLimits& limits) : mail_(mail), limits_(limits) {}

    OpError run() {
        startEntity();
        qsizetype pos = 0;
        const qsizetype size = mail_.size();
        while (pos < size && !error_) {
            qsizetype end = mail_.indexOf('\n', pos);
            end = end < 0 ? size : end + 1;
            handleLine(pos, end);
            pos = end;
        }
        if (!error_ && inHeaders_) endHeaderField();
        return error_;
    }

  private:
    void fail(const QString& why) {
        if (!error_)
            error_ = OpError::make(ErrNo::Overflow, QStringLiteral("Mail refused: ") + why);
    }

    void startEntity() {
        inHeaders_ = true;
        headerBytes_ = 0;
        entity_ = EntityHeaders{};
        field_.clear();
        if (++entities_ > limits_.maxParts)
            fail(QStringLiteral("more than %1 parts").arg(limits_.maxParts));
    }

    void push(Frame frame) {
        frames_.push_back(std::move(frame));
        if (int(frames_.size()) > limits_.maxDepth)
            fail(QStringLiteral("parts nested deeper than %1 levels").arg(limits_.maxDepth));
    }

    // The index of the frame whose boundary this line is, or -1; `closing` for "--b--".
    int boundaryFrame(qsizetype pos, qsizetype end, bool& closing) const {
        if (end - pos < 3 || mail_[pos] != '-' || mail_[pos + 1] != '-') return -1;
        for (int i = int(frames_.size()) - 1; i >= 0; --i) {
            const QByteArray& b = frames_[size_t(i)].boundary;
            if (b.isEmpty() || end - pos - 2 < b.size()) continue;
            if (qstrncmp(mail_.constData() + pos + 2, b.constData(), size_t(b.size())) != 0)
                continue;
            const qsizetype after = pos + 2 + b.size();
            closing = end - after >= 2 && mail_[after] == '-' && mail_[after + 1] == '-';
            // As GMime reads it: only blanks may follow, so "--d100" is no boundary "d10".
            if (!OnlyBlanks(closing ? after + 2 : after, end)) continue;
            return i;
        }
        return -1;
    }

    bool OnlyBlanks(qsizetype pos, qsizetype end) const {
        for (; pos < end; ++pos) {
            const char c = mail_[pos];
            if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return false;
        }
        return true;
    }

    void handleLine(qsizetype pos, qsizetype end) {
        bool closing = false;
        const int frame = boundaryFrame(pos, end, closing);
        if (frame >= 0) {
            if (inHeaders_) endHeaderField();
            frames_.resize(size_t(frame) + (closing ? 0 : 1));
            if (closing)
                inHeaders_ = false;
            else
                startEntity();
            return;
        }
        if (!inHeaders_) return;
        headerBytes_ += end - pos;
        if (headerBytes_ > limits_.maxHeaderBlock) {
            fail(QStringLiteral("a header block larger than %1 bytes").arg(limits_.maxHeaderBlock));
            return;
        }
        const char first = mail_[pos];
        if (first == '\n' || (first == '\r' && end - pos <= 2)) {
            endHeaderField();
            endHeaders();
        } else if (first == ' ' || first == '\t') {
            if (collecting_) field_.append(mail_.constData() + pos, end - pos);
        } else {
            endHeaderField();
            const qsizetype colon = mail_.indexOf(':', pos);
            if (colon < 0 || colon >= end) return;
            fieldName_ = mail_.mid(pos, colon - pos).trimmed().toLower();
            collecting_ = fieldName_ == "content-type" || fieldName_ == "content-disposition" ||
                          fieldName_ == "content-transfer-encoding";
            if (collecting_) field_ = mail_.mid(colon + 1, end - colon - 1);
        }
    }

    void endHeaderField() {
        if (!collecting_) return;
        collecting_ = false;
        if (fieldName_ == "content-transfer-encoding") {
            entity_.encoding = HeaderMainValue(field_);
            return;
        }
        const QList<HeaderParam> params = ParseHeaderParams(field_);
        for (const HeaderParam& p : params) {
            if (p.name.size() > limits_.maxParamName) {
                fail(QStringLiteral("a header parameter name of %1 characters").arg(p.name.size()));
                return;
            }
        }
        if (fieldName_ != "content-type") return;
        entity_.contentType = HeaderMainValue(field_);
        for (const HeaderParam& p : params)
            if (p.name == "boundary") entity_.boundary = p.value;
    }

    void endHeaders() {
        inHeaders_ = false;
        const QByteArray& type = entity_.contentType;
        if (type.startsWith("multipart/") && !entity_.boundary.isEmpty()) {
            push(Frame{entity_.boundary});
        } else if (type == "message/rfc822" && entity_.encoding != "base64" &&
                   entity_.encoding != "quoted-printable") {
            // The attached message's own headers follow at once.
            push(Frame{});
            startEntity();
        }
    }

    const QByteArray& mail_;
    const MailLimits& limits_;
    OpError error_;
    std::vector<Frame> frames_;
    EntityHeaders entity_;
    bool inHeaders_ = true;
    qint64 headerBytes_ = 0;
    int entities_ = 0;
    bool collecting_ = false;
    QByteArray fieldName_;
    QByteArray field_;
};

} // namespace

OpError PrescanMail(const QByteArray& mail, const MailLimits& limits) {
    return Prescanner(mail, limits).run();
}
