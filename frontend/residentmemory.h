#pragma once

#include <QtGlobal>

/// The memory of this process that is in use at the moment, in KiB; 0 if the system does not tell.
qint64 residentKiB();
