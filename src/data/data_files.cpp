#include "data/data_files.h"

#include "common/ansi.h"
#include "common/folders.h"
#include "data/globals.h"
#include "data/log.h"
#include "ui/user_interaction.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QtEndian>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Characters that are the same byte in Windows-1252 and Latin-1 (all but 0x80 to 0x9F).
bool IsLatin1Only(const QString& text) {
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u > 0xFF || (u >= 0x80 && u < 0xA0)) return false;
    }
    return true;
}

bool IsAscii(QByteArrayView bytes) {
    for (const char c : bytes)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

// Builds a record field by field; fields follow each other without gaps.
class RecordWriter {
  public:
    explicit RecordWriter(int size) { m_bytes.reserve(size); }

    template <int N> void text(const FixedText<N>& field) { text(field.text(), N, field.fill()); }
    template <class Texts, int N> void text(const PackedField<Texts, N>& field) {
        // ASCII is held as the very bytes the file takes.
        const QByteArrayView utf8 = field.utf8();
        if (!IsAscii(utf8)) return text(field.text(), N, field.fill());
        m_bytes.append(utf8);
        m_bytes.append(N - utf8.size(), static_cast<char>(field.fill().unicode()));
    }
    void int16(int16_t v) {
        char b[2];
        qToLittleEndian(v, b);
        m_bytes.append(b, 2);
    }
    void byte(uint8_t v) { m_bytes.append(static_cast<char>(v)); }
    void real(double v) {
        quint64 bits;
        std::memcpy(&bits, &v, sizeof bits);
        char b[8];
        qToLittleEndian(bits, b);
        m_bytes.append(b, 8);
    }
    const QByteArray& bytes() const { return m_bytes; }

  private:
    void text(const QString& text, int n, QChar fill) {
        // Latin-1 text, the usual case, is copied byte for byte; anything else takes the full
        // conversion.
        const qsizetype at = m_bytes.size();
        if (IsLatin1Only(text)) {
            m_bytes.resize(at + text.size());
            char* p = m_bytes.data() + at;
            for (const QChar c : text)
                *p++ = static_cast<char>(c.unicode());
        } else {
            m_bytes.append(ToAnsi(text));
        }
        m_bytes.append(n - text.size(), static_cast<char>(fill.unicode()));
        // Always n bytes: a character pair outside the code page shrinks to one "?".
        if (m_bytes.size() - at < n) m_bytes.append(n - (m_bytes.size() - at), ' ');
    }

    QByteArray m_bytes;
};

class RecordReader {
  public:
    explicit RecordReader(const char* data) : m_p(data) {}

    template <int N> void text(FixedText<N>& field) {
        field.setRaw(FromAnsi(m_p, N));
        m_p += N;
    }
    template <class Texts, int N> void text(const PackedField<Texts, N>& field) {
        const QByteArrayView raw(m_p, N);
        if (IsAscii(raw))
            field.setRawAscii(raw);
        else
            field.setRaw(FromAnsi(m_p, N));
        m_p += N;
    }
    void int16(int16_t& v) {
        v = qFromLittleEndian<qint16>(m_p);
        m_p += 2;
    }
    void byte(uint8_t& v) { v = static_cast<uint8_t>(*m_p++); }
    void real(double& v) {
        const quint64 bits = qFromLittleEndian<quint64>(m_p);
        std::memcpy(&v, &bits, sizeof v);
        m_p += 8;
    }

  private:
    const char* m_p;
};

// The field order of each record, once for writing and reading alike (the writer gets const
// records, the reader mutable ones).
template <class Io, class Rule> void RuleFields(Io& io, Rule& r) {
    io.int16(r.Active);
    io.text(r.Name);
    io.int16(r.CheckSender);
    io.text(r.Sender);
    io.int16(r.CheckRecp);
    io.text(r.Recipient);
    io.int16(r.CheckSubj);
    io.text(r.Subject);
    io.int16(r.CheckFileFormat);
    io.text(r.FileFormat);
    io.int16(r.SaveBy);
    io.int16(r.SaveFormat);
    io.text(r.Folder);
    io.byte(r.FileExists);
    io.text(r.Reserved);
    io.text(r.Execute);
    io.int16(r.DelAttach);
    io.int16(r.Notify);
    io.int16(r.Hyperlink);
}

template <class Io, class Project> void ProjectFields(Io& io, Project& p) {
    io.text(p.Name);
    io.text(p.Folder);
}

template <class Io, class Folder> void WatchFolderFields(Io& io, Folder& w) {
    io.int16(w.Active);
    io.text(w.Name);
    io.text(w.Path);
    io.text(w.EntryID);
    io.text(w.StoreID);
}

template <class Io, class Entry> void ProtoEntryFields(Io& io, Entry& e) {
    io.real(e.Date);
    io.text(e.Mail());
    io.text(e.EntryID());
    io.text(e.StoreID());
    io.text(e.Attachment());
    io.text(e.FileFormat());
    io.text(e.Sender());
    io.text(e.Recipient());
    io.text(e.Rule());
    io.text(e.Folder());
    io.text(e.Project());
    io.text(e.State());
}

template <class Io, class Blocked> void BlockedFormatFields(Io& io, Blocked& b) {
    io.text(b.Extension);
    io.text(b.Description);
    io.int16(b.Active);
    io.int16(b.System);
}

// One table: its file, record size and codec.
template <class Rec, class Count> struct Table {
    const char* extension;
    int recordSize;
    RecordTable<Rec, Count>& records;
    Rec (*decode)(const char*);
    QByteArray (*encode)(const Rec&);
};

// Files LoadData could not take in; their bytes are kept aside before the first save replaces
// them, since the arrays in memory do not hold them.
QSet<QString>& RefusedFiles() {
    static QSet<QString> files;
    return files;
}

QString Errno() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

// Reads a table from its file. False when the file does not exist (the caller supplies the
// defaults); any other failure leaves an empty table and a LOG line.
template <class Rec, class Count> bool ReadTable(const Table<Rec, Count>& t) {
    const QString path = DataFilePath(QLatin1String(t.extension));
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) return false;

    t.records.clear();
    QFile file(path);
    if (info.isDir() || !file.open(QIODevice::ReadOnly)) {
        WriteLog(QStringLiteral("! LoadData: can't read ") + path + QStringLiteral(": ") +
                 (info.isDir() ? QStringLiteral("it is a folder") : file.errorString()));
        RefusedFiles().insert(path);
        return true;
    }

    const qint64 size = file.size();
    const qint64 records = size / t.recordSize;
    if (size % t.recordSize != 0)
        WriteLog(QStringLiteral("! LoadData: ") + path +
                 QStringLiteral(" ends in an incomplete record; ") +
                 QString::number(size % t.recordSize) + QStringLiteral(" bytes dropped"));
    if (records > std::numeric_limits<Count>::max()) {
        // The count cannot hold it: the table stays empty, as an overflowing count leaves it.
        WriteLog(QStringLiteral("! LoadData: ") + path + QStringLiteral(" holds ") +
                 QString::number(records) + QStringLiteral(" records, more than ") +
                 QString::number(std::numeric_limits<Count>::max()) +
                 QStringLiteral("; not loaded"));
        RefusedFiles().insert(path);
        return true;
    }

    std::vector<Rec> rows;
    rows.reserve(static_cast<size_t>(records));
    constexpr qint64 kChunk = 1024; // records per read
    for (qint64 done = 0; done < records;) {
        const qint64 n = std::min(kChunk, records - done);
        const QByteArray chunk = file.read(n * t.recordSize);
        const qint64 got = chunk.size() / t.recordSize;
        for (qint64 i = 0; i < got; ++i)
            rows.push_back(t.decode(chunk.constData() + i * t.recordSize));
        done += got;
        if (got < n) {
            WriteLog(QStringLiteral("! LoadData: read of ") + path + QStringLiteral(" stopped: ") +
                     file.errorString());
            break;
        }
    }
    t.records.assign(std::move(rows));
    RefusedFiles().remove(path);
    return true;
}

