// Tests the windows of the simulated frontend.

#include "appearance.h"
#include "controllerwindow.h"
#include "conversationview.h"
#include "mainwindow.h"
#include "receiverspanel.h"
#include "session.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>

using namespace simulation;

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void conversationFollowsItsEndUnderThePointer();
    void conversationIsFilteredAndLimited();
    void selectionOfAReceiverOutlivesOthers();
    void mnemonicsOfAWindowDiffer();
    void disabledFieldsLookDisabled();
};

/// Opening and closing the module's dialog adds more than a hundred lines. A dialog that opens takes the
/// pointer from the list before the list has laid out the new lines.
void TestWindow::conversationFollowsItsEndUnderThePointer()
{
    ConversationView view;
    view.resize(600, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    auto *list = view.findChild<QTreeWidget *>();
    QScrollBar *bar = list->verticalScrollBar();
    QCursor::setPos(list->viewport()->mapToGlobal(list->viewport()->rect().center()));
    const auto addLines = [&view] {
        for (int i = 0; i < 100; ++i)
            view.addExchange({Exchange::Kind::Query, "system model", "100", 0});
    };
    for (int lines = 100; lines <= 1000; lines += 100) {
        addLines();
        QSignalSpy entered(list, &QTreeWidget::entered);
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

void TestWindow::conversationIsFilteredAndLimited()
{
    ConversationView view;
    view.addExchange({Exchange::Kind::Query, "output net ch01", "none", 0});
    view.addExchange({Exchange::Kind::Command, "output net ch01 none", "", Locked});
    view.addExchange({Exchange::Kind::Command, "output net ch02 none", "", Accepted});
    view.addLogLine({"standard", "ORVANE3", 1, "cannot write channel 1"});
    const auto *list = view.findChild<QTreeWidget *>();
    const auto shown = [list] {
        QStringList texts;
        for (int row = 0; row < list->topLevelItemCount(); ++row) {
            if (!list->topLevelItem(row)->isHidden())
                texts.append(list->topLevelItem(row)->text(2));
        }
        return texts;
    };
    auto *kind = view.findChild<QComboBox *>();
    kind->setCurrentText(QLatin1String("Failures"));
    QCOMPARE(shown(), (QStringList{"output net ch01 none", "cannot write channel 1"}));
    kind->setCurrentText(QLatin1String("Everything"));
    auto *words = view.findChild<QLineEdit *>();
    words->setText(QLatin1String("none CH01"));
    QCOMPARE(shown(), (QStringList{"output net ch01", "output net ch01 none"}));
    // New lines pass through the filter, too.
    view.addExchange({Exchange::Kind::Query, "output net_active ch01", "yes", 0});
    QCOMPARE(shown().size(), 2);

    for (int i = list->topLevelItemCount(); i <= ConversationView::Limit; ++i)
        view.addExchange({Exchange::Kind::Query, QByteArray::number(i), "none ch01", 0});
    QCOMPARE(list->topLevelItemCount(), ConversationView::Limit * 9 / 10 + 1);
    QCOMPARE(shown().last(), QString::number(ConversationView::Limit));
    // The button that clears the words fades in. Its animation has no parent and deletes itself at its end.
    QTRY_COMPARE(words->findChild<QToolButton *>()->property("opacity").toReal(), 1.0);
}

void TestWindow::selectionOfAReceiverOutlivesOthers()
{
    ReceiversPanel panel;
    const auto *table = panel.findChild<QTableWidget *>();
    const auto *frame = panel.findChild<QPlainTextEdit *>();
    const ReceiverReport one{1, "127.0.0.1:5001", {}, true, {}};
    ReceiverReport two{2, "127.0.0.1:5002", "cannot listen: in use", false, {}};
    panel.showReports({one, two});
    table->selectionModel()->select(table->model()->index(1, 0),
                                    QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    two.statistics.lastFrame = "fr 7\r\n6d 0\r\n";
    for (const QList<ReceiverReport> &reports : {QList<ReceiverReport>{two}, {one, two}}) {
        panel.showReports(reports);
        QCOMPARE(frame->toPlainText(), QString("fr 7\n6d 0\n"));
    }
    // A datagram full of line ends must not occupy the window.
    two.statistics.lastFrame = QByteArray("\r\n").repeated(30000);
    panel.showReports({one, two});
    QVERIFY(frame->blockCount() < 10000);
}

void TestWindow::mnemonicsOfAWindowDiffer()
{
    Session session(Options{});
    const MainWindow window(session, false);
    const ControllerWindow controller(session);
    for (const QWidget *each :
         {static_cast<const QWidget *>(&window), static_cast<const QWidget *>(&controller)}) {
        QStringList texts;
        for (const QAbstractButton *button : each->findChildren<QAbstractButton *>())
            texts.append(button->text());
        for (const QLabel *label : each->findChildren<QLabel *>())
            texts.append(label->buddy() ? label->text() : QString());
        for (const QMenuBar *bar : each->findChildren<QMenuBar *>()) {
            for (const QAction *action : bar->actions())
                texts.append(action->text());
        }
        QHash<QString, QString> seen;
        for (const QString &text : qAsConst(texts)) {
            const QString key = QKeySequence::mnemonic(text).toString();
            QVERIFY2(key.isEmpty() || !seen.contains(key), qPrintable(text + " and " + seen.value(key)));
            seen.insert(key, text);
        }
        QVERIFY(seen.size() > 5);
    }
}

void TestWindow::disabledFieldsLookDisabled()
{
    for (const bool dark : {true, false}) {
        setDarkPalette(dark);
        const QPalette palette = QGuiApplication::palette();
        QCOMPARE(isDark(palette), dark);
        QVERIFY(palette.color(QPalette::Disabled, QPalette::Base) !=
                palette.color(QPalette::Active, QPalette::Base));
        QVERIFY(palette.color(QPalette::Disabled, QPalette::Text) !=
                palette.color(QPalette::Active, QPalette::Text));
    }
}

QTEST_MAIN(TestWindow)
#include "test_window.moc"
