#include "appearance.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QToolTip>

#include <array>

namespace simulation {

namespace {

QPalette darkPalette()
{
    // The style draws the frames of check boxes a shade below the window's colour, which has to stand out
    // from the base.
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
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(0x5a, 0x5e, 0x64));
    return palette;
}

void apply(const QString &style, const QPalette &palette)
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

QColor channelColor(int number)
{
    static constexpr std::array<QRgb, 10> colors{0xffd97706, 0xff2e9e5b, 0xff9467bd, 0xffd0453e, 0xff1ba3b5,
                                                 0xff9c6b4f, 0xffd264b0, 0xff7f858c, 0xffa8a01e, 0xff3584c4};
    return {colors[size_t(number - 1) % colors.size()]};
}

void setDarkPalette(bool dark)
{
    static const QString desktopStyle = QApplication::style()->objectName();
    static const QPalette desktopPalette = QApplication::palette();
    if (dark)
        apply(QLatin1String("Fusion"), darkPalette());
    else
        apply(desktopStyle, desktopPalette);
}

} // namespace simulation
