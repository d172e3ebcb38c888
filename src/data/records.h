#pragma once
// The five record types. Text fields have a fixed length: a longer value is cut on store, a
// shorter one blank-padded; a field never set holds NULs. Readers trim at every read.
// Booleans are 16-bit: -1 True, 0 False, any other non-zero value counts as True.
#include "data/rule_codes.h"

#include <QString>
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

// The N characters are held as the text before the padding and the padding character, so a
// field costs what its text needs (a protocol of many records stays small in memory).
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
    QString get() const;
    // All N characters as stored.
    QString raw() const { return m_text + QString(N - m_text.size(), m_fill); }
    // The characters before the padding, and the padding character.
    const QString& text() const { return m_text; }
    QChar fill() const { return m_fill; }
    // Takes N characters exactly as they stand (used by the file reader).
    void setRaw(const QString& raw) { store(raw.left(N), QChar(0)); }

    bool operator==(const FixedText&) const = default;

  private:
    // `value` (at most N characters) padded with `fill`; a run of blanks or NULs at the end is
    // kept as padding, so equal contents are held alike.
    void store(const QString& value, QChar fill);

    QString m_text;
    QChar m_fill = QChar(0);
};

QString TrimFixedText(const QString& raw);
// The end of `value` that is a run of blanks or NULs: where it starts, and which it is.
qsizetype PaddingStart(const QString& value, qsizetype length, QChar fill, QChar& padding);

template <int N> QString FixedText<N>::get() const {
    // Blank padding is trimmed anyway; NUL padding stays part of the value.
    return TrimFixedText(m_fill == QLatin1Char(' ') ? m_text : raw());
}

template <int N> void FixedText<N>::store(const QString& value, QChar fill) {
    QChar padding;
    const qsizetype start = PaddingStart(value, N, fill, padding);
    m_text = start == value.size() ? value : value.left(start);
    m_fill = padding;
}

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

struct udtProtoEntry {
    double Date = 0;
    FixedText<100> Mail;
    FixedText<100> EntryID;
    FixedText<100> StoreID;
    FixedText<100> Attachment;
    FixedText<5> FileFormat;
    FixedText<200> Sender;
    FixedText<200> Recipient;
    FixedText<100> Rule;
    FixedText<250> Folder;
    FixedText<50> Project;
    FixedText<100> State;

    bool operator==(const udtProtoEntry&) const = default;
};

// Record sizes in the data files.
constexpr int kRuleRecordSize = 1025;
constexpr int kProjectRecordSize = 350;
constexpr int kWatchFolderRecordSize = 852;
constexpr int kProtoRecordSize = 1313;
constexpr int kBlockedRecordSize = 37;