// Keeps a refused file under a free name beside it, by a second link to the same bytes.
void KeepRefusedFile(const QString& path) {
    if (!RefusedFiles().contains(path)) return;
    const QFileInfo info(path);
    if (info.isFile()) {
        for (int i = 1; i < 100; ++i) {
            const QString aside =
                path + (i == 1 ? QString() : QString::number(i)) + QStringLiteral(".bak");
            if (::link(QFile::encodeName(path).constData(), QFile::encodeName(aside).constData()) ==
                0) {
                WriteLog(QStringLiteral("! SaveData: ") + path +
                         QStringLiteral(" could not be loaded; kept as ") + aside);
                break;
            }
            if (errno != EEXIST) {
                WriteLog(QStringLiteral("! SaveData: can't keep a copy of ") + path +
                         QStringLiteral(": ") + Errno());
                break;
            }
        }
    }
    RefusedFiles().remove(path);
}

template <class Rec, class Count> void WriteTable(const Table<Rec, Count>& t) {
    if (!t.records.changed) return;
    const QString path = DataFilePath(QLatin1String(t.extension));
    const qint64 count = t.records.count();
    // Written in pieces of some records each: a long protocol never needs a second copy of
    // itself in memory.
    constexpr qint64 kPiece = 256;
    const auto produce = [&](const PieceWriter& write) {
        QByteArray piece;
        for (qint64 first = 1; first <= count; first += kPiece) {
            piece.clear();
            for (qint64 i = first; i <= std::min(count, first + kPiece - 1); ++i)
                piece.append(t.encode(t.records[int(i)]));
            if (!write(piece)) return false;
        }
        return true;
    };

    KeepRefusedFile(path);
    QString why;
    if (!ReplaceFileAtomically(path, produce, &why)) {
        // The flag stays set: the table is still in memory, and the next save tries again.
        WriteLog(QStringLiteral("! SaveData: can't write ") + path + QStringLiteral(": ") + why);
        return;
    }
    t.records.changed = false;
}

