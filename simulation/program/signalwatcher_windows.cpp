#include "signalwatcher.h"

#include <QCoreApplication>

#include <mutex>
#include <qt_windows.h>

namespace simulation {

namespace {

std::mutex mutex;
bool isWatching = false; ///< guarded by mutex; false after the first event

/// Handles Ctrl+C, Ctrl+Break and the closing of the console. The system calls it on a separate thread.
BOOL WINAPI onControl(DWORD)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (!isWatching)
        return FALSE; // the default action ends the program
    QMetaObject::invokeMethod(qApp, "quit", Qt::QueuedConnection);
    isWatching = false;
    return TRUE;
}

} // namespace

SignalWatcher::SignalWatcher()
{
    const std::lock_guard<std::mutex> lock(mutex);
    isWatching = true;
    SetConsoleCtrlHandler(onControl, TRUE);
}

SignalWatcher::~SignalWatcher()
{
    const std::lock_guard<std::mutex> lock(mutex);
    isWatching = false;
    SetConsoleCtrlHandler(onControl, FALSE);
}

} // namespace simulation
