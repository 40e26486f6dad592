#pragma once

#include "channelasrouter.h"
#include "dialogfixture.h"

#include <QTabBar>
#include <QToolButton>

// What a user does with mouse and keyboard.

/// Scrolls the tab row with its arrows until tab \a tab is fully visible.
inline void scrollToTab(QTabBar *bar, int tab)
{
    const QList<QToolButton *> arrows = bar->findChildren<QToolButton *>();
    for (int clicks = 0; clicks < bar->count(); ++clicks) {
        const QRect title = bar->tabRect(tab);
        for (QToolButton *arrow : arrows) {
            const bool hidden =
                arrow->arrowType() == Qt::LeftArrow ? title.left() < 0 : title.right() >= arrow->x();
            if (arrow->isVisible() && hidden)
                QTest::mouseClick(arrow, Qt::LeftButton);
        }
    }
}

/// Clicks on the title of tab \a tab.
inline void clickTab(const DialogFixture &fixture, int tab)
{
    QTabBar *bar = fixture.tabs()->tabBar();
    scrollToTab(bar, tab);
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(tab).center());
}

/// Replaces the text of \a field by typing.
inline void typeInto(QWidget *field, const char *text)
{
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(field, QLatin1String(text));
}

/// Clicks the check box of the row of \a type.
inline void clickTick(const ChannelWidget *page, const char *type)
{
    QTableView *view = page->tableView;
    const auto rows = page->channel()->typeModel()->findItems(QLatin1String(type));
    const QRect cell = view->visualRect(rows.value(0)->index());
    view->scrollTo(rows.value(0)->index());
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                      view->visualRect(rows.value(0)->index()).topLeft() + QPoint(10, cell.height() / 2));
}

/// Clicks the square of the check box \a button.
inline void clickBox(QAbstractButton *button)
{
    QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, QPoint(8, button->height() / 2));
}