Table<udtRule, int16_t> RulesTable() {
    return {".rls", kRuleRecordSize, Rules, DecodeRule, EncodeRule};
}
Table<udtProject, int16_t> ProjectsTable() {
    return {".prj", kProjectRecordSize, Projects, DecodeProject, EncodeProject};
}
Table<udtWatchFolder, int16_t> WatchFoldersTable() {
    return {".fld", kWatchFolderRecordSize, WatchFolders, DecodeWatchFolder, EncodeWatchFolder};
}
Table<udtProtoEntry, int32_t> ProtoTable() {
    return {".prt", kProtoRecordSize, ProtoEntries, DecodeProtoEntry, EncodeProtoEntry};
}
Table<udtBlockedFormat, int32_t> BlockedTable() {
    return {".ble", kBlockedRecordSize, BlockedFormats, DecodeBlockedFormat, EncodeBlockedFormat};
}

// The defaults come with an empty row 0, as the tables number their rows.
template <class Rec, class Count>
void SetTable(RecordTable<Rec, Count>& table, std::vector<Rec> values) {
    if (!values.empty()) values.erase(values.begin());
    table.assign(std::move(values));
}

// The blocked formats are the one table whose defaults reach the disk at once.
void CreateBlockedFormatsFile() {
    const QString path = DataFilePath(QStringLiteral(".ble"));
    const std::vector<udtBlockedFormat> rows = DefaultBlockedFormats();
    QByteArray bytes;
    for (size_t i = 1; i < rows.size(); ++i)
        bytes.append(EncodeBlockedFormat(rows[i]));
    QString why;
    if (!ReplaceFileAtomically(path, bytes, &why))
        WriteLog(QStringLiteral("! LoadData: can't create ") + path + QStringLiteral(": ") + why);
}

void LoadBlockedFormats() {
    const QString path = DataFilePath(QStringLiteral(".ble"));
    if (!QFileInfo::exists(path)) CreateBlockedFormatsFile();
    // A file that could not be made or read leaves the default table to guard this session;
    // the file itself stays as it is.
    if (!ReadTable(BlockedTable()) || RefusedFiles().contains(path))
        SetTable(BlockedFormats, DefaultBlockedFormats());
    BlockedFormats.changed = false;
}

} // namespace

QString DataFilePath(const QString& extension) {
    return GetDataFolder() + QStringLiteral("QWKStowaway") + extension;
}

void LoadData(const InboxLookup& inbox) {
    if (!ReadTable(RulesTable())) SetTable(Rules, SampleRules());
    Rules.changed = false;

    if (!ReadTable(ProjectsTable())) SetTable(Projects, SampleProjects());
    Projects.changed = false;

    if (!ReadTable(WatchFoldersTable()))
        SetTable(WatchFolders, {udtWatchFolder{}, DefaultInboxRecord(inbox)});
    WatchFolders.changed = false;

    if (!ReadTable(ProtoTable())) ProtoEntries.clear();
    ProtoEntries.changed = false;

    LoadBlockedFormats();
    ui().pumpEvents();
}

