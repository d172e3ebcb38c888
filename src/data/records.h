#pragma once
// The five record types. Text fields have a fixed length: a longer value is cut on store, a
// shorter one blank-padded; a field never set holds NULs. Readers trim at every read.
// Booleans are 16-bit: -1 True, 0 False, any other non-zero value counts as True.
#include "data/rule_codes.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <array>
#include <cstdint>

using VbBool = int16_t;
constexpr VbBool vbTrue = -1;
constexpr VbBool vbFalse = 0;
inline VbBool ToVb(bool b) {
    return b ? vbTrue : vbFalse;
}
inline bool IsTrue(VbBool b) {
    return b != 0;
}

QString TrimFixedText(const QString& raw);
// The end of `value` that is a run of blanks or NULs: where it starts, and which it is.
qsizetype PaddingStart(const QString& value, qsizetype length, QChar fill, QChar& padding);
// A field of `length` characters held as `text` and its padding character: all characters as
// stored, and the value as every reader takes it (blanks trimmed, NULs of a new field stay).
QString FixedTextRaw(const QString& text, QChar fill, qsizetype length);
QString FixedTextValue(const QString& text, QChar fill, qsizetype length);

// The N characters are held as the text before the padding and the padding character, so a
// field costs what its text needs.
template <int N> class FixedText {
  public:
    static constexpr int Length = N;

    FixedText() = default; // N NULs

    // Stores a value: cut to N characters, blank-padded at the right.
    void set(const QString& value) { store(value.left(N), QLatin1Char(' ')); }
    FixedText& operator=(const QString& value) {
        set(value);
        return *this;
    }

    // The value as every reader takes it: blanks trimmed (NULs of a new field stay).
    QString get() const { return FixedTextValue(m_text, m_fill, N); }
    // All N characters as stored.
    QString raw() const { return FixedTextRaw(m_text, m_fill, N); }
    // The characters before the padding, and the padding character.
    const QString& text() const { return m_text; }
    QChar fill() const { return m_fill; }
    // Takes N characters exactly as they stand (used by the file reader).
    void setRaw(const QString& raw) { store(raw.left(N), QChar(0)); }

    bool operator==(const FixedText&) const = default;

  private:
    // `value` (at most N characters) padded with `fill`; a run of blanks or NULs at the end is
    // kept as padding, so equal contents are held alike.
    void store(const QString& value, QChar fill) {
        QChar padding;
        const qsizetype start = PaddingStart(value, N, fill, padding);
        m_text = start == value.size() ? value : value.left(start);
        m_fill = padding;
    }

    QString m_text;
    QChar m_fill = QChar(0);
};

// The text fields of a record with many of them, held in one block: their texts (without the
// padding) one after the other in UTF-8, and where each ends. A protocol has one record per
// saved attachment, so a record costs one allocation instead of one per field.
template <int... Ns> class PackedTexts {
  public:
    static constexpr int kCount = sizeof...(Ns);
    static_assert((Ns + ...) * 3 < 0x8000, "the ends must fit in 15 bits");

    QByteArrayView utf8(int i) const {
        return QByteArrayView(m_block).sliced(begin(i), end(i) - begin(i));
    }
    QString text(int i) const { return QString::fromUtf8(utf8(i)); }
    QChar fill(int i) const { return m_ends[i] & kBlank ? QLatin1Char(' ') : QChar(0); }

    // Field `i` becomes `utf8`, padded with `fill` (a blank or NUL).
    void store(int i, QByteArrayView utf8, QChar fill) {
        const int from = begin(i);
        const int delta = int(utf8.size()) - (end(i) - from);
        m_block.replace(from, end(i) - from, utf8);
        for (int j = i; j < kCount; ++j)
            m_ends[j] = uint16_t((m_ends[j] & ~kBlank) + delta) | (m_ends[j] & kBlank);
        m_ends[i] = uint16_t(end(i)) | (fill == QLatin1Char(' ') ? kBlank : 0);
    }
    // Room for a record being read field by field, and giving back what is left over.
    void reserve(int bytes) { m_block.reserve(bytes); }
    void squeeze() { m_block.squeeze(); }

    bool operator==(const PackedTexts&) const = default;

  private:
    static constexpr uint16_t kBlank = 0x8000; // the padding is blanks, not NULs

    int begin(int i) const { return i == 0 ? 0 : end(i - 1); }
    int end(int i) const { return m_ends[i] & ~kBlank; }

    QByteArray m_block;
    std::array<uint16_t, kCount> m_ends{};
};

