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

/// Returns the pen of channel \a number, counted from 1, for light and dark backgrounds. The combination of
/// colour and dash pattern is unique among ten channels; colour-blind people can distinguish the colours,
/// too.
QPen channelPen(int number);

/// Returns an icon with a line in the colour and dash pattern of channelPen(\a number) on the base colour of
/// \a palette. The icon looks the same in a selected item.
QIcon channelIcon(int number, const QPalette &palette);

/// Switches the program to a dark style and palette or back to those of the desktop. GUI thread only.
void setDarkPalette(bool dark);

} // namespace simulation
