#include "networkdialog.h"

#include "answer.h"
#include "backendversions.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "commands.h"
#include "iomanager.h"
#include "networkdialogtabwidget.h"

#include <QHostInfo>

namespace {

const char receiverName[] = "NetworkDialog";

/// From this many channels on the tabs need more room than the form gives.
constexpr int manyChannels = 6;
constexpr int tabWidth = 60;

} // namespace

NetworkDialog::NetworkDialog(IOManager *ioManager, QWidget *parent, BackendVersions *versions)
    : QDialog(parent)
    , m_ioManager(ioManager)
    , m_versions(versions)
    , m_parentWidget(parent)
{
    setupUi(this);
    m_lockIcon.addFile(QLatin1String(":/lock.png"));
    setupTabs();
    updateRouterState();
    m_ioManager->addMessageReceiver(receiverName, this);
    m_ioManager->addRequester(this);
    if (checkBox_actAsRouter->isChecked()) {
        refreshAllChannels();
        updateOutputRequests();
        emit deferedRouterActiveToggled(true);
    }
    m_baseWidth = width();
}

void NetworkDialog::setupTabs()
{
    m_tabWidget = new NetworkDialogTabWidget(this);
    m_tabWidget->setWhatsThis(QLatin1String("Add new tab: Ctrl + T\nClose tab:   Ctrl + W"));
    layout_tabWidget->addWidget(m_tabWidget);
    m_plusPage = new QWidget(this);
    rebuildTabs();
    connect(m_tabWidget, SIGNAL(tabBarClicked(int)), this, SLOT(onTabBarClicked(int)));
}

NetworkDialog::~NetworkDialog()
{
    // While a page still has its channel: losing the focus makes the host field hand over its text.
    hide();
    destroyChannels();
}

void NetworkDialog::teardownRequests()
{
    m_routerActive = false;
    emit deferedRouterActiveToggled(false);
    for (const OutputTypeInfo &type : qAsConst(m_outputTypes))
        m_ioManager->releaseOutputType(type.name.toLatin1().constData(), this);
    m_ioManager->removeRequester(this);
    m_ioManager->removeMessageReceiver(receiverName, this);
}

int NetworkDialog::update_and_exec()
{
    if (isVisible()) {
        // On the screen already, perhaps with a question open: its pages must stay.
        raise();
        activateWindow();
        return Rejected;
    }
    applyLock();
    updateRouterState();
    if (channelsInUse() != m_pages.size())
        rebuildChannels();
    refreshAllChannels();
    for (ChannelWidget *page : qAsConst(m_pages))
        page->updateTabColor();
    updateCloseButtons();
    widenForTabs();
    return exec();
}

void NetworkDialog::applyLock()
{
    m_locked = isConfigLocked();
    setWindowIcon(m_locked ? m_lockIcon : m_parentWidget->windowIcon());
    enablePages(!m_locked);
    if (m_locked) {
        checkBox_actAsRouter->setEnabled(false);
        removePlusTab();
    } else if (plusTab() < 0 && m_tabWidget->count() < Channel::MaximumCount) {
        addPlusTab();
    }
}

void NetworkDialog::enablePages(bool enable)
{
    for (int tab = 0; tab < m_tabWidget->count(); ++tab)
        m_tabWidget->widget(tab)->setEnabled(enable);
}

bool NetworkDialog::isConfigLocked()
{
    Answer answer;
    return versionAtLeast(*m_versions, 1, 9) &&
           m_ioManager->getValue(answer.room(), commands::configIsChangeable) == 0 && answer.is("no");
}

void NetworkDialog::updateRouterState()
{
    if (!versionAtLeast(*m_versions, 1, 4)) {
        checkBox_actAsRouter->setChecked(false);
        checkBox_actAsRouter->setEnabled(false);
        return;
    }
    if (!m_locked)
        checkBox_actAsRouter->setEnabled(true);
    Answer answer;
    const bool on = m_ioManager->getValue(answer.room(), commands::routerMode) == 0 && answer.isYes();
    // The check box first: its slot takes the change for the user's, and what the Controller says is none.
    checkBox_actAsRouter->setChecked(on);
    m_routerChanged = false;
    m_routerActive = on;
    applyRouterMode();
    if (!on)
        onCheckBox_active_channel_toggled();
}

void NetworkDialog::onCheckBox_active_channel_toggled()
{
    bool anyActive = false;
    for (int i = 0; i < m_channelCount; ++i)
        anyActive = anyActive || m_pages.at(i)->checkBox_active_channel->checkState() == Qt::Checked;
    checkBox_actAsRouter->setEnabled(!m_locked && anyActive);
}

void NetworkDialog::applyRouterMode()
{
    for (int i = 0; i < m_channelCount; ++i)
        m_pages.at(i)->setRouterMode(m_routerActive);
}

void NetworkDialog::rebuildChannels()
{
    destroyChannels();
    m_tabWidget->clear();
    rebuildTabs();
}

void NetworkDialog::destroyChannels()
{
    // First out of the data threads' sight, then the pages, which refer to the channels, then the channels.
    m_fanOut.publish({});
    while (!m_pages.isEmpty())
        delete m_pages.takeFirst();
    while (!m_channels.isEmpty())
        delete m_channels.takeFirst();
    m_channelCount = 0;
}

void NetworkDialog::refreshAllChannels()
{
    refreshChannels(m_channels);
}

void NetworkDialog::refreshChannel(int index)
{
    QList<ChannelAsRouter *> chosen;
    for (ChannelAsRouter *channel : qAsConst(m_channels)) {
        if (channel->channelIndex() == index)
            chosen << channel;
    }
    refreshChannels(chosen);
}

void NetworkDialog::refreshChannels(const QList<ChannelAsRouter *> channels)
{
    queryOutputTypes(m_ioManager, &m_outputTypes);
    const QString monitorIp = queryMonitorIp(m_ioManager);
    const QString hostName = QHostInfo::localHostName();
    const QString domainName = QHostInfo::localDomainName();
    for (ChannelAsRouter *channel : channels) {
        channel->setMonitorIp(monitorIp);
        channel->setHostName(hostName);
        channel->setDomainName(domainName);
        channel->setOutputTypes(m_outputTypes);
        channel->load();
    }
}

void NetworkDialog::widenForTabs()
{
    if (m_channelCount >= manyChannels)
        resize(m_channelCount * tabWidth + m_baseWidth, height());
}
