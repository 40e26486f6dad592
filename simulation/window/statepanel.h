#pragma once

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QFormLayout;

namespace simulation {

class Session;

/// Controls the state of the simulated Controller: lock, router mode, model and output types. It
/// also shows the changes that the module makes to the router mode.
class StatePanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit StatePanel(Session &session, QWidget *parent = nullptr);

private:
    void makeSwitches(QFormLayout *form);
    void makeModels(QFormLayout *form);
    void makeTypes(QFormLayout *form);
    void showState();

    Session &m_session;
    QCheckBox *m_locked;
    QCheckBox *m_router;
    QComboBox *m_model;
    QComboBox *m_types;
};

} // namespace simulation
