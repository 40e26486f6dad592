#pragma once

#include "controllerlink.h"
#include "frames.h"
#include "hostedmodule.h"
#include "pacing.h"
#include "simulatedcontroller.h"

#include <QWidget>

class QDialog;

namespace bench {

class Receivers;

/// The host's services, which keep the requester that the module registers.
class BenchLink : public simulation::ControllerLink
{
public:
    using ControllerLink::ControllerLink;

    int addRequester(Requester *requester) override
    {
        lastRequester = requester;
        return ControllerLink::addRequester(requester);
    }

    Requester *lastRequester = nullptr;
};

/// The state of the Controller when the module is loaded, and the frames that the host delivers.
struct Setup
{
    QString plugin = PLUGIN_PATH;
    int channels = channelCount; ///< active channels with a destination, 1 to 10
    bool ticking = true;         ///< they tick tickedLines(); otherwise a type that occurs in no frame
    int types = 15;              ///< number of types in the catalogue, at least 13
    bool routing = true;         ///< the Controller is in router mode
    int padding = 0;             ///< of frameLines()
    bool stalled = false;        ///< the socket of the last channel is never ready
};

/// A socket that sends to this port is never ready: sendto() fails with EAGAIN, and a later poll() of only
/// this socket returns 0 after its time-out, which is at most 100 ms in the module. stall.cpp defines these
/// two functions, which replace those of the C library in the whole process. At most one socket at a time
/// may send to this port.
constexpr uint16_t stalledPort = 9;

/// The plug-in in a host, loaded by the constructor and unloaded by the destructor, as a pipeline to the
/// receivers. If the plug-in cannot be loaded or unloaded, the program exits with status 1.
///
/// Thread safety: channels() may be called on any thread, sendFrame() on one thread at a time. Everything
/// else belongs to the GUI thread.
class ModuleUnderTest : public Pipeline
{
public:
    ModuleUnderTest(const Receivers &receivers, const Setup &setup);
    ~ModuleUnderTest() override;
    ModuleUnderTest(const ModuleUnderTest &) = delete;
    ModuleUnderTest &operator=(const ModuleUnderTest &) = delete;

    int64_t sendFrame(uint32_t number) override;

    /// Does not count a stalled channel, nor channels that tick no line.
    int channels() const override;

    /// Opens the dialog and closes it as soon as it is painted. Returns how long this took, in milliseconds.
    double openAndClose();

private:
    void prepareController(const Receivers &receivers);

    Setup m_setup;
    simulation::SimulatedController m_controller;
    BenchLink m_link{m_controller};
    BackendVersions m_versions{};
    QWidget m_window;
    simulation::HostedModule m_module;
    QDialog *m_dialog = nullptr;
    FrameLines m_frame;
};

} // namespace bench
