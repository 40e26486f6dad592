#include "controllerwindow.h"

#include "controlleroptions.h"
#include "presets.h"
#include "session.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QStyle>

namespace simulation {

namespace {

/// Adds a group to \a panels and returns the layout of its rows.
QFormLayout *addGroup(QVBoxLayout *panels, const QString &title)
{
    auto *group = new QGroupBox(title);
    auto *form = new QFormLayout(group);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    panels->addWidget(group);
    return form;
}

/// Returns a row of \a widgets; a shortcut of the row leads to the first one.
QWidget *inOneRow(std::initializer_list<QWidget *> widgets)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets)
        layout->addWidget(widget);
    row->setFocusProxy(*widgets.begin());
    return row;
}

QSpinBox *makeSpinBox(int least, int most, int value, const QString &suffix)
{
    auto *box = new QSpinBox;
    box->setRange(least, most);
    box->setValue(value);
    box->setSuffix(suffix);
    box->setKeyboardTracking(false);
    return box;
}

} // namespace

ControllerWindow::ControllerWindow(Session &session, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_session(session)
{
    setWindowTitle(tr("Simulated Controller"));
    // Only the host's window keeps the program running.
    setAttribute(Qt::WA_QuitOnClose, false);
    auto *content = new QWidget;
    auto *panels = new QVBoxLayout(content);
    makeState(addGroup(panels, tr("State")));
    makeData(addGroup(panels, tr("Data and channels")));
    makeFaults(addGroup(panels, tr("Faults")));
    panels->addStretch();
    auto *area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(content);
    area->setMinimumWidth(content->minimumSizeHint().width() +
                          area->style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area);
    keepWheelFromBoxes();
    connect(&m_session.controller(), &SimulatedController::stateChanged, this, &ControllerWindow::showState);
    // A query or command that fails because of FailNext resets this fault.
    connect(&m_session.controller(), &SimulatedController::exchanged, this, &ControllerWindow::showFaults);
    showState();
    showFaults();
}

void ControllerWindow::makeState(QFormLayout *form)
{
    m_model = new QComboBox;
    m_model->addItem(tr("100, accepts 127.0.0.1"), 100);
    m_model->addItem(tr("200, refuses 127.0.0.1"), 200);
    m_model->setToolTip(tr("On models other than 100, the module refuses 127.0.0.1 as a destination"));
    connect(m_model, QOverload<int>::of(&QComboBox::activated), this, [this] {
        const int model = m_model->currentData().toInt();
        m_session.controller().change([model](ControllerState &state) { state.systemModel = model; });
    });
    form->addRow(tr("System &model:"), m_model);
    m_locked = new QCheckBox(tr("Configuration &locked"));
    m_locked->setToolTip(
        tr("The Controller refuses all changes, and the dialog shows this the next time it opens.\n"
           "The lock exists from version 1.9 on."));
    connect(m_locked, &QCheckBox::clicked, this, [this](bool on) {
        m_session.controller().change([on](ControllerState &state) { state.locked = on; });
    });
    form->addRow(QString(), m_locked);
    m_router = new QCheckBox(tr("&Router mode"));
    m_router->setToolTip(tr(
        "Switches only the Controller, which sends no data in router mode. The dialog shows the change the\n"
        "next time it opens; the check box there switches both the Controller and the module."));
    connect(m_router, &QCheckBox::clicked, this, [this](bool on) {
        m_session.controller().change([on](ControllerState &state) { state.viaRouter = on; });
    });
    form->addRow(QString(), m_router);
    makeTypes(form);
}

void ControllerWindow::makeTypes(QFormLayout *form)
{
    auto *types = new QComboBox;
    const QList<NamedCatalogue> choices = catalogues();
    for (const NamedCatalogue &choice : choices)
        types->addItem(QCoreApplication::translate("Catalogues", choice.title));
    types->setToolTip(tr("The Controller's catalogue, which the dialog reads when it opens"));
    connect(types, QOverload<int>::of(&QComboBox::activated), this, [this, choices](int row) {
        const QList<OutputType> chosen = choices.at(row).types;
        m_session.controller().change([&chosen](ControllerState &state) { state.catalogue = chosen; });
    });
    form->addRow(tr("Output &types:"), types);
    auto *announce = new QPushButton(tr("Announce c&hanged types"));
    announce->setToolTip(
        tr("Sends the message OutputTypesChanged to the module. In router mode, the module then reads\n"
           "the catalogue again, even while its dialog is open."));
    connect(announce, &QPushButton::clicked, &m_session, &Session::announceTypes);
    form->addRow(QString(), announce);
}

void ControllerWindow::makeData(QFormLayout *form)
{
    QSpinBox *rate = makeSpinBox(1, maximumRate, m_session.rate(), tr(" Hz"));
    connect(rate, QOverload<int>::of(&QSpinBox::valueChanged), &m_session, &Session::setRate);
    auto *pause = new QPushButton(tr("&Pause"));
    pause->setCheckable(true);
    pause->setChecked(m_session.isPaused());
    pause->setToolTip(tr("Suspends the data; they continue with the next frame"));
    connect(pause, &QPushButton::toggled, &m_session, &Session::setPaused);
    auto *reset = new QPushButton(tr("Re&set"));
    reset->setToolTip(tr("Sends a reset to the module, as after an interrupted connection"));
    connect(reset, &QPushButton::clicked, &m_session, &Session::resetOutput);
    form->addRow(tr("&Frames:"), inOneRow({rate, pause, reset}));

    form->addRow(tr("Cha&nnels:"), makeChannels());

    QSpinBox *delay = makeSpinBox(0, maximumAnswerDelayMs, m_session.link().answerDelay(), tr(" ms"));
    delay->setSingleStep(10);
    delay->setToolTip(tr("Delays each answer of the Controller. With the default types, the dialog reads\n"
                         "about 110 answers for three channels and 220 for ten when it opens."));
    connect(delay, QOverload<int>::of(&QSpinBox::valueChanged), &m_session.link(),
            &ControllerLink::setAnswerDelay);
    form->addRow(tr("Answer d&elay:"), delay);
}

QWidget *ControllerWindow::makeChannels()
{
    QSpinBox *channels = makeSpinBox(0, outputChannelCount, m_session.channelCount(), QString());
    auto *setUp = new QPushButton(tr("Set &up again"));
    setUp->setToolTip(
        tr("Resets this many channels, starting with the first, and gives each a receiver on this computer.\n"
           "The other channels get no destination. The dialog shows this the next time it opens."));
    connect(setUp, &QPushButton::clicked, this, [this, channels] {
        QString problem;
        if (!m_session.setChannelCount(channels->value(), &problem))
            QMessageBox::warning(this, windowTitle(), problem);
    });
    auto *clash = new QPushButton(tr("Make channel 2 clash"));
    clash->setToolTip(
        tr("Gives channel 2 the destination of channel 1. The dialog shows this the next time it opens;\n"
           "if both channels are active, it asks about the conflict when it is closed."));
    connect(clash, &QPushButton::clicked, this, [this] {
        m_session.controller().change(
            [](ControllerState &state) { state.channels[1].destination = state.channels[0].destination; });
    });
    return inOneRow({channels, setUp, clash});
}

void ControllerWindow::makeFaults(QFormLayout *form)
{
    form->setVerticalSpacing(3);
    auto *reset = new QPushButton(tr("Reset &all"));
    connect(reset, &QPushButton::clicked, this, [this] {
        m_session.controller().clearFaults();
        showFaults();
    });
    form->addRow(reset);
    for (int kind = 0; kind < commandKindCount; ++kind) {
        const CommandKind &entry = commandKinds()[size_t(kind)];
        if (kind == 0)
            form->addRow(new QLabel(tr("<b>Queries</b>")));
        else if (entry.isCommand && !commandKinds()[size_t(kind) - 1].isCommand)
            form->addRow(new QLabel(tr("<b>Commands</b>")));
        m_faults[size_t(kind)] = makeFaultBox(kind);
        form->addRow(QCoreApplication::translate("CommandKinds", entry.title) + ':', m_faults[size_t(kind)]);
    }
}

QComboBox *ControllerWindow::makeFaultBox(int kind)
{
    const CommandKind &entry = commandKinds()[size_t(kind)];
    auto *box = new QComboBox;
    box->addItem(tr("no fault"), int(Fault::None));
    box->addItem(tr("next fails"), int(Fault::FailNext));
    box->addItem(tr("every one fails"), int(Fault::FailEvery));
    if (!entry.isCommand) {
        box->addItem(tr("answer is empty"), int(Fault::AnswerEmpty));
        box->addItem(tr("answer is garbage"), int(Fault::AnswerGarbage));
    }
    box->setToolTip(QString::fromLatin1(entry.opening));
    connect(box, QOverload<int>::of(&QComboBox::activated), this, [this, kind, box] {
        m_session.controller().setFault(kind, Fault(box->currentData().toInt()));
        showFaults();
    });
    return box;
}

void ControllerWindow::showState()
{
    const ControllerState state = m_session.controller().state();
    m_locked->setChecked(state.locked);
    m_router->setChecked(state.viaRouter);
    m_locked->setEnabled(versionAtLeast(state.version, 1, 9));
    m_router->setEnabled(versionAtLeast(state.version, 1, 4));
    m_model->setCurrentIndex(m_model->findData(state.systemModel));
}

void ControllerWindow::showFaults()
{
    const Faults faults = m_session.controller().faults();
    for (size_t i = 0; i < m_faults.size(); ++i) {
        m_faults[i]->setCurrentIndex(m_faults[i]->findData(int(faults[i])));
        QFont font = this->font();
        font.setBold(faults[i] != Fault::None);
        m_faults[i]->setFont(font);
    }
}

bool ControllerWindow::event(QEvent *event)
{
    const bool isShown = event->type() == QEvent::Show;
    if ((isShown || event->type() == QEvent::Hide) && !event->spontaneous())
        emit visibilityChanged(isShown);
    return QWidget::event(event);
}

/// Makes the mouse wheel scroll the panels while the pointer is over a combo box or spin box without the
/// focus. Otherwise the wheel would change the value of that box.
void ControllerWindow::keepWheelFromBoxes()
{
    const auto widgets = findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        if (qobject_cast<QComboBox *>(widget) || qobject_cast<QAbstractSpinBox *>(widget)) {
            widget->setFocusPolicy(Qt::StrongFocus);
            widget->installEventFilter(this);
        }
    }
}

bool ControllerWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Wheel || static_cast<QWidget *>(watched)->hasFocus())
        return QWidget::eventFilter(watched, event);
    event->ignore();
    return true;
}

} // namespace simulation
