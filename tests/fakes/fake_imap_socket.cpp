#include "fakes/fake_imap_socket.h"

#include <QTimer>

namespace {

// The size announced at the end of a line ("{12}" or "{12+}"), -1 for none.
qint64 AnnouncedLiteral(const QByteArray& line, bool* nonSync) {
    *nonSync = line.endsWith("+}");
    if (!line.endsWith('}')) return -1;
    const qsizetype open = line.lastIndexOf('{');
    if (open < 0) return -1;
    bool ok = false;
    const qint64 size = line.mid(open + 1, line.size() - open - (*nonSync ? 3 : 2)).toLongLong(&ok);
    return ok ? size : -1;
}

} // namespace

class FakeImapSocket : public ImapTransport {
  public:
    explicit FakeImapSocket(FakeImapServer& server) : s_(server) {}
    ~FakeImapSocket() override { abort(); }

    QString connectTo(const ImapEndpoint&, int) override {
        s_.connected_ = true;
        s_.toClient_.clear();
        s_.release();
        return {};
    }
    QString startTls(int) override { return {}; }
    QString write(const QByteArray& bytes, int) override {
        if (!s_.connected_) return QStringLiteral("the connection failed while sending");
        return s_.received(bytes);
    }
    QString waitForBytes(int timeoutMs) override {
        if (!s_.toClient_.isEmpty()) return {};
        if (!s_.connected_) return QStringLiteral("the server closed the connection");
        return QStringLiteral("no answer within %1 s").arg(timeoutMs / 1000);
    }
    QByteArray readAll() override { return std::exchange(s_.toClient_, {}); }
    bool isConnected() const override { return s_.connected_; }
    void abort() override {
        watch(nullptr, nullptr);
        s_.connected_ = false;
    }
    void watch(std::function<void()> onBytes, std::function<void()> onDrop) override {
        s_.onBytes_ = std::move(onBytes);
        s_.onDrop_ = std::move(onDrop);
        s_.notifyLater();
    }

  private:
    FakeImapServer& s_;
};

FakeImapServer::FakeImapServer(std::vector<QByteArray> transcript)
    : steps_(std::move(transcript)) {}

ImapTransportFactory FakeImapServer::factory() {
    return [this] { return std::make_unique<FakeImapSocket>(*this); };
}

QStringList FakeImapServer::faults() const {
    QStringList all = faults_;
    for (size_t i = next_; i < steps_.size(); ++i)
        all << QStringLiteral("not played: ") + QString::fromUtf8(steps_[i]);
    return all;
}

void FakeImapServer::release() {
    while (connected_ && next_ < steps_.size() && !steps_[next_].startsWith("C: ")) {
        const QByteArray& step = steps_[next_++];
        if (step == "X") {
            connected_ = false;
        } else if (step.startsWith("S: ")) {
            toClient_ += step.mid(3) + "\r\n";
        } else {
            faults_ << QStringLiteral("a step neither S:, C: nor X: ") + QString::fromUtf8(step);
        }
    }
}

void FakeImapServer::checkLiteral(const QByteArray& literal) {
    if (!inAppend_) return;
    for (qsizetype i = 0; i < literal.size(); ++i)
        if (literal[i] == '\n' && (i == 0 || literal[i - 1] != '\r')) {
            faults_ << QStringLiteral("a bare LF at byte %1 of an APPEND literal").arg(i);
            return;
        }
}

// The next whole piece the client sent: a line, with the literals it announces with "{n+}"; a
// line announcing "{n}" ends the piece, and the next starts with the literal's bytes.
bool FakeImapServer::takeClientUnit(QByteArray& unit) {
    std::vector<std::pair<qsizetype, qint64>> literals; // where each starts, and its size
    if (literalDue_ > 0) literals.push_back({0, literalDue_});
    for (qsizetype pos = std::max<qint64>(literalDue_, 0);;) {
        const qsizetype eol = fromClient_.indexOf("\r\n", pos);
        if (eol < 0) return false;
        bool nonSync = false;
        const qint64 size = AnnouncedLiteral(fromClient_.left(eol), &nonSync);
        if (size >= 0 && nonSync) {
            if (fromClient_.size() < eol + 2 + size) return false;
            literals.push_back({eol + 2, size});
            pos = eol + 2 + size;
            continue;
        }
        if (literalDue_ < 0) { // a new command
            const QList<QByteArray> words = fromClient_.left(eol).split(' ');
            inAppend_ = words.size() > 1 && words[1].compare("APPEND", Qt::CaseInsensitive) == 0;
        }
        for (const auto& [at, length] : literals)
            checkLiteral(fromClient_.mid(at, length));
        unit = fromClient_.left(eol);
        fromClient_.remove(0, eol + 2);
        literalDue_ = size;
        return true;
    }
}

QString FakeImapServer::received(const QByteArray& bytes) {
    fromClient_ += bytes;
    QByteArray unit;
    while (takeClientUnit(unit)) {
        release();
        if (next_ >= steps_.size() || !steps_[next_].startsWith("C: ")) {
            faults_ << QStringLiteral("the client sent what the script does not expect: ") +
                           QString::fromUtf8(unit);
            return QStringLiteral("the scripted server was not waiting for the client");
        }
        const QByteArray expected = steps_[next_].mid(3);
        if (unit != expected) {
            faults_ << QStringLiteral("expected \"%1\", the client sent \"%2\"")
                           .arg(QString::fromUtf8(expected), QString::fromUtf8(unit));
            return QStringLiteral("the scripted server expected something else");
        }
        ++next_;
        release();
    }
    notifyLater();
    return {};
}

void FakeImapServer::notifyLater() {
    QTimer::singleShot(0, &guard_, [this] {
        if (!toClient_.isEmpty() && onBytes_) onBytes_();
        if (!connected_ && toClient_.isEmpty() && onDrop_) onDrop_();
    });
}
