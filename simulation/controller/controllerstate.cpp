#include "controllerstate.h"

#include <algorithm>

namespace simulation {

namespace {

constexpr int loopbackModel = 100;

QList<OutputType> defaultCatalogue()
{
    return {
        {"fr", "Frame counter", true},
        {"ts2", "Time stamp and latency", true},
        {"ts", "Time stamp", true},
        {"st", "System status", true},
        {"6dcal", "Number of calibrated bodies", true},
        {"6d", "Position and orientation of bodies", true},
        {"6di", "Position and orientation of bodies with inertial sensors", true},
        {"3d", "Position of single markers", true},
        {"6df2", "Pointing devices with their buttons", true},
        {"6dmt2", "Measurement tools", true},
        {"6dmtr", "References of measurement tools", true},
        {"glcal", "Number of calibrated hands", false},
        {"gl", "Hands and fingers", false},
        {"2dmon", "Monitor data of the cameras", true},
        {"6dx", "Position and orientation of bodies, \"preview\"", true},
    };
}

} // namespace

ControllerState defaultControllerState()
{
    ControllerState state;
    state.version = {{0, 0, 0}, 1, 9, 0};
    state.systemModel = loopbackModel;
    // An address of this computer that the dialog accepts with every system model.
    state.monitorAddress = "127.0.0.9";
    state.catalogue = defaultCatalogue();
    // The frame counter is ticked initially, because the user cannot change its tick, and in router mode the
    // module sends no frame without a number.
    for (OutputChannel &channel : state.channels)
        channel.types.insert("fr");
    return state;
}

const OutputType *findOutputType(const QList<OutputType> &catalogue, const QByteArray &type)
{
    const auto found = std::find_if(catalogue.cbegin(), catalogue.cend(),
                                    [&type](const OutputType &entry) { return entry.name == type; });
    return found == catalogue.cend() ? nullptr : &*found;
}

} // namespace simulation
