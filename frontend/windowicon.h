#pragma once

#include <QIcon>

/// The frontend's own icon: a tracked body with its markers.
QIcon windowIcon();
