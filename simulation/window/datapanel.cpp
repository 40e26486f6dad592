#include "datapanel.h"

#include "controlleroptions.h"
#include "session.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

namespace simulation {

namespace {

QWidget *inOneRow(std::initializer_list<QWidget *> widgets)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets)
        layout->addWidget(widget);
    return row;
}

} // namespace

DataPanel::DataPanel(Session &session, QWidget *parent)
    : QGroupBox(tr("Data and channels"), parent)
    , m_session(session)
    , m_rate(new QSpinBox)
    , m_channels(new QSpinBox)
    , m_problem(new QLabel)
{
    auto *form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_rate->setRange(1, maximumRate);
    m_rate->setSuffix(tr(" Hz"));
    m_rate->setValue(m_session.rate());
    m_rate->setKeyboardTracking(false);
    connect(m_rate, QOverload<int>::of(&QSpinBox::valueChanged), &m_session, &Session::setRate);
    form->addRow(tr("&Frames:"), makeFlow());
    form->addRow(tr("Cha&nnels:"), makeChannels());
    form->addRow(tr("Answer d&elay:"), makeDelay());
    m_problem->setWordWrap(true);
    m_problem->hide();
    form->addRow(m_problem);
}

QWidget *DataPanel::makeFlow()
{
    auto *pause = new QPushButton(tr("&Pause"));
    pause->setCheckable(true);
    pause->setChecked(m_session.isPaused());
    pause->setToolTip(tr("Suspends the data; they continue with the next frame"));
    connect(pause, &QPushButton::toggled, &m_session, &Session::setPaused);
    auto *reset = new QPushButton(tr("Re&set"));
    reset->setToolTip(tr("Sends a reset to the module, as after an interrupted connection"));
    connect(reset, &QPushButton::clicked, &m_session, &Session::resetOutput);
    QWidget *row = inOneRow({m_rate, pause, reset});
    row->setFocusProxy(m_rate);
    return row;
}

QWidget *DataPanel::makeChannels()
{
    m_channels->setRange(0, outputChannelCount);
    m_channels->setValue(m_session.channelCount());
    auto *setUp = new QPushButton(tr("Set &up again"));
    setUp->setToolTip(
        tr("Resets this many channels, starting with the first, and gives each a receiver on this computer.\n"
           "The other channels get no destination. The dialog shows this the next time it opens."));
    connect(setUp, &QPushButton::clicked, this, &DataPanel::setUpChannels);
    auto *clash = new QPushButton(tr("Make channel 2 clash"));
    clash->setToolTip(
        tr("Gives channel 2 the destination of channel 1. The dialog shows this the next time it opens;\n"
           "if both channels are active, it asks about the conflict when it is closed."));
    connect(clash, &QPushButton::clicked, this, &DataPanel::makeChannel2Clash);
    QWidget *row = inOneRow({m_channels, setUp, clash});
    row->setFocusProxy(m_channels);
    return row;
}

QWidget *DataPanel::makeDelay()
{
    auto *delay = new QSpinBox;
    delay->setRange(0, maximumAnswerDelayMs);
    delay->setSingleStep(10);
    delay->setSuffix(tr(" ms"));
    delay->setValue(m_session.link().answerDelay());
    delay->setKeyboardTracking(false);
    delay->setToolTip(tr("Delays each answer of the Controller. With the default types, the dialog reads\n"
                         "about 110 answers for three channels and 220 for ten when it opens."));
    connect(delay, QOverload<int>::of(&QSpinBox::valueChanged), &m_session.link(),
            &ControllerLink::setAnswerDelay);
    return delay;
}

void DataPanel::setUpChannels()
{
    QString problem;
    m_session.setChannelCount(m_channels->value(), &problem);
    showProblem(problem);
}

void DataPanel::makeChannel2Clash()
{
    m_session.controller().change(
        [](ControllerState &state) { state.channels[1].destination = state.channels[0].destination; });
}

void DataPanel::showProblem(const QString &problem)
{
    m_problem->setText(problem);
    m_problem->setVisible(!problem.isEmpty());
}

} // namespace simulation
