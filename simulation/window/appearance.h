#pragma once

#include <QColor>

class QPalette;

namespace simulation {

/// Returns whether \a palette has light text on a dark base.
bool isDark(const QPalette &palette);

/// Returns the colour for failures, readable on the base of \a palette.
QColor failureColor(const QPalette &palette);

/// Returns the colour of channel \a number, counted from 1, for light and dark backgrounds.
QColor channelColor(int number);

/// Switches the program to a dark palette or back to the desktop's palette. GUI thread only.
void setDarkPalette(bool dark);

} // namespace simulation
