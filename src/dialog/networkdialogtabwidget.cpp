#include "networkdialogtabwidget.h"

#include <QTabBar>

NetworkDialogTabWidget::NetworkDialogTabWidget(QWidget *parent)
    : QTabWidget(parent)
{
}

void NetworkDialogTabWidget::changeTabTitleFontColor(int tabIndex, const QColor &color)
{
    tabBar()->setTabTextColor(tabIndex, color);
}
