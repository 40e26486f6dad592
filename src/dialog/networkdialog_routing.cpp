#include "networkdialog.h"

#include "channelasrouter.h"
#include "iomanager.h"

#include <QThread>

#include <algorithm>
#include <cstring>

int NetworkDialog::onOutputData(const char *type, const char *line)
{
    if (m_routerActive)
        m_fanOut.deliver(type, line);
    return 0;
}

void NetworkDialog::onOutputReset()
{
    if (m_routerActive)
        m_fanOut.resetFrames();
}

void NetworkDialog::onOutputIdle() {}

int NetworkDialog::onMessage(int /*a*/, int /*b*/, const char *text)
{
    if (std::strcmp(text, "OutputTypesChanged") != 0)
        return 0;
    const auto follow = [this] {
        const CallFromHost call(this);
        followCatalogueChange();
    };
    // The refresh belongs to the GUI thread, and the routers are off around it: from another thread the whole
    // operation is queued.
    if (QThread::currentThread() == thread())
        follow();
    else
        QMetaObject::invokeMethod(this, follow, Qt::QueuedConnection);
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

void NetworkDialog::setRouterActive(bool on)
{
    m_routerActive = on && !isTornDown();
    applyRouterMode();
}

void NetworkDialog::switchRouters(bool on)
{
    // Shut-down has stopped the routers.
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