void SaveData() {
    WriteTable(RulesTable());
    WriteTable(ProjectsTable());
    WriteTable(WatchFoldersTable());
    WriteTable(ProtoTable());
    WriteTable(BlockedTable());
    ui().pumpEvents();
}

QByteArray EncodeRule(const udtRule& r) {
    RecordWriter w(kRuleRecordSize);
    RuleFields(w, r);
    return w.bytes();
}
QByteArray EncodeProject(const udtProject& p) {
    RecordWriter w(kProjectRecordSize);
    ProjectFields(w, p);
    return w.bytes();
}
QByteArray EncodeWatchFolder(const udtWatchFolder& f) {
    RecordWriter w(kWatchFolderRecordSize);
    WatchFolderFields(w, f);
    return w.bytes();
}
QByteArray EncodeProtoEntry(const udtProtoEntry& e) {
    RecordWriter w(kProtoRecordSize);
    ProtoEntryFields(w, e);
    return w.bytes();
}
QByteArray EncodeBlockedFormat(const udtBlockedFormat& b) {
    RecordWriter w(kBlockedRecordSize);
    BlockedFormatFields(w, b);
    return w.bytes();
}

udtRule DecodeRule(const char* data) {
    udtRule r;
    RecordReader io(data);
    RuleFields(io, r);
    return r;
}
udtProject DecodeProject(const char* data) {
    udtProject p;
    RecordReader io(data);
    ProjectFields(io, p);
    return p;
}
udtWatchFolder DecodeWatchFolder(const char* data) {
    udtWatchFolder f;
    RecordReader io(data);
    WatchFolderFields(io, f);
    return f;
}
udtProtoEntry DecodeProtoEntry(const char* data) {
    udtProtoEntry e;
    e.texts.reserve(kProtoRecordSize);
    RecordReader io(data);
    ProtoEntryFields(io, e);
    e.texts.squeeze();
    return e;
}
udtBlockedFormat DecodeBlockedFormat(const char* data) {
    udtBlockedFormat b;
    RecordReader io(data);
    BlockedFormatFields(io, b);
    return b;
}

bool ReplaceFileAtomically(const QString& path, const QByteArray& bytes, QString* why) {
    return ReplaceFileAtomically(
        path, [&bytes](const PieceWriter& write) { return write(bytes); }, why);
}

bool ReplaceFileAtomically(const QString& path,
                           const std::function<bool(const PieceWriter&)>& produce, QString* why) {
    const auto fail = [why](const QString& text) {
        if (why) *why = text;
        return false;
    };
    const QByteArray target = QFile::encodeName(path);
    const qsizetype slash = target.lastIndexOf('/');
    const QByteArray folder = slash > 0 ? target.left(slash) : QByteArray(slash == 0 ? "/" : ".");

    // A fresh name that nobody else holds; O_EXCL refuses to open another's file.
    int fd = -1;
    QByteArray temp;
    for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
        temp = target + ".tmp" + QByteArray::number(::getpid()) + '-' + QByteArray::number(attempt);
        fd = ::open(temp.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd < 0 && errno != EEXIST) return fail(Errno());
    }
    if (fd < 0) return fail(QStringLiteral("no free temporary name"));

    struct stat old {};
    if (::stat(target.constData(), &old) == 0 && S_ISREG(old.st_mode))
        ::fchmod(fd, old.st_mode & 07777);

    QString writeError;
    const auto write = [fd, &writeError](const QByteArray& piece) {
        const char* p = piece.constData();
        qsizetype left = piece.size();
        while (left > 0) {
            const ssize_t n = ::write(fd, p, static_cast<size_t>(left));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                writeError = n < 0 ? Errno() : QStringLiteral("nothing written");
                return false;
            }
            p += n;
            left -= n;
        }
        return true;
    };
    if (!produce(write)) {
        ::close(fd);
        ::unlink(temp.constData());
        return fail(writeError.isEmpty() ? QStringLiteral("the content could not be made")
                                         : writeError);
    }
    const bool synced = ::fsync(fd) == 0;
    const QString syncError = synced ? QString() : Errno();
    if (::close(fd) != 0 || !synced) {
        const QString error = synced ? Errno() : syncError;
        ::unlink(temp.constData());
        return fail(error);
    }
    if (::rename(temp.constData(), target.constData()) != 0) {
        const QString error = Errno();
        ::unlink(temp.constData());
        return fail(error);
    }
    // The rename itself is durable only once the folder is synced.
    const int dirFd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}
