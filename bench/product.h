#pragma once

#include "benchlink.h"
#include "frames.h"
#include "hostedmodule.h"
#include "road.h"
#include "simulatedcontroller.h"

#include <QWidget>

class QDialog;
class Receivers;

/// How the Controller stands when the module is loaded.
struct Setup
{
    int channels = channelCount; ///< with a destination and switched on, at least 1
    int wanting = channelCount;  ///< of these, tick types of the frame; the others a type that never comes
    bool allLines = false;       ///< who wants, wants all twelve lines, instead of ten
    int types = 15;              ///< in the catalogue, at least 13
    bool routing = true;         ///< the Controller is in router mode
    int padding = 0;             ///< bytes by which the frame is larger
    bool stalled = false;        ///< the last channel's socket is never ready; it is not counted
};

/// The plug-in in a host, from loading to unloading, as one way for frames to the receivers. GUI thread, but
/// for carry().
class Product : public Road
{
public:
    Product(const Receivers &receivers, const Setup &setup);
    ~Product() override;
    Product(const Product &) = delete;
    Product &operator=(const Product &) = delete;

    int64_t carry(uint32_t number) override;
    int channels() const override { return m_setup.wanting - (m_setup.stalled ? 1 : 0); }

    /// The lines that deliver() hands over are those of frame \a number from now on.
    void setNumber(uint32_t number) { m_frame.setNumber(number); }

    /// Hands line \a index of the frame to the module; the last one wakes the workers.
    void deliver(int index);

    /// Presses the menu action's slot and returns when the dialog is on the screen and closed again. The
    /// moment at which it was on the screen.
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