// One field of a PackedTexts, read and stored as a FixedText<N> is; `Texts` is const for a
// field of a const record.
template <class Texts, int N> class PackedField {
  public:
    static constexpr int Length = N;

    PackedField(Texts& texts, int index) : m_texts(texts), m_index(index) {}
    PackedField(const PackedField&) = default;
    // Assigning stores the text; a field is never re-seated.
    PackedField& operator=(const PackedField&) = delete;

    void set(const QString& value) const { store(value.left(N), QLatin1Char(' ')); }
    const PackedField& operator=(const QString& value) const {
        set(value);
        return *this;
    }
    QString get() const { return FixedTextValue(text(), fill(), N); }
    QString raw() const { return FixedTextRaw(text(), fill(), N); }
    QString text() const { return m_texts.text(m_index); }
    QByteArrayView utf8() const { return m_texts.utf8(m_index); }
    QChar fill() const { return m_texts.fill(m_index); }
    void setRaw(const QString& raw) const { store(raw.left(N), QChar(0)); }
    // The same for N characters of ASCII, as most of a data file is: no conversion needed.
    void setRawAscii(QByteArrayView raw) const {
        const char last = raw.size() < N ? '\0' : raw.back();
        qsizetype start = raw.size();
        if (last == ' ' || last == '\0')
            while (start > 0 && raw[start - 1] == last)
                --start;
        m_texts.store(m_index, raw.first(start), last == ' ' ? QLatin1Char(' ') : QChar(0));
    }

  private:
    void store(const QString& value, QChar fill) const {
        QChar padding;
        const qsizetype start = PaddingStart(value, N, fill, padding);
        m_texts.store(m_index, QStringView(value).first(start).toUtf8(), padding);
    }

    Texts& m_texts;
    int m_index;
};

struct udtRule {
    VbBool Active = 0;
    FixedText<100> Name;
    VbBool CheckSender = 0;
    FixedText<150> Sender;
    VbBool CheckRecp = 0;
    FixedText<150> Recipient;
    VbBool CheckSubj = 0;
    FixedText<100> Subject;
    VbBool CheckFileFormat = 0;
    FixedText<5> FileFormat;
    int16_t SaveBy = 0;     // a SaveBy:: code
    int16_t SaveFormat = 0; // a SaveFormat:: code of that SaveBy
    FixedText<200> Folder;
    uint8_t FileExists = 0; // a FileExists:: code
    FixedText<49> Reserved;
    FixedText<250> Execute;
    VbBool DelAttach = 0;
    VbBool Notify = 0;
    VbBool Hyperlink = 0;

    bool operator==(const udtRule&) const = default;
};

struct udtProject {
    FixedText<100> Name;
    FixedText<250> Folder;

    bool operator==(const udtProject&) const = default;
};

struct udtWatchFolder {
    VbBool Active = 0;
    FixedText<100> Name;
    FixedText<250> Path;
    FixedText<250> EntryID;
    FixedText<250> StoreID;

    bool operator==(const udtWatchFolder&) const = default;
};

struct udtBlockedFormat {
    FixedText<3> Extension;
    FixedText<30> Description;
    VbBool Active = 0;
    VbBool System = 0;

    bool operator==(const udtBlockedFormat&) const = default;
};

// One saved attachment. The text fields are reached through accessors (`e.Mail().get()`,
// `e.Mail() = text`): they share one block, so a protocol of many records stays small.
struct udtProtoEntry {
    using Texts = PackedTexts<100, 100, 100, 100, 5, 200, 200, 100, 250, 50, 100>;
    template <int N> using Field = PackedField<Texts, N>;
    template <int N> using ConstField = PackedField<const Texts, N>;

    double Date = 0;

    Field<100> Mail() { return {texts, 0}; }
    ConstField<100> Mail() const { return {texts, 0}; }
    Field<100> EntryID() { return {texts, 1}; }
    ConstField<100> EntryID() const { return {texts, 1}; }
    Field<100> StoreID() { return {texts, 2}; }
    ConstField<100> StoreID() const { return {texts, 2}; }
    Field<100> Attachment() { return {texts, 3}; }
    ConstField<100> Attachment() const { return {texts, 3}; }
    Field<5> FileFormat() { return {texts, 4}; }
    ConstField<5> FileFormat() const { return {texts, 4}; }
    Field<200> Sender() { return {texts, 5}; }
    ConstField<200> Sender() const { return {texts, 5}; }
    Field<200> Recipient() { return {texts, 6}; }
    ConstField<200> Recipient() const { return {texts, 6}; }
    Field<100> Rule() { return {texts, 7}; }
    ConstField<100> Rule() const { return {texts, 7}; }
    Field<250> Folder() { return {texts, 8}; }
    ConstField<250> Folder() const { return {texts, 8}; }
    Field<50> Project() { return {texts, 9}; }
    ConstField<50> Project() const { return {texts, 9}; }
    Field<100> State() { return {texts, 10}; }
    ConstField<100> State() const { return {texts, 10}; }

    Texts texts;

    bool operator==(const udtProtoEntry&) const = default;
};

// Record sizes in the data files.
constexpr int kRuleRecordSize = 1025;
constexpr int kProjectRecordSize = 350;
constexpr int kWatchFolderRecordSize = 852;
constexpr int kProtoRecordSize = 1313;
constexpr int kBlockedRecordSize = 37;
