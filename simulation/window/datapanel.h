#pragma once

#include <QGroupBox>

class QLabel;
class QSpinBox;

namespace simulation {

class Session;

/// Controls what an embedded Controller does: rate, pause and reset of the data, the channels that are set
/// up, and the delay of the answers.
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
    void makeChannel2Clash();
    void showProblem(const QString &problem);

    Session &m_session;
    QSpinBox *m_rate;
    QSpinBox *m_channels;
    QLabel *m_problem;
};

} // namespace simulation
