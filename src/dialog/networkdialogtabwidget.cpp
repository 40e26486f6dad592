#include "networkdialogtabwidget.h"

#include <QTabBar>

namespace {

const QLatin1String plusTitle("+");

} // namespace

NetworkDialogTabWidget::NetworkDialogTabWidget(QWidget *parent)
    : QTabWidget(parent)
{
}

void NetworkDialogTabWidget::addPlusTab(QWidget *page)
{
    const int tab = addTab(page, plusTitle);
    tabBar()->setAccessibleTabName(tab, page->accessibleName());
}

void NetworkDialogTabWidget::removePlusTab()
{
    if (hasPlusTab())
        removeTab(plusTab());
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
