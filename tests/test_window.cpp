// Tests the windows of the simulated frontend.

#include "controller.h"
#include "conversationmodel.h"
#include "conversationview.h"

#include <QApplication>
#include <QScrollBar>
#include <QTreeView>
#include <QtTest>

using namespace simulation;

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void conversationFollowsItsEndUnderThePointer();
};

/// Opening and closing the module's dialog adds more than a hundred lines. A dialog that opens takes the
/// pointer from the list before the list has laid out the new lines.
void TestWindow::conversationFollowsItsEndUnderThePointer()
{
    ConversationView view;
    view.resize(600, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    auto *list = view.findChild<QTreeView *>();
    QScrollBar *bar = list->verticalScrollBar();
    QCursor::setPos(list->viewport()->mapToGlobal(list->viewport()->rect().center()));
    const auto addLines = [&view] {
        for (int i = 0; i < 100; ++i)
            view.model().addExchange({Exchange::Kind::Query, "system model", "100", 0});
    };
    for (int lines = 100; lines <= 1000; lines += 100) {
        addLines();
        QSignalSpy entered(list, &QTreeView::entered);
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(list->viewport(), &leave);
        // If the list scrolled while it handles the event, it would use the row under the pointer after
        // freeing it.
        QCOMPARE(entered.count(), 0);
        QTRY_VERIFY(bar->maximum() > lines - 50);
        QTRY_COMPARE(bar->value(), bar->maximum());
    }
    // Lines that the user has scrolled to stay in place.
    bar->setValue(10);
    addLines();
    QTRY_VERIFY(bar->maximum() > 1050);
    QCOMPARE(bar->value(), 10);
}

QTEST_MAIN(TestWindow)
#include "test_window.moc"
