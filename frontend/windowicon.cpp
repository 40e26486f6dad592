#include "windowicon.h"

#include <QPainter>
#include <QPixmap>

QIcon windowIcon()
{
    constexpr int Size = 64;
    const QPointF markers[] = {{14, 18}, {50, 14}, {44, 48}, {18, 46}};
    QPixmap pixmap(Size, Size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x1f, 0x3a, 0x4d));
    painter.drawRoundedRect(QRectF(1, 1, Size - 2, Size - 2), 12, 12);
    painter.setPen(QPen(QColor(0x7f, 0xb2, 0xc8), 3));
    for (const QPointF &marker : markers)
        painter.drawLine(QPointF(32, 32), marker);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xf4, 0xf6, 0xf7));
    for (const QPointF &marker : markers)
        painter.drawEllipse(marker, 6, 6);
    return pixmap;
}
