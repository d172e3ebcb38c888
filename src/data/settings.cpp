#include "data/settings.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/vbstring.h"
#include "data/defaults.h"
#include "data/globals.h"
#include "data/log.h"

#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QStringDecoder>

#include <limits>
#include <memory>

namespace {
// Every application of the family keeps its own file: "<app>/<app>.conf" in the user's config
// folder, one group per section.
QString StoreFilePath(const QString& app) {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QLatin1Char('/') + app + QLatin1Char('/') + app + QStringLiteral(".conf");
}

std::unique_ptr<QSettings> OpenStore(const QString& app, const QString& section) {
    auto store = std::make_unique<QSettings>(StoreFilePath(app), QSettings::IniFormat);
    store->beginGroup(section);
    return store;
}

// The INI reader takes nearly anything for keys, and its next write would mangle the bytes for
// good. A file with NULs or bytes that are no UTF-8 text is damaged: none of it is trusted.
bool IsDamaged(const QSettings& store) {
    if (store.status() == QSettings::FormatError) return true;
    QFile file(store.fileName());
    if (!file.open(QIODevice::ReadOnly))
        return false; // missing, or unreadable and so already without values
    const QByteArray bytes = file.readAll();
    if (bytes.contains('\0')) return true;
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString decoded = utf8.decode(bytes); // decoding sets the error state
    return utf8.hasError();
}

// A hand-edited value with a comma comes back from the INI reader as a list; it was one text.
QString AsText(const QVariant& value) {
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(QStringLiteral(", "));
    return value.toString();
}

// The damaged file is kept beside the store for a look by hand, and the store starts afresh.
void SetAsideDamagedStore(const QString& path) {
    const QString aside = path + QStringLiteral(".damaged");
    QFile::remove(aside);
    if (QFile::rename(path, aside))
        WriteLog(QStringLiteral("! Settings: ") + path +
                 QStringLiteral(" could not be read, kept as ") + aside +
                 QStringLiteral("; starting with defaults"));
}

// The leading number of a setting, if it fits the global's type; otherwise the global keeps its
// value, as an overflowing assignment leaves it.
template <class T> void AssignNumber(T& target, const QString& key, const QString& defaultValue) {
    const long long v = GetNumberSetting(key, defaultValue);
    if (v >= std::numeric_limits<T>::min() && v <= std::numeric_limits<T>::max())
        target = static_cast<T>(v);
}
} // namespace

QString SettingsFilePath() {
    return StoreFilePath(QLatin1String(RegAppName));
}

QString GetSetting(const QString& app, const QString& section, const QString& key,
                   const QString& defaultValue) {
    const auto store = OpenStore(app, section);
    if (store->status() != QSettings::NoError || IsDamaged(*store))
        return defaultValue; // unreadable or damaged: the defaults hold
    const QVariant value = store->value(key);
    return value.isValid() ? AsText(value) : defaultValue;
}

void SaveSetting(const QString& app, const QString& section, const QString& key,
                 const QString& value) {
    auto store = OpenStore(app, section);
    if (IsDamaged(*store)) {
        store.reset();
        SetAsideDamagedStore(StoreFilePath(app));
        store = OpenStore(app, section);
    }
    store->setValue(key, value);
    store->sync(); // a failed write is ignored
}

QString GetSetting(const QString& key, const QString& defaultValue) {
    return GetSetting(QLatin1String(RegAppName), QLatin1String(RegAppSect), key, defaultValue);
}

void SaveSetting(const QString& key, const QString& value) {
    SaveSetting(QLatin1String(RegAppName), QLatin1String(RegAppSect), key, value);
}

bool GetBoolSetting(const QString& key, const QString& defaultValue) {
    return GetSetting(key, defaultValue) == QLatin1String("1");
}

long long GetNumberSetting(const QString& key, const QString& defaultValue) {
    return LeadingNumber(GetSetting(key, defaultValue));
}

void ReadSettingsIntoGlobals() {
    if (IsDamaged(QSettings(SettingsFilePath(), QSettings::IniFormat)))
        WriteLog(QStringLiteral("! Settings: ") + SettingsFilePath() +
                 QStringLiteral(" is damaged; using defaults"));
    AssignNumber(CurrLang, QStringLiteral("CurrLang"), DefaultCurrLang());
    DoProto = GetBoolSetting(QStringLiteral("DoProto"), QStringLiteral("0"));
    SWActive = GetBoolSetting(QStringLiteral("SWActive"), QStringLiteral("0"));
    SWTest = GetBoolSetting(QStringLiteral("SWTest"), QStringLiteral("1"));
    AssignNumber(Notify, QStringLiteral("Notify"), QStringLiteral("1"));
    AssignNumber(NotifyTime, QStringLiteral("NotifyTime"), QStringLiteral("5"));
    NotifySound = GetBoolSetting(QStringLiteral("NotifySound"), QStringLiteral("1"));
    SoundName = GetSetting(QStringLiteral("SoundName"), QStringLiteral("Moog 1"));
}

QString DefaultCurrLang() {
    // The language of messages: $LANGUAGE first, then LC_ALL, LC_MESSAGES and LANG.
    const QLocale system = QLocale::system();
    const QStringList ui = system.uiLanguages();
    const QLocale::Language language =
        ui.isEmpty() ? system.language() : QLocale(ui.first()).language();
    return language == QLocale::German ? QStringLiteral("0") : QStringLiteral("1");
}

