#pragma once

#include "commandkinds.h"

#include <QGroupBox>

#include <array>

class QComboBox;

namespace simulation {

class SimulatedController;

/// Lets the user choose the fault of each kind of query and command.
class FaultPanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit FaultPanel(SimulatedController &controller, QWidget *parent = nullptr);

private:
    QComboBox *makeBox(int kind);
    void clearFaults();
    void showFaults();

    SimulatedController &m_controller;
    std::array<QComboBox *, commandKindCount> m_boxes{};
};

} // namespace simulation
