#include "statepanel.h"

#include "cataloguesets.h"
#include "session.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QPushButton>

#include <algorithm>

namespace simulation {

namespace {

QString nameOf(const BackendVersions &version)
{
    return QString::fromLatin1("%1.%2.%3").arg(version.major).arg(version.minor).arg(version.third);
}

bool isSame(const BackendVersions &one, const BackendVersions &other)
{
    return one.major == other.major && one.minor == other.minor && one.third == other.third;
}

struct VersionChoice
{
    BackendVersions version;
    const char *remark;
};

constexpr VersionChoice versionChoices[] = {
    {{{0, 0, 0}, 1, 9, 0}, QT_TRANSLATE_NOOP("simulation::StatePanel", "all features")},
    {{{0, 0, 0}, 1, 9, -2}, QT_TRANSLATE_NOOP("simulation::StatePanel", "test build before 1.9, no lock")},
    {{{0, 0, 0}, 1, 8, 0}, QT_TRANSLATE_NOOP("simulation::StatePanel", "no lock")},
    {{{0, 0, 0}, 1, 5, 0}, QT_TRANSLATE_NOOP("simulation::StatePanel", "no lock, no divisor")},
    {{{0, 0, 0}, 1, 3, 0}, QT_TRANSLATE_NOOP("simulation::StatePanel", "no lock, divisor or router mode")},
};

} // namespace

StatePanel::StatePanel(Session &session, QWidget *parent)
    : QGroupBox(tr("State"), parent)
    , m_session(session)
    , m_version(new QComboBox)
    , m_locked(new QCheckBox(tr("Configuration &locked")))
    , m_router(new QCheckBox(tr("&Router mode")))
    , m_model(new QComboBox)
    , m_types(new QComboBox)
{
    auto *form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    makeVersions(form);
    makeModels(form);
    makeSwitches(form);
    makeTypes(form);
    connect(&m_session.controller(), &SimulatedController::stateChanged, this, &StatePanel::showState);
    showState();
}

void StatePanel::makeVersions(QFormLayout *form)
{
    m_version->setToolTip(
        tr("A change of the version reloads the module, as a host does when it connects to\n"
           "another Controller. Close the dialog first."));
    const BackendVersions given = *m_session.versions();
    const bool isListed =
        std::any_of(std::begin(versionChoices), std::end(versionChoices),
                    [&given](const VersionChoice &choice) { return isSame(choice.version, given); });
    QList<BackendVersions> versions;
    if (!isListed) {
        m_version->addItem(tr("%1, as started").arg(nameOf(given)));
        versions.append(given);
    }
    for (const VersionChoice &choice : versionChoices) {
        m_version->addItem(tr("%1, %2").arg(nameOf(choice.version), tr(choice.remark)));
        versions.append(choice.version);
    }
    connect(m_version, QOverload<int>::of(&QComboBox::activated), this, [this, versions](int row) {
        if (!isSame(versions.at(row), *m_session.versions()))
            emit versionWanted(versions.at(row));
    });
    for (int row = 0; row < versions.size(); ++row) {
        if (isSame(versions.at(row), given))
            m_version->setCurrentIndex(row);
    }
    form->addRow(tr("&Version:"), m_version);
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
    for (const CatalogueSet &set : catalogueSets())
        m_types->addItem(QCoreApplication::translate("CatalogueSets", set.title));
    m_types->setToolTip(tr("The Controller's catalogue, which the dialog reads when it opens"));
    connect(m_types, QOverload<int>::of(&QComboBox::activated), this, [this](int row) {
        const QList<OutputType> types = catalogueSets().at(row).types;
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

void StatePanel::setVersionChangeable(bool changeable)
{
    m_version->setEnabled(changeable);
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
