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

/// The state of the Controller when the module is loaded.
struct Setup
{
    int channels = channelCount; ///< active channels with a destination, at least 1
    int wanting = channelCount;  ///< how many of them tick types that occur in the frame; the others tick one
                                 ///< that never occurs
    bool allLines = false;       ///< wanting channels tick all twelve types instead of ten
    int types = 15;              ///< number of types in the catalogue, at least 13
    bool routing = true;         ///< the Controller is in router mode
    int padding = 0;             ///< bytes by which the frame is larger
    bool stalled = false;        ///< the last channel's socket is never ready; the channel is not counted
};

/// The plug-in in a host, from loading to unloading, as a pipeline to the receivers. carry() and deliver()
/// may be called on a data thread, everything else on the GUI thread.
class ModuleUnderTest : public Pipeline
{
public:
    ModuleUnderTest(const Receivers &receivers, const Setup &setup);
    ~ModuleUnderTest() override;
    ModuleUnderTest(const ModuleUnderTest &) = delete;
    ModuleUnderTest &operator=(const ModuleUnderTest &) = delete;

    int64_t carry(uint32_t number) override;
    int channels() const override { return m_setup.wanting - (m_setup.stalled ? 1 : 0); }

    /// Makes deliver() pass the lines of frame \a number.
    void setNumber(uint32_t number) { m_frame.setNumber(number); }

    /// Passes line \a index of the frame to the module. The last line wakes workers.
    void deliver(int index);

    /// Opens the dialog, closes it as soon as it is painted, and returns when it was painted, in monotonic
    /// nanoseconds.
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
