#pragma once

#include "phrases.h"

#include <QGroupBox>

#include <array>

class QComboBox;
class SimulatedController;

/// How the simulated Controller treats what it is asked and told, phrase by phrase.
class TreatmentPanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit TreatmentPanel(SimulatedController &controller, QWidget *parent = nullptr);

private:
    QComboBox *makeBox(int phrase);
    void behave();
    void showTreatments();

    SimulatedController &m_controller;
    std::array<QComboBox *, phraseCount> m_boxes{};
};
