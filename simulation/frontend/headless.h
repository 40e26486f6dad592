#pragma once

namespace simulation {

class Session;

/// Runs \a session without a window: prints one line per second for each receiver, then a summary. The event
/// loop runs until the time set by --seconds is over, the data have ended, or the application quits.
///
/// Returns whether the Controller has sent frames and every receiver got frames, all of them well-formed, in
/// order and without loss. With an embedded Controller, there must also be a receiver for each channel that
/// --channels sets up. GUI thread only.
bool runHeadless(Session &session);

} // namespace simulation
