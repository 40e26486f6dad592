#pragma once

#include "channelasrouter.h"
#include "channelwidget.h"

#include <QTabBar>
#include <QToolButton>
#include <QtTest>

// Functions that act like a user with mouse and keyboard.

/// Scrolls the tab row with its arrows so that at least the middle of tab \a tab is visible.
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

/// Scrolls to tab \a tab and clicks it.
inline void clickTab(QTabBar *bar, int tab)
{
    scrollToTab(bar, tab);
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(tab).center());
}

/// Moves the focus to \a field and replaces its contents by typing \a text.
inline void typeInto(QWidget *field, const QString &text)
{
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(field, text);
}

/// Scrolls to the row of \a type, which must exist, and clicks its check box.
inline void clickTick(const ChannelWidget *page, const char *type)
{
    QTableView *view = page->tableView;
    const auto rows = page->channel()->typeModel()->findItems(QLatin1String(type));
    const QRect cell = view->visualRect(rows.value(0)->index());
    view->scrollTo(rows.value(0)->index());
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                      view->visualRect(rows.value(0)->index()).topLeft() + QPoint(10, cell.height() / 2));
}

/// Clicks the square of the check box \a button. The centre of the widget may lie beside the square and the
/// text, where clicks have no effect.
inline void clickBox(QAbstractButton *button)
{
    QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, QPoint(8, button->height() / 2));
}
