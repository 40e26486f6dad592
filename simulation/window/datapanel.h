#pragma once

#include <QGroupBox>

class QLabel;
class QSpinBox;

namespace simulation {

class Session;

/// Controls the data: the rate, pausing and resetting, and the channels that are set up.
class DataPanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit DataPanel(Session &session, QWidget *parent = nullptr);

private:
    QWidget *makeFlow();
    QWidget *makeChannels();
    QWidget *makeDelay();
    void setUpChannels();
    void collide();
    void showProblem(const QString &problem);

    Session &m_session;
    QSpinBox *m_rate;
    QSpinBox *m_channels;
    QLabel *m_problem;
};

} // namespace simulation
