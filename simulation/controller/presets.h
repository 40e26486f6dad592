#pragma once

#include "controllerstate.h"

namespace simulation {

/// Returns the initial settings of the channel \a index, which is from 0 to 9, for a Controller in \a state.
/// The channel is active and sends to port 5001 + \a index of the frontend, or of a multicast group if the
/// index is 2 or 7. All channels differ.
OutputChannel presetChannel(int index, const ControllerState &state);

/// A catalogue of output types that the user can choose for the simulated Controller.
struct NamedCatalogue
{
    const char *title; ///< for the user; callers translate it in the context "Catalogues"
    QList<OutputType> types;
};

/// Returns the catalogues in the order in which they are offered to the user, the default one first.
QList<NamedCatalogue> catalogues();

} // namespace simulation
