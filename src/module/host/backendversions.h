#pragma once

#include <QMetaType>

#include <cstdint>

/// The version of the Controller. The host owns the record, which must not change; how long it must exist is
/// said at ModuleInterface::setParameter().
struct BackendVersions
{
    int32_t reserved[3]; // not read by the module
    int32_t major;
    int32_t minor;
    int32_t third;
};

/// Returns whether the Controller has version \a major.\a minor or a later one. May be called on any thread.
/// Note: A version with a third number below -1, such as 1.9.-2, is earlier than 1.9.
inline bool versionAtLeast(const BackendVersions &versions, int32_t major, int32_t minor)
{
    if (versions.major != major)
        return versions.major > major;
    if (versions.minor != minor)
        return versions.minor > minor;
    return versions.third >= -1;
}

Q_DECLARE_METATYPE(BackendVersions *)
