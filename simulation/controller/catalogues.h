#pragma once

#include "controllerstate.h"

namespace simulation {

/// A catalogue of output types that the user can choose for the simulated Controller.
struct NamedCatalogue
{
    const char *title; ///< for the user; callers translate it in the context "Catalogues"
    QList<OutputType> types;
};

/// Returns the catalogues in the order in which they are offered to the user, the default one first.
QList<NamedCatalogue> catalogues();

} // namespace simulation
