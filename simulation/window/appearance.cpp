#include "appearance.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QStyle>
#include <QStyleFactory>
#include <QStyleOption>
#include <QToolTip>

#include <array>

namespace simulation {

namespace {

QPalette darkPalette()
{
    const QColor window(0x4a, 0x4e, 0x54);
    const QColor base(0x17, 0x18, 0x1a);
    const QColor text(0xe6, 0xe8, 0xea);
    const QColor faint(0xa0, 0xa4, 0xaa);
    const QColor highlight(0x2f, 0x65, 0xa8);
    QPalette palette(text, QColor(0x55, 0x59, 0x60), QColor(0x6c, 0x71, 0x78), QColor(0x26, 0x28, 0x2b),
                     QColor(0x3a, 0x3d, 0x42), text, Qt::white, base, window);
    palette.setColor(QPalette::AlternateBase, QColor(0x20, 0x22, 0x24));
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Link, QColor(0x6c, 0xb2, 0xff));
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    palette.setColor(QPalette::Disabled, QPalette::Base, window);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(0x5a, 0x5e, 0x64));
    return palette;
}

/// The Fusion style with check boxes outlined in the colour of the text. The outline of Fusion itself is
/// darker than the window and invisible on a dark base.
class DarkStyle : public QProxyStyle
{
public:
    DarkStyle()
        : QProxyStyle(QLatin1String("Fusion"))
    {
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        if (element != PE_IndicatorCheckBox && element != PE_IndicatorItemViewItemCheck)
            return;
        QColor outline = option->palette.color(QPalette::Text);
        outline.setAlphaF(option->state & State_Enabled ? 0.7 : 0.4);
        painter->save();
        painter->setPen(outline);
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
        painter->restore();
    }
};

void apply(QStyle *style, const QPalette &palette)
{
    QApplication::setStyle(style);
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
}

} // namespace

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Text).lightness() > palette.color(QPalette::Base).lightness();
}

QColor failureColor(const QPalette &palette)
{
    return isDark(palette) ? QColor(0xff, 0x7b, 0x72) : QColor(0xb3, 0x1d, 0x1d);
}

QPen channelPen(int number)
{
    // From the palette of Okabe and Ito, "Color Universal Design" (2008).
    static constexpr std::array<QRgb, 5> colors{0xff0072b2, 0xffd55e00, 0xff009e73, 0xffcc79a7, 0xffe69f00};
    const auto index = size_t(number - 1);
    QPen pen(QColor(colors[index % colors.size()]), 2.0);
    // The dashes are short, so that even the small samples in the legend show two of them.
    if (index / colors.size() % 2 == 1)
        pen.setDashPattern({2.0, 1.5});
    return pen;
}

QIcon channelIcon(int number, const QPalette &palette)
{
    QPixmap pixmap(32, 16);
    pixmap.fill(palette.color(QPalette::Base));
    QPainter painter(&pixmap);
    QPen pen = channelPen(number);
    pen.setWidth(4);
    painter.setPen(pen);
    painter.drawLine(2, 8, 29, 8);
    QIcon icon(pixmap);
    // Without a pixmap for selected items, the style would tint the normal one.
    icon.addPixmap(pixmap, QIcon::Selected);
    return icon;
}

void setDarkPalette(bool dark)
{
    static const QString desktopStyle = QApplication::style()->objectName();
    static const QPalette desktopPalette = QApplication::palette();
    if (dark)
        apply(new DarkStyle, darkPalette());
    else
        apply(QStyleFactory::create(desktopStyle), desktopPalette);
}

} // namespace simulation
