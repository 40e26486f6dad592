#include "networkdialog.h"

#include "channelasrouter.h"
#include "iomanager.h"

#include <QThread>

#include <algorithm>
#include <cstring>

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

int NetworkDialog::onMessage(int /*a*/, int /*b*/, const char *text)
{
    if (std::strcmp(text, "OutputTypesChanged") != 0)
        return 0;
    // The refresh belongs to the GUI thread, and the routers are off around it: on another thread the whole
    // of it waits for the event loop.
    if (QThread::currentThread() == thread())
        followCatalogueChange();
    else
        QMetaObject::invokeMethod(
            this, [this] { followCatalogueChange(); }, Qt::QueuedConnection);
    return 0;
}

void NetworkDialog::followCatalogueChange()
{
    if (m_operations > 0) {
        m_catalogueChanged = true;
        return;
    }
    if (m_tornDown || !checkBox_actAsRouter->isChecked())
        return;
    const Operation operation(this);
    emit deferedRouterActiveToggled(false);
    refreshAndRoute();
}

void NetworkDialog::refreshAndRoute()
{
    refreshAllChannels();
    updateOutputRequests();
    emit deferedRouterActiveToggled(true);
}

void NetworkDialog::updateOutputRequests()
{
    const QList<OutputTypeInfo> types = m_outputTypes;
    for (const OutputTypeInfo &type : types) {
        const QByteArray name = type.name.toLatin1();
        if (isTypeNeeded(type.name))
            m_ioManager->requestOutputType(name.constData(), this);
        else
            m_ioManager->releaseOutputType(name.constData(), this);
    }
}

bool NetworkDialog::isTypeNeeded(const QString &name) const
{
    if (!checkBox_actAsRouter->isChecked())
        return false;
    return std::any_of(m_channels.cbegin(), m_channels.cend(),
                       [&name](const ChannelAsRouter *channel) { return channel->isTypeActive(name); });
}
