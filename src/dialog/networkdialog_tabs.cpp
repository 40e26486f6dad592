#include "networkdialog.h"

#include "busycursor.h"
#include "channel.h"
#include "channelwidget.h"
#include "networkdialogtabwidget.h"

#include <QKeyEvent>

using namespace networksettings2g;

void NetworkDialog::onTabBarClicked(int index)
{
    if (!m_tabWidget->isPlusTab(index) || !m_gate.mayBegin())
        return;
    const BusyCursor busy;
    const Operation operation(&m_gate);
    m_tabWidget->removePlusTab();
    ChannelWidget *page = createChannel(index);
    if (index < Channel::MaximumCount - 1)
        m_tabWidget->addPlusTab();
    refreshChannel(index);
    m_tabWidget->setCurrentIndex(index);
    m_pages << page; // not earlier: while it is being loaded, the page has no effect on the router check box
    updateCloseButtons();
}

void NetworkDialog::keyPressEvent(QKeyEvent *event)
{
    const bool withControl = event->modifiers() == Qt::ControlModifier;
    switch (event->key()) {
    case Qt::Key_T:
        if (withControl)
            onTabBarClicked(m_pages.size());
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
    // Do not advance to the last tab, which is the "+" tab. If there is none, because there are ten channels
    // or the configuration is locked, this skips the last channel.
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
        m_tabWidget->addPlusTab();
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

void NetworkDialog::updateCloseButtons()
{
    const QList<ChannelWidget *> pages = m_pages;
    for (ChannelWidget *page : pages)
        page->setCloseButtonVisible(false);
    // Query again: the lock may have changed since the dialog was opened.
    if (isConfigLocked())
        return;
    if (m_pages.size() >= 2)
        m_pages.last()->setCloseButtonVisible(true);
}
