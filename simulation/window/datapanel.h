#pragma once

#include <QGroupBox>

class QLabel;
class QSpinBox;
class Session;

/// What the simulated tracking sends: the rate of the data, its stops and breaks, and the channels that are
/// set up.
class DataPanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit DataPanel(Session &session, QWidget *parent = nullptr);

private:
    QWidget *makeFlow();
    QWidget *makeChannels();
    void setUpChannels();
    void collide();
    void showProblem(const QString &problem);

    Session &m_session;
    QSpinBox *m_rate;
    QSpinBox *m_channels;
    QLabel *m_problem;
};
