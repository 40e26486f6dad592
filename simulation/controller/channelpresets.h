#pragma once

#include "controllerstate.h"

namespace simulation {

/// Returns the initial settings of the channel \a index, which is from 0 to 9, for a Controller in \a state.
/// The channel is active and sends to port 5001 + \a index: channels 2 and 7 to a multicast group, the others
/// to the frontend. All channels differ.
OutputChannel presetChannel(int index, const ControllerState &state);

} // namespace simulation
