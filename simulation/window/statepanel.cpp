#include "statepanel.h"

#include "presets.h"
#include "session.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QPushButton>

namespace simulation {

StatePanel::StatePanel(Session &session, QWidget *parent)
    : QGroupBox(tr("State"), parent)
    , m_session(session)
    , m_locked(new QCheckBox(tr("Configuration &locked")))
    , m_router(new QCheckBox(tr("&Router mode")))
    , m_model(new QComboBox)
    , m_types(new QComboBox)
{
    auto *form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    makeModels(form);
    makeSwitches(form);
    makeTypes(form);
    connect(&m_session.controller(), &SimulatedController::stateChanged, this, &StatePanel::showState);
    showState();
}

void StatePanel::makeModels(QFormLayout *form)
{
    m_model->addItem(tr("100, accepts 127.0.0.1"), 100);
    m_model->addItem(tr("200, refuses 127.0.0.1"), 200);
    m_model->setToolTip(tr("On models other than 100, the module refuses 127.0.0.1 as a destination"));
    connect(m_model, QOverload<int>::of(&QComboBox::activated), this, [this] {
        const int model = m_model->currentData().toInt();
        m_session.controller().change([model](ControllerState &state) { state.systemModel = model; });
    });
    form->addRow(tr("System &model:"), m_model);
}

void StatePanel::makeSwitches(QFormLayout *form)
{
    m_locked->setToolTip(
        tr("The Controller refuses all changes, and the dialog shows this the next time it opens.\n"
           "The lock exists from version 1.9 on."));
    connect(m_locked, &QCheckBox::clicked, this, [this](bool on) {
        m_session.controller().change([on](ControllerState &state) { state.locked = on; });
    });
    m_router->setToolTip(tr(
        "Switches only the Controller, which sends no data in router mode. The dialog shows the change the\n"
        "next time it opens; the check box there switches both the Controller and the module."));
    connect(m_router, &QCheckBox::clicked, this, [this](bool on) {
        m_session.controller().change([on](ControllerState &state) { state.viaRouter = on; });
    });
    form->addRow(QString(), m_locked);
    form->addRow(QString(), m_router);
}

void StatePanel::makeTypes(QFormLayout *form)
{
    const QList<NamedCatalogue> choices = catalogues();
    for (const NamedCatalogue &choice : choices)
        m_types->addItem(QCoreApplication::translate("Catalogues", choice.title));
    m_types->setToolTip(tr("The Controller's catalogue, which the dialog reads when it opens"));
    connect(m_types, QOverload<int>::of(&QComboBox::activated), this, [this, choices](int row) {
        const QList<OutputType> types = choices.at(row).types;
        m_session.controller().change([&types](ControllerState &state) { state.catalogue = types; });
    });
    form->addRow(tr("Output &types:"), m_types);
    auto *announce = new QPushButton(tr("Announce c&hanged types"));
    announce->setToolTip(
        tr("Sends the message OutputTypesChanged to the module. In router mode, the module then reads\n"
           "the catalogue again, even while its dialog is open."));
    connect(announce, &QPushButton::clicked, &m_session, &Session::announceTypes);
    form->addRow(QString(), announce);
}

void StatePanel::showState()
{
    const ControllerState state = m_session.controller().state();
    m_locked->setChecked(state.locked);
    m_router->setChecked(state.viaRouter);
    m_locked->setEnabled(versionAtLeast(state.version, 1, 9));
    m_router->setEnabled(versionAtLeast(state.version, 1, 4));
    m_model->setCurrentIndex(m_model->findData(state.systemModel));
}

} // namespace simulation
