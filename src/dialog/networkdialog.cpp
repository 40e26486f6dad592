#include "networkdialog.h"

#include "answer.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "commands.h"
#include "iomanager.h"
#include "networkdialogtabwidget.h"
#include "plainmessage.h"

#include <QHostInfo>

#include <utility>

using networksettings2g::OperationGate;

namespace {

const char receiverName[] = "NetworkDialog";

/// From this many channels on the tabs need more room than the form gives.
constexpr int manyChannels = 6;
constexpr int tabWidth = 60;

} // namespace

NetworkDialog::NetworkDialog(IOManager *ioManager, QWidget *parent, BackendVersions *versions)
    : QDialog(parent)
    , m_host(ioManager)
    , m_versions(versions)
    , m_parentWidget(parent)
{
    setupUi(this);
    m_lockIcon.addFile(QLatin1String(":/lock.png"));
    setupTabs();
    connect(&m_gate, &OperationGate::becameIdle, this, &NetworkDialog::doPostponed);
}

void NetworkDialog::start()
{
    const CallFromHost call(this);
    const Operation operation(&m_gate);
    rebuildTabs();
    updateRouterState();
    m_host.addMessageReceiver(receiverName, this);
    m_host.addRequester(this);
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
    // Each box lives on the stack of a function that has not returned, so it must not be deleted as a child.
    const QList<QMessageBox *> boxes = closeMessageBoxes();
    for (QMessageBox *box : boxes)
        box->setParent(nullptr);
    destroyChannels();
}

QList<QMessageBox *> NetworkDialog::closeMessageBoxes()
{
    // close() makes the box return the button that ends the function that shows it.
    const QList<QMessageBox *> boxes = findChildren<QMessageBox *>();
    for (QMessageBox *box : boxes)
        box->close();
    return boxes;
}

bool NetworkDialog::ask(QMessageBox::Icon icon, const QString &title, const QString &question,
                        QMessageBox::StandardButton defaultButton)
{
    const QPointer<OperationGate> gate(&m_gate);
    const auto answer = networksettings2g::showMessage(this, icon, title, question,
                                                       QMessageBox::Yes | QMessageBox::No, defaultButton);
    return answer == QMessageBox::Yes && gate && !gate->isClosed();
}

void NetworkDialog::teardownRequests()
{
    if (isTornDown())
        return;
    const CallFromHost call(this);
    const Operation operation(&m_gate);
    m_gate.close();
    closeMessageBoxes();
    setRouterActive(false);
    emit deferedRouterActiveToggled(false);
    const QList<OutputTypeInfo> types = m_outputTypes;
    for (const OutputTypeInfo &type : types)
        m_host.releaseOutputType(type.name.toLatin1().constData(), this);
    m_host.removeRequester(this);
    m_host.removeMessageReceiver(receiverName, this);
    m_host.close();
}

void NetworkDialog::release()
{
    if (!m_host.isCallUnderWay()) {
        delete this;
        return;
    }
    // Functions of the dialog that have sent a command have not returned yet.
    m_gate.close();
    m_host.close();
    m_releaseDue = true;
    setParent(nullptr); // the host may destroy the parent meanwhile
}

NetworkDialog::CallFromHost::CallFromHost(NetworkDialog *dialog)
    : m_dialog(dialog)
{
    ++m_dialog->m_callsFromHost;
}

NetworkDialog::CallFromHost::~CallFromHost()
{
    if (m_dialog && --m_dialog->m_callsFromHost == 0 && m_dialog->m_releaseDue)
        delete m_dialog;
}

int NetworkDialog::update_and_exec()
{
    const CallFromHost call(this);
    if (isVisible() || !m_gate.mayBegin()) {
        m_openingDue = !isVisible() && !m_opening && !isTornDown();
        raise();
        activateWindow();
        return Rejected;
    }
    m_opening = true;
    bringUpToDate();
    m_opening = false;
    return isTornDown() ? int(Rejected) : exec();
}

void NetworkDialog::doPostponed()
{
    if (m_releaseDue) {
        deleteLater(); // unless the end of a call from the host does it before
        return;
    }
    if (std::exchange(m_openingDue, false))
        QMetaObject::invokeMethod(
            this, [this] { update_and_exec(); }, Qt::QueuedConnection);
    if (std::exchange(m_catalogueChanged, false))
        followCatalogueChange();
}

void NetworkDialog::bringUpToDate()
{
    const Operation operation(&m_gate);
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
           m_host.getValue(answer.room(), commands::configIsChangeable) == 0 && answer.is("no");
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
    const bool on = m_host.getValue(answer.room(), commands::routerMode) == 0 && answer.isYes();
    // Set the check box first: its slot marks the change as the user's, which the next line undoes, because
    // this one comes from the Controller.
    checkBox_actAsRouter->setChecked(on);
    m_routerChanged = false;
    setRouterActive(on);
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
    // Into a list of its own: teardownRequests() from within a query releases the types known until then.
    QList<OutputTypeInfo> types;
    queryOutputTypes(&m_host, &types);
    m_outputTypes = types;
    const QString monitorIp = queryMonitorIp(&m_host);
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
