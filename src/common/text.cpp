#include "common/text.h"

#include <array>
#include <utility>

QString CleanFileName(const QString& name) {
    static const QString kForbidden = QStringLiteral("\"\\/:+*?<>|");
    QString out = name;
    for (QChar& c : out)
        if (kForbidden.contains(c)) c = QLatin1Char('_');
    return out;
}

QString HtmlEncode(const QString& text) {
    // The ampersand goes first, so the entities of the later rows stay as written.
    static const std::array<std::pair<char16_t, const char*>, 16> kEntities = {{
        {u'&', "&amp;"},
        {u'\u00E4', "&auml;"},
        {u'\u00F6', "&ouml;"},
        {u'\u00FC', "&uuml;"},
        {u'\u00C4', "&Auml;"},
        {u'\u00D6', "&Ouml;"},
        {u'\u00DC', "&Uuml;"},
        {u'\u00DF', "&szlig;"},
        {u'\u20AC', "&euro;"},
        {u'\u00A9', "&copy;"},
        {u'\u00AE', "&reg;"},
        {u'\u00AB', "&laquo;"},
        {u'\u00BB', "&raquo;"},
        {u'\u00B7', "&bull;"},
        {u'\u00B0', "&deg;"},
        {u'|', "&brvbar;"},
    }};
    QString out = text;
    for (const auto& [c, entity] : kEntities)
        out.replace(QChar(c), QLatin1String(entity));
    return out;
}

QString StripAtNull(const QString& text) {
    const qsizetype nul = text.indexOf(QChar(0));
    return nul < 0 ? text : text.left(nul);
}
