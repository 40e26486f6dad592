#include "networkdialogtabwidget.h"

#include <QShowEvent>
#include <QTabBar>

namespace {

const QLatin1String plusTitle("+");

} // namespace

NetworkDialogTabWidget::NetworkDialogTabWidget(QWidget *parent)
    : QTabWidget(parent)
    , m_plusPage(new QWidget(this))
{
    m_plusPage->hide(); // while there is no "+" tab, the page would cover a part of the tab row
    m_plusPage->setAccessibleName(QLatin1String("Add a channel with Ctrl + T"));
}

void NetworkDialogTabWidget::addPlusTab()
{
    const int tab = addTab(m_plusPage, plusTitle);
    tabBar()->setAccessibleTabName(tab, m_plusPage->accessibleName());
}

void NetworkDialogTabWidget::removePlusTab()
{
    if (hasPlusTab())
        removeTab(plusTab());
}

void NetworkDialogTabWidget::showEvent(QShowEvent *event)
{
    QTabWidget::showEvent(event);
    if (event->spontaneous()) // a minimized window is restored
        return;
    window()->setAttribute(Qt::WA_KeyboardFocusChange); // styles draw the focus only with this attribute
    tabBar()->setFocus(Qt::TabFocusReason);
}

bool NetworkDialogTabWidget::isPlusTab(int tab) const
{
    return tabText(tab) == plusTitle;
}

int NetworkDialogTabWidget::plusTab() const
{
    for (int tab = count() - 1; tab >= 0; --tab) {
        if (isPlusTab(tab))
            return tab;
    }
    return -1;
}

void NetworkDialogTabWidget::changeTabTitleFontColor(int tabIndex, const QColor &color)
{
    tabBar()->setTabTextColor(tabIndex, color);
}
