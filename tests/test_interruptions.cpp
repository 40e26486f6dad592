#include "gestures.h"
#include "waiting.h"

#include <thread>

namespace {

void routing(ControllerState &state)
{
    withChannels(3)(state);
    state.viaRouter = true;
}

} // namespace

/// What comes at a bad moment: shut-down with a message box open, a host that comes back to the module from
/// within a command, calls that are late.
class TestInterruptions : public QObject
{
    Q_OBJECT

private slots:
    void shutdownWithinDialog_data();
    void shutdownWithinDialog();
    void nothingIsSentAfterTeardown();
    void hostComesBackWithinCommand_data();
    void hostComesBackWithinCommand();
    void closedAndInactiveChannelsHaveNoWorker();
};

void TestInterruptions::shutdownWithinDialog_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QString>("host"); // of the first channel
    QTest::addColumn<QString>("box");

    const auto row = [](const char *name, Qt::Key key, const QString &host, const QString &box) {
        QTest::newRow(name) << key << host << box;
    };
    row("close question", Qt::Key_W, "127.0.0.1", "Close Channel 3?");
    row("conflict", Qt::Key_Escape, "127.0.0.2", "Channel 1 and 2 have");
    row("empty host", Qt::Key_Escape, "", "Invalid empty host");
    row("unresolved host", Qt::Key_Escape, "no-such-host.invalid", "Cannot resolve host");
    row("no box", Qt::Key_7, "127.0.0.1", "");
}

void TestInterruptions::shutdownWithinDialog()
{
    QFETCH(Qt::Key, key);
    QFETCH(QString, host);
    QFETCH(QString, box);
    DialogFixture fixture([](ControllerState &state) {
        routing(state);
        state.channels[1].destination = {Destination::Kind::Udp, "127.0.0.2", 5001};
    });
    fixture.create();
    QString text("");
    QTimer::singleShot(0, fixture.dialog.get(), [&] {
        fixture.page(0)->lineEdit_host->setText(host);
        fixture.page(0)->flushChangesToChannel();
        QTimer::singleShot(0, &fixture.window, [&] {
            if (auto *open = qobject_cast<QMessageBox *>(QApplication::activeModalWidget()))
                text = open->text();
            fixture.dialog->teardownRequests();
            fixture.dialog.reset();
        });
        QTest::keyClick(fixture.page(0)->lineEdit_host, key,
                        key == Qt::Key_W ? Qt::ControlModifier : Qt::NoModifier);
    });
    NetworkDialog *dialog = fixture.dialog.get();
    QCOMPARE(dialog->update_and_exec(), int(QDialog::Rejected));
    QVERIFY2(box.isEmpty() ? text.isEmpty() : text.startsWith(box), qPrintable(text));
    QVERIFY(fixture.controller.commands().isEmpty());
}

void TestInterruptions::nothingIsSentAfterTeardown()
{
    DialogFixture fixture(routing);
    fixture.create();
    fixture.open([&] {
        fixture.page(0)->spinBox_port->setValue(7001);
        std::thread host([&] { fixture.link.sendMessage("OutputTypesChanged"); });
        host.join();
        fixture.dialog->teardownRequests();
        fixture.controller.clearRecord();
        QCOMPARE(fixture.link.registeredCount(), 0);
        QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
        MessageBoxes boxes({QMessageBox::Yes});
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        QCoreApplication::processEvents();
    });
    fixture.dialog->update_and_exec();
    QVERIFY(fixture.sent().isEmpty());
}

void TestInterruptions::hostComesBackWithinCommand_data()
{
    QTest::addColumn<QByteArray>("trigger");
    for (const char *trigger :
         {"config is_changeable", "output net ch01", "output type t02", "output active ch01 6d",
          "output net ch03 none", "system model", "output active ch01 3d yes"})
        QTest::newRow(trigger) << QByteArray(trigger);
}

/// A changed catalogue is followed, but later; what the user starts is refused.
void TestInterruptions::hostComesBackWithinCommand()
{
    QFETCH(QByteArray, trigger);
    DialogFixture fixture(routing);
    fixture.create();
    fixture.change([](ControllerState &state) { state.catalogue.append({"7d", "New", true}); });
    QList<bool> switches;
    QObject scope;
    connect(fixture.dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &scope,
            [&](bool enable) { switches << enable; });
    bool sent = false;
    connect(&fixture.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        if (sent || exchange.text != trigger)
            return;
        sent = true;
        fixture.link.sendMessage("OutputTypesChanged");
        QVERIFY(switches.isEmpty());
        QCOMPARE(fixture.dialog->update_and_exec(), int(QDialog::Rejected));
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_Escape);
    });
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(fixture.tabs()->count(), 3);
        fixture.page(0)->channel()->typeModel()->findItems("3d").first()->setCheckState(Qt::Checked);
        fixture.page(1)->spinBox_port->setValue(7777);
    });
    // No edit is lost.
    QVERIFY(fixture.controller.state().channels[0].types.contains("3d"));
    QCOMPARE(fixture.controller.state().channels[1].destination.port, 7777);
    QVERIFY(sent);
    // Off and on for the message, beside the first accept's own switch.
    QCOMPARE(switches.size(), 3);
}

void TestInterruptions::closedAndInactiveChannelsHaveNoWorker()
{
    DialogFixture fixture(routing);
    const int before = threadCount();
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        QTRY_COMPARE(threadCount(), before + 3);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        // Before the event loop has taken the closed channel away.
        fixture.link.sendMessage("OutputTypesChanged");
        QTRY_COMPARE(threadCount(), before + 2);
        clickBox(fixture.page(0)->checkBox_active_channel);
        QTRY_COMPARE(threadCount(), before + 1);
        clickBox(fixture.page(0)->checkBox_active_channel);
        QTRY_COMPARE(threadCount(), before + 2);
    });
}

QTEST_MAIN(TestInterruptions)
#include "test_interruptions.moc"
