#include "signalwatcher.h"

#include <mutex>
#include <qt_windows.h>

namespace simulation {

namespace {

std::mutex mutex;
SignalWatcher *current = nullptr; ///< guarded by mutex; null after the first event

/// Handles Ctrl+C, Ctrl+Break and the closing of the console. The system calls it on a separate thread.
BOOL WINAPI onControl(DWORD)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (!current)
        return FALSE; // the default action ends the program
    QMetaObject::invokeMethod(current, "interrupted", Qt::QueuedConnection);
    current = nullptr;
    return TRUE;
}

} // namespace

SignalWatcher::SignalWatcher(QObject *parent)
    : QObject(parent)
{
    const std::lock_guard<std::mutex> lock(mutex);
    current = this;
    SetConsoleCtrlHandler(onControl, TRUE);
}

SignalWatcher::~SignalWatcher()
{
    const std::lock_guard<std::mutex> lock(mutex);
    current = nullptr;
    SetConsoleCtrlHandler(onControl, FALSE);
}

} // namespace simulation
