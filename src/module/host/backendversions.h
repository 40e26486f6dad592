#pragma once

#include <QMetaType>

#include <cstdint>

/// The version of the Controller. The host owns it and keeps it valid as long as the module lives.
struct BackendVersions
{
    int32_t reserved[3];
    int32_t major;
    int32_t minor;
    int32_t third;
};

/// Whether the Controller has at least version \a major.\a minor: a larger version, or the same one with a
/// third number of at least -1. Any thread; the record never changes.
inline bool versionAtLeast(const BackendVersions &versions, int32_t major, int32_t minor)
{
    if (versions.major != major)
        return versions.major > major;
    if (versions.minor != minor)
        return versions.minor > minor;
    return versions.third >= -1;
}

Q_DECLARE_METATYPE(BackendVersions *)