const QList<SettingInfo>& KnownSettings() {
    using K = SettingKind;
    static QList<SettingInfo> kSettings = {
        {QStringLiteral("CurrLang"), QStringLiteral("0"), true, K::Whole, 0, 1},
        {QStringLiteral("DoProto"), QStringLiteral("0"), true, K::YesNo},
        {QStringLiteral("SWActive"), QStringLiteral("0"), true, K::YesNo},
        {QStringLiteral("SWTest"), QStringLiteral("1"), true, K::YesNo},
        {QStringLiteral("Notify"), QStringLiteral("1"), true, K::Whole, 0, 2},
        {QStringLiteral("NotifyTime"), QStringLiteral("5"), true, K::Whole, 1, 99},
        {QStringLiteral("NotifySound"), QStringLiteral("1"), true, K::YesNo},
        {QStringLiteral("SoundName"), QStringLiteral("Moog 1")},
        {QStringLiteral("MarkMail"), QStringLiteral("0"), true, K::Whole, 0, 2},
        {QStringLiteral("LastPath"), QString()},
        {QStringLiteral("DoInvAdr"), QStringLiteral("0"), true, K::YesNo},
        {QStringLiteral("Doku"), QString()},
        // Further vCard folders for the address chooser, separated by ";".
        {QStringLiteral("VCardFolders"), QString()},
        {QStringLiteral("CmdBarExplRow"), QString(), false, K::Whole, -32768, 32767},
        {QStringLiteral("CmdBarExplPos"), QString(), false, K::Whole, -32768, 32767},
        {QStringLiteral("CmdBarExplX"), QString(), false, K::Whole, -32768, 32767},
        {QStringLiteral("CmdBarExplY"), QString(), false, K::Whole, -32768, 32767},
        {QStringLiteral("CmdBarExplW"), QString(), false, K::Whole, -32768, 32767},
        {QStringLiteral("CmdBarExplH"), QString(), false, K::Whole, -32768, 32767},
        // The pause after each changed mail, in seconds; bulk runs set it to "0".
        {QStringLiteral("PaceSeconds"), QStringLiteral("0.5"), true, K::Decimal, 0, 60},
        // The mail store when no --store or --maildir is given: imap://user@host, maildir:PATH.
        {QStringLiteral("Store"), QString(), false, K::Store},
        // The command that prints the IMAP password or token; the secret itself is never kept.
        {QStringLiteral("PasswordCommand"), QString()},
        // The connections `watch` may hold per IMAP account, and how often the watched
        // mailboxes that get none of their own are looked at.
        {QStringLiteral("ImapConnections"), QStringLiteral("5"), true, K::Whole, 1, 50},
        {QStringLiteral("ImapPollSeconds"), QStringLiteral("60"), true, K::Whole, 1, 3600},
    };
    // The first start's language follows the desktop's locale, which may change between calls.
    kSettings[0].defaultValue = DefaultCurrLang();
    // The manual is wherever this program's package or build put it.
    for (SettingInfo& s : kSettings)
        if (s.key == QLatin1String("Doku")) s.defaultValue = DefaultManual();
    return kSettings;
}

const SettingInfo* FindSetting(const QString& key) {
    for (const SettingInfo& s : KnownSettings())
        if (s.key.compare(key, Qt::CaseInsensitive) == 0) return &s;
    return nullptr;
}

QString SettingValueProblem(const SettingInfo& info, const QString& value) {
    const auto range = [&] { return QStringLiteral("%1 to %2").arg(info.min).arg(info.max); };
    bool ok = false;
    switch (info.kind) {
    case SettingKind::Text:
        return {};
    case SettingKind::Store:
        if (value.isEmpty() || value.startsWith(QLatin1String("maildir:")) ||
            value.startsWith(QLatin1String("/")) ||
            QRegularExpression(QStringLiteral("^imap(\\+starttls|\\+plain)?://[^/@:]+@[^/]+$"),
                               QRegularExpression::CaseInsensitiveOption)
                .match(value.section(QLatin1Char('?'), 0, 0))
                .hasMatch())
            return {};
        return info.key + QStringLiteral(" takes imap://user@host[:port] (or imap+starttls://, "
                                         "imap+plain:// to this computer), maildir:PATH or an "
                                         "absolute path");
    case SettingKind::YesNo:
        if (value == QLatin1String("0") || value == QLatin1String("1")) return {};
        return info.key + QStringLiteral(" takes 1 (yes) or 0 (no)");
    case SettingKind::Whole: {
        const int n = value.toInt(&ok);
        if (ok && n >= info.min && n <= info.max) return {};
        QString text = info.key + QStringLiteral(" takes a whole number from ") + range();
        if (info.key == QLatin1String("CurrLang"))
            text += QStringLiteral(" (0 German, 1 English)");
        else if (info.key == QLatin1String("Notify"))
            text += QStringLiteral(" (0 none, 1 message box, 2 tray balloon)");
        else if (info.key == QLatin1String("NotifyTime") ||
                 info.key == QLatin1String("ImapPollSeconds"))
            text += QStringLiteral(" (seconds)");
        return text;
    }
    case SettingKind::Decimal: {
        const double d = value.toDouble(&ok);
        if (ok && d >= info.min && d <= info.max) return {};
        return info.key + QStringLiteral(" takes a number of seconds from ") + range() +
               QStringLiteral(" (such as 0.5)");
    }
    }
    return {};
}

QString ApplySetting(const QString& key, const QString& value) {
    const SettingInfo* info = FindSetting(key);
    if (!info) return QStringLiteral("unknown setting '") + key + QLatin1Char('\'');
    if (QString problem = SettingValueProblem(*info, value); !problem.isEmpty()) return problem;
    SaveSetting(info->key, value);
    const uint8_t langBefore = CurrLang;
    ReadSettingsIntoGlobals();
    if (CurrLang != langBefore) {
        LangChanged = true;
        InitAppCaptions();
    }
    return {};
}
