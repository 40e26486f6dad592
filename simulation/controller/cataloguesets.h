#pragma once

#include "controllerstate.h"

/// A catalogue of output types that a Controller may have.
struct CatalogueSet
{
    const char *title; ///< for the user, not translated yet
    QList<OutputType> types;
};

/// The sets in the order in which the user chooses from them, the usual one first.
const QList<CatalogueSet> &catalogueSets();
