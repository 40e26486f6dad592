#include "networkdialog.h"

#include "answer.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "commands.h"
#include "hostlog.h"

#include <QThread>

#include <algorithm>
#include <cstring>

using namespace networksettings2g;

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
    const bool on = m_host.getValue(answer.buffer(), commands::routerMode) == 0 && answer.isYes();
    // Set the check box first: its slot marks the change as the user's. The next line undoes that, because
    // this change comes from the Controller.
    checkBox_actAsRouter->setChecked(on);
    m_routerChanged = false;
    setRouterActive(on);
    if (!on)
        onCheckBox_active_channel_toggled();
}

void NetworkDialog::onCheckBox_active_channel_toggled()
{
    const bool anyActive = std::any_of(m_pages.cbegin(), m_pages.cend(), [](const ChannelWidget *page) {
        return page->checkBox_active_channel->isChecked();
    });
    checkBox_actAsRouter->setEnabled(!m_locked && anyActive);
}

void NetworkDialog::on_checkBox_actAsRouter_toggled(bool checked)
{
    m_routerChanged = true;
    setRouterActive(checked);
}

void NetworkDialog::commitRouterMode()
{
    if (commands::knowsRouterMode(*m_versions))
        writeRouterMode();
    updateOutputRequests();
    switchRouters(checkBox_actAsRouter->isChecked());
    m_tabsChanged = false;
}

void NetworkDialog::writeRouterMode()
{
    const bool on = checkBox_actAsRouter->checkState() == Qt::Checked;
    const int result =
        on ? m_host.setValue(commands::setRouterModeYes) : m_host.setValue(commands::setRouterModeNo);
    if (result != 0)
        logFailure(&m_host, QLatin1String("Error: Unable to set value act as router"));
    // Follow the check box even if the command failed; the next opening reads the Controller's state.
    setRouterActive(on);
}

void NetworkDialog::setRouterActive(bool on)
{
    m_routerActive = on && !isTornDown();
    applyRouterMode();
}

void NetworkDialog::applyRouterMode()
{
    for (ChannelWidget *page : qAsConst(m_pages))
        page->setRouterMode(m_routerActive);
}

void NetworkDialog::switchRouters(bool on)
{
    // Shut-down has stopped the routers; they must not be started again.
    if (!isTornDown())
        emit deferedRouterActiveToggled(on);
}

void NetworkDialog::updateOutputRequests()
{
    const QList<OutputTypeInfo> types = m_outputTypes;
    for (const OutputTypeInfo &type : types) {
        const QByteArray name = type.name.toLatin1();
        if (isTypeNeeded(type.name))
            m_host.requestOutputType(name.constData(), this);
        else
            m_host.releaseOutputType(name.constData(), this);
    }
}

bool NetworkDialog::isTypeNeeded(const QString &name) const
{
    if (!checkBox_actAsRouter->isChecked())
        return false;
    return std::any_of(m_channels.cbegin(), m_channels.cend(),
                       [&name](const ChannelAsRouter *channel) { return channel->isTypeActive(name); });
}

int NetworkDialog::onMessage(int /*a*/, int /*b*/, const char *text)
{
    if (std::strcmp(text, "OutputTypesChanged") != 0)
        return 0;
    const auto follow = [this] {
        const CallFromHost call(this);
        followCatalogueChange();
    };
    const auto followQueued = [this, follow] {
        m_followQueued = false; // first, so that a later message is not lost
        follow();
    };
    // The refresh must run on the GUI thread, with the routers stopped before it and started after it. So a
    // call on another thread queues the whole operation, unless it is queued already.
    if (QThread::currentThread() == thread())
        follow();
    else if (!m_followQueued.exchange(true))
        QMetaObject::invokeMethod(this, followQueued, Qt::QueuedConnection);
    return 0;
}

void NetworkDialog::followCatalogueChange()
{
    if (m_gate.isBusy()) {
        m_catalogueChanged = true;
        return;
    }
    if (isTornDown() || !checkBox_actAsRouter->isChecked())
        return;
    const Operation operation(&m_gate);
    switchRouters(false);
    refreshAndRoute();
}

void NetworkDialog::refreshAndRoute()
{
    refreshAllChannels();
    updateOutputRequests();
    switchRouters(true);
}

int NetworkDialog::onOutputData(const char *type, const char *line)
{
    m_fanOut->deliver(type, line);
    return 0;
}

void NetworkDialog::onOutputReset()
{
    m_fanOut->resetFrames();
}

void NetworkDialog::onOutputIdle() {}
