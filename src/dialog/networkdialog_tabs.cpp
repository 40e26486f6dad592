#include "networkdialog.h"

#include "answer.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "commands.h"
#include "hostlog.h"
#include "iomanager.h"
#include "networkdialogtabwidget.h"

#include <QKeyEvent>
#include <QTabBar>

namespace {

const QLatin1String plusTitle("+");

} // namespace

int NetworkDialog::channelsInUse()
{
    int highest = 1;
    for (int number = 1; number <= Channel::MaximumCount; ++number) {
        Answer answer;
        const bool answered = m_host.getValue(answer.room(), commands::destination, number) == 0;
        if (answered && !answer.is("none"))
            highest = number;
    }
    return highest;
}

void NetworkDialog::rebuildTabs()
{
    m_channelCount = channelsInUse();
    for (int index = 0; index < m_channelCount; ++index)
        createChannel(index);
    if (m_channelCount < Channel::MaximumCount)
        addPlusTab();
}

void NetworkDialog::createChannel(int index)
{
    auto *channel = new ChannelAsRouter(&m_host, index, m_versions);
    connect(this, SIGNAL(deferedRouterActiveToggled(bool)), channel, SLOT(updateRouterActiveState(bool)));
    channel->setTickedTypesCallback([this] { m_fanOut.publish(m_channels); });
    m_channels << channel;

    auto *page = new ChannelWidget(&m_host, channel, m_versions);
    connect(page, SIGNAL(changeChannelTabTitleFontColor(int, QColor)), m_tabWidget,
            SLOT(changeTabTitleFontColor(int, QColor)));
    connect(channel, SIGNAL(committingChanges()), page, SLOT(flushChangesToChannel()));
    connect(page, SIGNAL(checkBox_active_channel_toggled()), this, SLOT(onCheckBox_active_channel_toggled()));
    connect(page, SIGNAL(closeTab(int)), this, SLOT(closeLastTab()));
    m_pages << page;
    m_tabWidget->addTab(page, QString::fromLatin1("Channel %1").arg(index + 1));
    m_tabsChanged = true;

    m_fanOut.publish(m_channels);
}

void NetworkDialog::addPlusTab()
{
    const int tab = m_tabWidget->addTab(m_plusPage, plusTitle);
    m_tabWidget->tabBar()->setAccessibleTabName(tab, m_plusPage->accessibleName());
}

void NetworkDialog::removePlusTab()
{
    const int tab = plusTab();
    if (tab >= 0)
        m_tabWidget->removeTab(tab);
}

int NetworkDialog::plusTab() const
{
    for (int tab = m_tabWidget->count() - 1; tab >= 0; --tab) {
        if (m_tabWidget->tabText(tab) == plusTitle)
            return tab;
    }
    return -1;
}

void NetworkDialog::updateCloseButtons()
{
    const QList<ChannelWidget *> pages = m_pages;
    for (ChannelWidget *page : pages)
        page->setCloseButtonVisible(false);
    // Asked anew: the lock may have come or gone since the dialog was opened.
    if (isConfigLocked())
        return;
    if (m_pages.size() >= 2)
        m_pages.last()->setCloseButtonVisible(true);
}

void NetworkDialog::onTabBarClicked(int index)
{
    if (m_tabWidget->tabText(index) != plusTitle || !m_gate.mayBegin())
        return;
    const Operation operation(&m_gate);
    removePlusTab();
    createChannel(index);
    if (index < Channel::MaximumCount - 1)
        addPlusTab();
    refreshChannel(index);
    m_tabWidget->setCurrentIndex(index);
    ++m_channelCount;
    updateCloseButtons();
}

void NetworkDialog::keyPressEvent(QKeyEvent *event)
{
    const bool withControl = event->modifiers() == Qt::ControlModifier;
    switch (event->key()) {
    case Qt::Key_T:
        if (withControl)
            onTabBarClicked(m_channelCount);
        break;
    case Qt::Key_W:
        if (withControl)
            closeLastTab();
        break;
    case Qt::Key_F9:
        selectNextTab();
        break;
    default:
        QDialog::keyPressEvent(event);
    }
}

void NetworkDialog::selectNextTab()
{
    const int current = m_tabWidget->currentIndex();
    m_tabWidget->setCurrentIndex(current + 2 < m_tabWidget->count() ? current + 1 : 0);
}

void NetworkDialog::closeLastTab()
{
    const int number = m_pages.size();
    if (number < 2 || !m_gate.mayBegin())
        return;
    const Operation operation(&m_gate);
    if (!confirmClosing(number))
        return;
    closeTab(number - 1);
    if (number == Channel::MaximumCount)
        addPlusTab();
    m_tabWidget->setCurrentIndex(number - 2);
    updateCloseButtons();
}

void NetworkDialog::closeCurrentTab()
{
    const int current = m_tabWidget->currentIndex();
    if (m_pages.size() < 3 || current < 0 || current >= m_pages.size() || !m_gate.mayBegin())
        return;
    const Operation operation(&m_gate);
    if (!confirmClosing(current + 1))
        return;
    closeTab(current);
    m_tabWidget->setCurrentIndex(current - 1);
    updateCloseButtons();
}

bool NetworkDialog::confirmClosing(int number)
{
    return ask(QMessageBox::Warning, QLatin1String("Warning"),
               QString::fromLatin1("Close Channel %1?").arg(number), QMessageBox::No);
}

void NetworkDialog::closeTab(int index)
{
    ChannelAsRouter *channel = m_channels.at(index);
    ChannelWidget *page = m_pages.at(index);
    page->disconnect();
    m_channels.removeAt(index);
    m_pages.removeAt(index);
    --m_channelCount;
    m_fanOut.publish(m_channels); // a host may deliver data from within the command below
    if (m_tabWidget->count() > 1)
        m_tabWidget->removeTab(index);
    resetOnController(index + 1);
    discard(channel, page);
}

void NetworkDialog::resetOnController(int number)
{
    if (m_host.setValue(commands::clearDestination, number) != 0)
        logFailure(&m_host, QLatin1String("Error: Unable to reset channel X"));
}

void NetworkDialog::discard(ChannelAsRouter *channel, ChannelWidget *page)
{
    disconnect(this, nullptr, channel, nullptr);
    channel->setTickedTypesCallback([] {});
    channel->updateRouterActiveState(false);
    // The page may be the sender of the click that led here. It takes its channel along, and both go with the
    // dialog if the event loop does not come by before.
    channel->setParent(page);
    page->deleteLater();
}
