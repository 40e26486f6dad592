#pragma once

#include <QColor>
#include <QIcon>
#include <QPen>

class QPalette;

namespace simulation {

/// Returns whether \a palette has light text on a dark base.
bool isDark(const QPalette &palette);

/// Returns the colour for failures, readable on the base of \a palette.
QColor failureColor(const QPalette &palette);

/// Returns the pen of channel \a number, counted from 1, for light and dark backgrounds. Colour and dash
/// pattern together are unique; the colours differ for colour-blind people, too.
QPen channelPen(int number);

/// Returns a sample of channelPen() on the base of \a palette, in the same colours for a selected item.
QIcon channelIcon(int number, const QPalette &palette);

/// Switches the program to a dark palette or back to the desktop's palette. GUI thread only.
void setDarkPalette(bool dark);

} // namespace simulation
