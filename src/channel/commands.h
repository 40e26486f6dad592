#pragma once

#include "backendversions.h"

/// The queries and commands that the module sends to the Controller, as printf-style formats for IOManager.
/// The numbers of channels and the positions of types count from 1.
namespace networksettings2g::commands {

// Queries
inline constexpr char configIsChangeable[] = "config is_changeable";
inline constexpr char routerMode[] = "output net_via_router";
inline constexpr char systemModel[] = "system model";
inline constexpr char typeCount[] = "output number_of_types";
inline constexpr char typeName[] = "output type t%02d";
inline constexpr char typeDescription[] = "output type_desc %s";
inline constexpr char typeAvailable[] = "output available %s";
inline constexpr char monitorAddress[] = "output net chmon";
inline constexpr char destination[] = "output net ch%02d";
inline constexpr char active[] = "output net_active ch%02d";
inline constexpr char typeActive[] = "output active ch%02d %s";
inline constexpr char dataDivisor[] = "output net_divisor ch%02d";

// Commands
inline constexpr char setRouterModeYes[] = "output net_via_router yes";
inline constexpr char setRouterModeNo[] = "output net_via_router no";
inline constexpr char clearDestination[] = "output net ch%02d none";
inline constexpr char setActiveYes[] = "output net_active ch%02d yes";
inline constexpr char setActiveNo[] = "output net_active ch%02d no";
inline constexpr char setTypeActive[] = "output active ch%02d %s %s";
inline constexpr char setMulticast[] = "output net ch%02d multicast '%s' %d";
inline constexpr char setThisComputer[] = "output net ch%02d udp my_ip %d";
inline constexpr char setHost[] = "output net ch%02d udp '%s' %d";
inline constexpr char setDataDivisor[] = "output net_divisor ch%02d %d";

// These functions return whether the Controller's version has a feature that older versions lack.

inline bool knowsRouterMode(const BackendVersions &versions)
{
    return versionAtLeast(versions, 1, 4);
}

inline bool knowsDataDivisor(const BackendVersions &versions)
{
    return versionAtLeast(versions, 1, 6);
}

inline bool knowsConfigLock(const BackendVersions &versions)
{
    return versionAtLeast(versions, 1, 9);
}

} // namespace networksettings2g::commands
