#include "networkdialog.h"

#include "answer.h"
#include "busycursor.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "commands.h"
#include "hostlog.h"
#include "networkdialogtabwidget.h"

#include <QHostInfo>

using namespace networksettings2g;

int NetworkDialog::channelsInUse()
{
    int highest = 1;
    for (int number = 1; number <= Channel::MaximumCount; ++number) {
        Answer answer;
        const bool answered = m_host.getValue(answer.buffer(), commands::destination, number) == 0;
        if (answered && !answer.equals("none"))
            highest = number;
    }
    return highest;
}

void NetworkDialog::rebuildTabs()
{
    const int count = channelsInUse();
    for (int index = 0; index < count; ++index)
        m_pages << createChannel(index);
    if (count < Channel::MaximumCount)
        m_tabWidget->addPlusTab();
}

ChannelWidget *NetworkDialog::createChannel(int index)
{
    auto *channel = new ChannelAsRouter(&m_host, index, m_versions);
    connect(this, SIGNAL(deferedRouterActiveToggled(bool)), channel, SLOT(updateRouterActiveState(bool)));
    channel->setFanOut(m_fanOut);
    channel->setTickedTypesCallback([this] { m_fanOut->publish(m_channels); });
    m_channels << channel;

    auto *page = new ChannelWidget(&m_host, channel, m_versions);
    connect(page, SIGNAL(changeChannelTabTitleFontColor(int, QColor)), m_tabWidget,
            SLOT(changeTabTitleFontColor(int, QColor)));
    connect(channel, SIGNAL(committingChanges()), page, SLOT(flushChangesToChannel()));
    connect(page, SIGNAL(checkBox_active_channel_toggled()), this, SLOT(onCheckBox_active_channel_toggled()));
    connect(page, SIGNAL(closeTab(int)), this, SLOT(closeLastTab()));
    m_tabWidget->addTab(page, QString::fromLatin1("Channel %1").arg(channel->number()));
    m_tabsChanged = true;

    m_fanOut->publish(m_channels);
    return page;
}

void NetworkDialog::closeTab(int index)
{
    ChannelAsRouter *channel = m_channels.at(index);
    ChannelWidget *page = m_pages.at(index);
    page->disconnect();
    m_channels.removeAt(index);
    m_pages.removeAt(index);
    m_fanOut->publish(m_channels); // before the command below, during which the host may deliver data
    if (m_tabWidget->count() > 1)
        m_tabWidget->removeTab(index);
    resetOnController(index + 1);
    discard(channel, page);
}

void NetworkDialog::resetOnController(int number)
{
    const BusyCursor busy;
    if (m_host.setValue(commands::clearDestination, number) != 0)
        logFailure(&m_host, QLatin1String("Error: Unable to reset channel X"));
}

void NetworkDialog::discard(ChannelAsRouter *channel, ChannelWidget *page)
{
    disconnect(this, nullptr, channel, nullptr);
    channel->setTickedTypesCallback([] {});
    channel->updateRouterActiveState(false);
    // The page may be the sender of the signal that has led here, so it is deleted later, together with its
    // channel. If the event loop does not run again, the dialog deletes both.
    channel->setParent(page);
    page->deleteLater();
}

void NetworkDialog::rebuildChannels()
{
    destroyChannels();
    m_tabWidget->clear();
    rebuildTabs();
}

void NetworkDialog::destroyChannels()
{
    // Order matters: publish() waits until no data thread and no worker of another channel uses the channels,
    // and pages refer to their channels.
    m_fanOut->publish({});
    while (!m_pages.isEmpty())
        delete m_pages.takeFirst();
    while (!m_channels.isEmpty())
        delete m_channels.takeFirst();
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
    // Use a separate list: if the host shuts the module down from within a query, teardownRequests() must
    // find the previous catalogue complete, to release its types.
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
