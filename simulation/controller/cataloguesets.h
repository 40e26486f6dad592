#pragma once

#include "controllerstate.h"

namespace simulation {

/// A catalogue of output types for the simulated Controller.
struct CatalogueSet
{
    const char *title; ///< for the user; callers translate it in the context "CatalogueSets"
    QList<OutputType> types;
};

/// Returns the sets in the order in which they are offered to the user, the default one first.
const QList<CatalogueSet> &catalogueSets();

} // namespace simulation
