#include "host/mime/gmime/gmime_support.h"

#include <mutex>

void EnsureGMime() {
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

QString TakeGString(char* s) {
    if (!s) return {};
    QString text = QString::fromUtf8(s);
    g_free(s);
    return text;
}

QByteArray TakeGBytes(char* s) {
    if (!s) return {};
    QByteArray bytes(s);
    g_free(s);
    return bytes;
}
