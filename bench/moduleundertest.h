#pragma once

#include "benchlink.h"
#include "frames.h"
#include "hostedmodule.h"
#include "pipeline.h"
#include "simulatedcontroller.h"

#include <QWidget>

class QDialog;

namespace bench {

class Receivers;

/// The state of the Controller when the module is loaded, and the frames that the host delivers.
struct Setup
{
    QString plugin = QLatin1String(PLUGIN_PATH); ///< the plug-in file
    int channels = channelCount;                 ///< active channels with a destination, 1 to 10
    int tickingChannels = channelCount; ///< how many of them, from the first on, tick types that occur in the
                                        ///< frame; the others tick a type that never occurs
    bool allLines = false;              ///< ticking channels tick all twelve types instead of ten
    int types = 15;                     ///< number of types in the catalogue, at least 13
    bool routing = true;                ///< the Controller is in router mode
    int padding = 0;                    ///< additional bytes in the first line of the frame
    bool stalled = false; ///< the last channel's socket is never ready. ModuleUnderTest::channels() does not
                          ///< count this channel, which must be a ticking one.
};

/// The plug-in in a host, loaded by the constructor and unloaded by the destructor, as a pipeline to the
/// receivers. If the plug-in cannot be loaded or unloaded, the program exits with status 1.
///
/// Thread safety: channels() may be called on any thread. sendFrame(), setNumber() and deliver() may be
/// called on any thread, but only on one at a time. Everything else belongs to the GUI thread.
class ModuleUnderTest : public Pipeline
{
public:
    ModuleUnderTest(const Receivers &receivers, const Setup &setup);
    ~ModuleUnderTest() override;
    ModuleUnderTest(const ModuleUnderTest &) = delete;
    ModuleUnderTest &operator=(const ModuleUnderTest &) = delete;

    int64_t sendFrame(uint32_t number) override;
    int channels() const override { return m_setup.tickingChannels - (m_setup.stalled ? 1 : 0); }

    /// Makes deliver() pass the lines of frame \a number, which must have nine digits.
    void setNumber(uint32_t number) { m_frame.setNumber(number); }

    /// Passes line \a index of the frame, 0 to linesPerFrame - 1, to the module, which wakes workers at the
    /// last line.
    void deliver(int index);

    /// Opens the dialog and closes it as soon as it is painted. Returns the time at which it was painted, in
    /// monotonic nanoseconds.
    int64_t openAndClose();

    BenchLink &link() { return m_link; }

private:
    void prepareController(const Receivers &receivers);

    Setup m_setup;
    simulation::SimulatedController m_controller;
    BenchLink m_link{m_controller};
    BackendVersions m_versions{};
    QWidget m_window;
    simulation::HostedModule m_module;
    QDialog *m_dialog = nullptr;
    Frame m_frame;
};

} // namespace bench
