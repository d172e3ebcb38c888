#pragma once
// A second opinion on mail files: Python's email package parses them and reports what it found.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

// Python's email package reads each file's bytes as they are (line ends untouched): subject,
// Message-ID, stamp, defects and each part, with the text of text parts and the decoded bytes
// (as base64) of every part that is not a multipart. One object per path, in order.
inline QJsonArray ParseAllWithPython(const QStringList& paths) {
    static const char* script = R"(
import base64, email, json, sys
from email import policy
out = []
for path in sys.argv[1:]:
    m = email.message_from_bytes(open(path, 'rb').read(), policy=policy.default)
    o = {'path': path, 'subject': str(m['subject']), 'id': str(m['message-id']),
         'mileage': str(m['x-mileage']), 'defects': [str(d) for d in m.defects], 'parts': []}
    for p in m.walk():
        d = {'type': p.get_content_type(), 'defects': [str(x) for x in p.defects]}
        if not p.is_multipart():
            d['filename'] = p.get_filename()
            if p.get_content_maintype() == 'text':
                d['text'] = p.get_content()
            d['data'] = base64.b64encode(p.get_payload(decode=True) or b'').decode()
        o['parts'].append(d)
    out.append(o)
print(json.dumps(out))
)";
    if (paths.isEmpty()) return {};
    QProcess python;
    python.start(QStringLiteral("python3"),
                 QStringList{QStringLiteral("-c"), QString::fromUtf8(script)} + paths);
    python.waitForFinished(-1);
    EXPECT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
    return QJsonDocument::fromJson(python.readAllStandardOutput()).array();
}

inline QJsonObject ParseWithPython(const QString& path) {
    return ParseAllWithPython({path}).at(0).toObject();
}

// The parts as 'type name'; none may have defects.
inline QStringList PartSummary(const QJsonObject& parsed) {
    QStringList parts;
    for (const QJsonValue& v : parsed[QStringLiteral("parts")].toArray()) {
        const QJsonObject p = v.toObject();
        QString line = p[QStringLiteral("type")].toString();
        if (!p[QStringLiteral("filename")].isNull() && p.contains(QStringLiteral("filename")))
            line += QLatin1Char(' ') + p[QStringLiteral("filename")].toString();
        EXPECT_TRUE(p[QStringLiteral("defects")].toArray().isEmpty()) << line.toStdString();
        parts << line;
    }
    return parts;
}
