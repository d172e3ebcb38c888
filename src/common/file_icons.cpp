#include "common/file_icons.h"

#include <QMimeDatabase>
#include <QPainter>
#include <QPixmap>

namespace {
// A sheet with a folded corner, for a desktop without an icon theme.
QIcon GenericFileIcon() {
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setPen(QColor(0x55, 0x55, 0x55));
    p.setBrush(Qt::white);
    const QPointF sheet[] = {{2.5, 0.5}, {10.5, 0.5}, {13.5, 3.5}, {13.5, 15.5}, {2.5, 15.5}};
    p.drawPolygon(sheet, 5);
    p.drawPolyline(QPolygonF({{10.5, 0.5}, {10.5, 3.5}, {13.5, 3.5}}));
    p.end();
    return QIcon(pixmap);
}
} // namespace

QIcon GetFileIcon(int /*flags*/, const QString& path) {
    static const QIcon generic = GenericFileIcon();
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName());
    if (icon.isNull()) icon = QIcon::fromTheme(type.genericIconName());
    if (icon.isNull()) icon = QIcon::fromTheme(QStringLiteral("text-x-generic"));
    return icon.isNull() ? generic : icon;
}
