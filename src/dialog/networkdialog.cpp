#include "networkdialog.h"

#include "answer.h"
#include "busycursor.h"
#include "channel.h"
#include "channelwidget.h"
#include "commands.h"
#include "networkdialogtabwidget.h"
#include "plainmessage.h"

#include <utility>

using namespace networksettings2g;

namespace {

const char receiverName[] = "NetworkDialog";

/// With this many channels or more, the tabs need a dialog wider than the form.
constexpr int manyChannels = 6;
constexpr int tabWidth = 60; // pixels

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

void NetworkDialog::setupTabs()
{
    m_tabWidget = new NetworkDialogTabWidget(this);
    m_tabWidget->setWhatsThis(QLatin1String("Add new tab: Ctrl + T\nClose tab:   Ctrl + W"));
    layout_tabWidget->addWidget(m_tabWidget);
    describeForScreenReaders();
    connect(m_tabWidget, SIGNAL(tabBarClicked(int)), this, SLOT(onTabBarClicked(int)));
}

void NetworkDialog::describeForScreenReaders()
{
    m_tabWidget->setAccessibleName(QLatin1String("Channels"));
    // A screen reader needs a plain text: the What's This help of this check box is rich text with an image.
    checkBox_actAsRouter->setAccessibleDescription(
        QLatin1String("Passes the tracking data on to receivers outside the Controller's network"));
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

NetworkDialog::~NetworkDialog()
{
    // Each box is a local variable of a function that has not returned, so it must not be deleted as a child.
    const QList<QMessageBox *> boxes = closeMessageBoxes();
    for (QMessageBox *box : boxes)
        box->setParent(nullptr);
    destroyChannels();
}

void NetworkDialog::teardownRequests()
{
    if (isTornDown())
        return;
    const CallFromHost call(this);
    const Operation operation(&m_gate);
    refuseOperations();
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

void NetworkDialog::refuseOperations()
{
    m_gate.close();
    for (ChannelWidget *page : qAsConst(m_pages))
        page->silence();
}

void NetworkDialog::release()
{
    if (!m_host.isCallUnderWay()) {
        delete this;
        return;
    }
    // The operation that sent the command will use the dialog again. When it has ended, the dialog is deleted
    // by ~CallFromHost() or doPostponed().
    m_released = true;
    refuseOperations();
    m_host.close();
    setParent(nullptr); // the host may destroy the parent during the operation
}

NetworkDialog::CallFromHost::~CallFromHost()
{
    if (m_dialog && m_dialog->m_released && !m_dialog->m_gate.isBusy())
        delete m_dialog;
}

void NetworkDialog::doPostponed()
{
    if (m_released) {
        deleteLater(); // not at once: the caller may be a widget of the dialog
        return;
    }
    if (std::exchange(m_openingDue, false))
        QMetaObject::invokeMethod(
            this, [this] { update_and_exec(); }, Qt::QueuedConnection);
    if (std::exchange(m_catalogueChanged, false))
        followCatalogueChange();
}

QList<QMessageBox *> NetworkDialog::closeMessageBoxes()
{
    // close() makes each box return No or Cancel, which ends the operation that has opened the box.
    const QList<QMessageBox *> boxes = findChildren<QMessageBox *>();
    for (QMessageBox *box : boxes)
        box->close();
    return boxes;
}

int NetworkDialog::update_and_exec()
{
    const CallFromHost call(this);
    if (isVisible() || !m_gate.mayBegin()) {
        // Postpone the opening until the operation in progress has ended. If that operation is an opening
        // too, the postponed call finds the dialog visible and only raises it.
        m_openingDue = !isVisible() && !isTornDown();
        raise();
        activateWindow();
        return Rejected;
    }
    bringUpToDate();
    return isTornDown() ? int(Rejected) : exec();
}

void NetworkDialog::bringUpToDate()
{
    const BusyCursor busy;
    const Operation operation(&m_gate);
    applyLock();
    updateRouterState();
    if (channelsInUse() != m_pages.size())
        rebuildChannels();
    refreshAllChannels();
    // The refresh may have toggled the active box of a page, whose slot enables the router check box whatever
    // the Controller's version.
    if (!commands::knowsRouterMode(*m_versions))
        checkBox_actAsRouter->setEnabled(false);
    const QList<ChannelWidget *> pages = m_pages;
    for (ChannelWidget *page : pages)
        page->updateTabColor();
    updateCloseButtons();
    if (m_pages.size() >= manyChannels)
        resize(m_pages.size() * tabWidth + m_baseWidth, height());
}

void NetworkDialog::applyLock()
{
    m_locked = isConfigLocked();
    // The host may have released this dialog and destroyed the parent within the query.
    const QIcon icon = m_parentWidget ? m_parentWidget->windowIcon() : QIcon();
    setWindowIcon(m_locked ? m_lockIcon : icon);
    setAccessibleDescription(m_locked ? QLatin1String("The configuration is locked") : QLatin1String());
    enablePages(!m_locked);
    if (m_locked) {
        checkBox_actAsRouter->setEnabled(false);
        m_tabWidget->removePlusTab();
    } else if (!m_tabWidget->hasPlusTab() && m_tabWidget->count() < Channel::MaximumCount) {
        m_tabWidget->addPlusTab();
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
           m_host.getValue(answer.buffer(), commands::configIsChangeable) == 0 && answer.equals("no");
}

bool NetworkDialog::ask(QMessageBox::Icon icon, const QString &title, const QString &question,
                        QMessageBox::StandardButton defaultButton)
{
    const QPointer<NetworkDialog> self(this);
    const auto answer =
        showMessage(this, icon, title, question, QMessageBox::Yes | QMessageBox::No, defaultButton);
    return answer == QMessageBox::Yes && self && !isTornDown();
}
