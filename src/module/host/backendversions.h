#pragma once

#include <QMetaType>

#include <cstdint>

/// The version of the Controller. The host owns the record and keeps it valid and unchanged from the call
/// that sets the parameter "BackendVersions" until ModuleInterface::releaseResources() has returned. If the
/// host calls that function from within a command of the module, it keeps the record until the function of
/// the module that sent the command has returned to the host.
struct BackendVersions
{
    int32_t reserved[3]; // not read by the module
    int32_t major;
    int32_t minor;
    int32_t third;
};

/// Returns whether the Controller has at least version \a major.\a minor, that is, a later version, or the
/// same version with a third number of at least -1. May be called on any thread.
inline bool versionAtLeast(const BackendVersions &versions, int32_t major, int32_t minor)
{
    if (versions.major != major)
        return versions.major > major;
    if (versions.minor != minor)
        return versions.minor > minor;
    return versions.third >= -1;
}

Q_DECLARE_METATYPE(BackendVersions *)
