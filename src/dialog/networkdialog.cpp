#include "networkdialog.h"

#include "answer.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "commands.h"
#include "iomanager.h"
#include "networkdialogtabwidget.h"

#include <QHostInfo>
#include <QMessageBox>

#include <utility>

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
    const Operation operation(this);
    setupUi(this);
    m_lockIcon.addFile(QLatin1String(":/lock.png"));
    setupTabs();
    updateRouterState();
    m_ioManager->addMessageReceiver(receiverName, this);
    m_ioManager->addRequester(this);
    if (checkBox_actAsRouter->isChecked())
        refreshAndRoute();
    m_baseWidth = width();
}

void NetworkDialog::setupTabs()
{
    m_tabWidget = new NetworkDialogTabWidget(this);
    m_tabWidget->setWhatsThis(QLatin1String("Add new tab: Ctrl + T\nClose tab:   Ctrl + W"));
    layout_tabWidget->addWidget(m_tabWidget);
    m_plusPage = new QWidget(this);
    describeForScreenReaders();
    rebuildTabs();
    connect(m_tabWidget, SIGNAL(tabBarClicked(int)), this, SLOT(onTabBarClicked(int)));
}

void NetworkDialog::describeForScreenReaders()
{
    m_tabWidget->setAccessibleName(QLatin1String("Channels"));
    m_plusPage->setAccessibleName(QLatin1String("Add a channel with Ctrl + T"));
    // Its help is a picture and rich text, which is read out with all its marks.
    checkBox_actAsRouter->setAccessibleDescription(
        QLatin1String("Passes the tracking data on to receivers outside the Controller's network"));
}

NetworkDialog::~NetworkDialog()
{
    dismissMessageBoxes();
    destroyChannels();
}

void NetworkDialog::dismissMessageBoxes()
{
    // Each lives on the stack of a function that is still under way: it must not be deleted with its parent.
    // Closed by its close button it gives that function the answer that ends its run.
    const QList<QMessageBox *> boxes = findChildren<QMessageBox *>();
    for (QMessageBox *box : boxes) {
        box->close();
        box->setParent(nullptr);
    }
}

void NetworkDialog::teardownRequests()
{
    m_tornDown = true;
    m_routerActive = false;
    emit deferedRouterActiveToggled(false);
    const QList<OutputTypeInfo> types = m_outputTypes;
    for (const OutputTypeInfo &type : types)
        m_ioManager->releaseOutputType(type.name.toLatin1().constData(), this);
    m_ioManager->removeRequester(this);
    m_ioManager->removeMessageReceiver(receiverName, this);
}

int NetworkDialog::update_and_exec()
{
    if (isVisible() || !mayBegin()) {
        raise();
        activateWindow();
        return Rejected;
    }
    bringUpToDate();
    return exec();
}

void NetworkDialog::bringUpToDate()
{
    const Operation operation(this);
    applyLock();
    updateRouterState();
    if (channelsInUse() != m_pages.size())
        rebuildChannels();
    refreshAllChannels();
    // A page whose active box has changed in the refresh has enabled the box, whatever the version.
    if (!commands::knowsRouterMode(*m_versions))
        checkBox_actAsRouter->setEnabled(false);
    const QList<ChannelWidget *> pages = m_pages;
    for (ChannelWidget *page : pages)
        page->updateTabColor();
    updateCloseButtons();
    if (m_channelCount >= manyChannels)
        resize(m_channelCount * tabWidth + m_baseWidth, height());
}

NetworkDialog::Operation::Operation(NetworkDialog *dialog)
    : m_dialog(dialog)
{
    ++m_dialog->m_operations;
}

NetworkDialog::Operation::~Operation()
{
    if (!m_dialog || --m_dialog->m_operations > 0)
        return;
    if (std::exchange(m_dialog->m_catalogueChanged, false))
        m_dialog->followCatalogueChange();
}

void NetworkDialog::applyLock()
{
    m_locked = isConfigLocked();
    setWindowIcon(m_locked ? m_lockIcon : m_parentWidget->windowIcon());
    setAccessibleDescription(m_locked ? QLatin1String("The configuration is locked") : QLatin1String());
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
    return commands::knowsConfigLock(*m_versions) &&
           m_ioManager->getValue(answer.room(), commands::configIsChangeable) == 0 && answer.is("no");
}

void NetworkDialog::updateRouterState()
{
    if (!commands::knowsRouterMode(*m_versions)) {
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
    const QList<ChannelAsRouter *> channels = m_channels;
    refreshChannels(channels);
}

void NetworkDialog::refreshChannel(int index)
{
    QList<ChannelAsRouter *> chosen;
    const QList<ChannelAsRouter *> channels = m_channels;
    for (ChannelAsRouter *channel : channels) {
        if (channel->channelIndex() == index)
            chosen << channel;
    }
    refreshChannels(chosen);
}

void NetworkDialog::refreshChannels(const QList<ChannelAsRouter *> &channels)
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
