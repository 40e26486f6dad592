#pragma once

#include "channelasrouter.h"
#include "channelwidget.h"

#include <QTabBar>
#include <QtTest>

// Functions that act like a user with mouse and keyboard.

/// Clicks tab \a tab, whose title must be visible.
inline void clickTab(QTabBar *bar, int tab)
{
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
