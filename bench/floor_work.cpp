#include "floor_work.h"

#include <QDir>
#include <QFile>

#include <gmime/gmime.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

QString Errno(const QString& what) {
    return what + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

bool WriteAllBytes(int fd, const char* data, qint64 size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size_t(size));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= n;
    }
    return true;
}

// Temporary file, rename into place: what a saved attachment costs. It becomes durable with
// the mail's one sync, as Stowaway does it.
bool WriteFileOnce(int dirFd, const QByteArray& name, const char* data, qint64 size,
                   QString& error) {
    const QByteArray temp = "." + name + ".part";
    const int fd =
        ::openat(dirFd, temp.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        error = Errno(QString::fromUtf8(temp));
        return false;
    }
    const bool ok = WriteAllBytes(fd, data, size);
    ::close(fd);
    if (!ok || ::renameat(dirFd, temp.constData(), dirFd, name.constData()) != 0) {
        error = Errno(QString::fromUtf8(name));
        return false;
    }
    return true;
}

// The decoded content of every part whose disposition is "attachment".
std::vector<QByteArray> DecodeAttachments(const QByteArray& mail) {
    std::vector<QByteArray> decoded;
    static const QByteArray kAttachment = "Content-Disposition: attachment";
    for (qsizetype at = mail.indexOf(kAttachment); at >= 0;
         at = mail.indexOf(kAttachment, at + kAttachment.size())) {
        const qsizetype headerStart = std::max<qsizetype>(0, mail.lastIndexOf("\n--", at));
        const qsizetype bodyStart = mail.indexOf("\n\n", at);
        if (bodyStart < 0) break;
        qsizetype bodyEnd = mail.indexOf("\n--", bodyStart + 1);
        if (bodyEnd < 0) bodyEnd = mail.size();
        const QByteArray headers = mail.mid(headerStart, bodyStart - headerStart).toLower();
        const bool base64 = headers.contains("content-transfer-encoding: base64");
        const bool quoted = headers.contains("content-transfer-encoding: quoted-printable");
        const auto* in = reinterpret_cast<const unsigned char*>(mail.constData() + bodyStart + 2);
        const size_t inLen = size_t(bodyEnd - bodyStart - 2);
        QByteArray out(qsizetype(inLen) + 4, Qt::Uninitialized);
        auto* outBuf = reinterpret_cast<unsigned char*>(out.data());
        int state = 0;
        guint32 save = 0;
        size_t n = inLen;
        if (base64)
            n = g_mime_encoding_base64_decode_step(in, inLen, outBuf, &state, &save);
        else if (quoted)
            n = g_mime_encoding_quoted_decode_step(in, inLen, outBuf, &state, &save);
        else
            std::memcpy(outBuf, in, inLen);
        out.truncate(qsizetype(n));
        decoded.push_back(std::move(out));
        at = bodyEnd;
    }
    return decoded;
}

// The mail's new content through tmp/, made durable with its attachment files (and the rename
// before it) by one sync of the file system, then renamed over the old file.
bool RewriteMail(const QString& path, const QByteArray& content, QString& error) {
    QDir folder = QFileInfo(path).dir();
    folder.cdUp();
    const QByteArray tmp = QFile::encodeName(
        folder.filePath(QStringLiteral("tmp/floor.") + QFileInfo(path).fileName()));
    const int fd = ::open(tmp.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        error = Errno(path);
        return false;
    }
    static const QByteArray kStamp = "X-Mileage: QWKStowaway\n";
    const bool ok = WriteAllBytes(fd, kStamp.constData(), kStamp.size()) &&
                    WriteAllBytes(fd, content.constData(), content.size()) && ::syncfs(fd) == 0;
    ::close(fd);
    if (!ok || ::rename(tmp.constData(), QFile::encodeName(path).constData()) != 0) {
        error = Errno(path);
        return false;
    }
    return true;
}

int OpenFolder(const QString& dir, QString& error) {
    QDir().mkpath(dir);
    const int fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) error = Errno(dir);
    return fd;
}

} // namespace

QStringList MailFiles(const QString& maildir) {
    QStringList files;
    for (const char* sub : {"cur", "new"}) {
        const QDir dir(maildir + QLatin1Char('/') + QLatin1String(sub));
        for (const QString& name : dir.entryList(QDir::Files, QDir::Name))
            files << dir.filePath(name);
    }
    return files;
}

bool RunFloor(const QString& maildir, const QString& outDir, FloorCount& count, QString& error) {
    const int dirFd = OpenFolder(outDir, error);
    if (dirFd < 0) return false;
    bool ok = true;
    for (const QString& path : MailFiles(maildir)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) continue;
        const QByteArray mail = file.readAll();
        file.close();
        const std::vector<QByteArray> parts = DecodeAttachments(mail);
        if (parts.empty()) continue; // nothing to save: the mail stays as it is
        for (const QByteArray& part : parts) {
            const QByteArray name = "f" + QByteArray::number(count.files++);
            if (!(ok = WriteFileOnce(dirFd, name, part.constData(), part.size(), error))) break;
            count.bytes += part.size();
        }
        if (!ok || !(ok = RewriteMail(path, mail, error))) break;
        ++count.mails;
    }
    ::close(dirFd);
    return ok;
}

bool WriteSyncedFiles(const QString& outDir, const std::vector<qint64>& sizes, qint64& bytes,
                      QString& error) {
    const int dirFd = OpenFolder(outDir, error);
    if (dirFd < 0) return false;
    qint64 largest = 0;
    for (qint64 size : sizes)
        largest = std::max(largest, size);
    // Incompressible bytes, so no file system could make the write cheaper than the real one.
    QByteArray data(largest, Qt::Uninitialized);
    uint64_t x = 0x9E3779B97F4A7C15ull;
    for (qsizetype i = 0; i + 8 <= data.size(); i += 8) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        std::memcpy(data.data() + i, &x, 8);
    }
    bool ok = true;
    for (size_t i = 0; ok && i < sizes.size(); ++i) {
        ok = WriteFileOnce(dirFd, "p" + QByteArray::number(qulonglong(i)), data.constData(),
                           sizes[i], error);
        if (ok) bytes += sizes[i];
    }
    if (ok && ::syncfs(dirFd) != 0) ok = false; // the whole volume on disk, once
    ::close(dirFd);
    return ok;
}
