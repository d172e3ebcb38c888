#include "host/imap/imap_line_ends.h"

QByteArray CrlfLineEnds(const QByteArray& mail) {
    QByteArray out;
    out.reserve(mail.size() + mail.count('\n') + 2);
    for (qsizetype i = 0; i < mail.size(); ++i) {
        const char c = mail[i];
        if (c != '\r' && c != '\n') {
            out += c;
            continue;
        }
        out += "\r\n";
        if (c == '\r' && i + 1 < mail.size() && mail[i + 1] == '\n') ++i;
    }
    return out;
}
