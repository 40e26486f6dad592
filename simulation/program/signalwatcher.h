#pragma once

#include <QtGlobal>

namespace simulation {

/// Quits the application's event loop after SIGINT, SIGTERM or SIGHUP, or after a write to a closed pipe
/// (SIGPIPE), so that the program can shut down in an orderly way. On Windows these are Ctrl+C, Ctrl+Break
/// and the closing of the console. The thread must run an event loop: until it does, the signals have no
/// effect, so create the object just before. A second SIGINT, SIGTERM or SIGHUP ends the program at once. The
/// destructor restores the default actions. Only one SignalWatcher may exist at a time.
class SignalWatcher
{
public:
    /// Aborts the program if no pipe can be created.
    SignalWatcher();
    ~SignalWatcher();
    Q_DISABLE_COPY(SignalWatcher)
};

} // namespace simulation
