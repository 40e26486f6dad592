#pragma once

#include <QColor>

class QPalette;

/// Whether text on the base of \a palette is light on dark.
bool isDark(const QPalette &palette);

/// The colour of what has failed, readable on the base of \a palette.
QColor failureColor(const QPalette &palette);

/// The colour that stands for channel \a number, counted from 1, on light and on dark ground.
QColor channelColor(int number);

/// Switches the whole program to a dark palette, or back to the desktop's own. GUI thread.
void setDarkPalette(bool dark);
