#include "channelasrouter.h"
#include "dialogfixture.h"
#include "messageboxes.h"

#include <QDir>

#include <thread>

namespace {

int threadCount()
{
    return QDir(QLatin1String("/proc/self/task")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size();
}

void routing(ControllerState &state)
{
    withChannels(2)(state);
    state.viaRouter = true;
}

} // namespace

/// What comes at a bad moment: shut-down with a message box open, a host that comes back to the module from
/// within a command, calls that are late.
class TestInterruptions : public QObject
{
    Q_OBJECT

private slots:
    void shutdownWithBoxOpen_data();
    void shutdownWithBoxOpen();
    void shutdownWhileEditing();
    void nothingIsSentAfterTeardown();
    void lateMessageIsDropped();
    void messageWithinAnyCommand_data();
    void messageWithinAnyCommand();
    void messageWithinCommitLosesNoEdit();
    void actionWithinOpening();
    void closedChannelStaysStopped();
};

void TestInterruptions::shutdownWithBoxOpen_data()
{
    QTest::addColumn<QString>("cause");
    for (const char *cause : {"close question", "conflict", "empty host", "unresolved host"})
        QTest::newRow(cause) << QString::fromLatin1(cause);
}

void TestInterruptions::shutdownWithBoxOpen()
{
    QFETCH(QString, cause);
    DialogFixture fixture(routing);
    fixture.create();
    QStringList texts;
    fixture.controller.clearRecord();
    QTimer::singleShot(0, fixture.dialog.get(), [&] {
        if (cause == QLatin1String("conflict"))
            fixture.page(1)->spinBox_port->setValue(fixture.page(0)->spinBox_port->value());
        else if (cause == QLatin1String("empty host"))
            fixture.page(0)->lineEdit_host->clear();
        else if (cause == QLatin1String("unresolved host"))
            fixture.page(0)->lineEdit_host->setText(QLatin1String("no-such-host.invalid"));
        QTimer::singleShot(0, &fixture.window, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            texts << (box ? box->text() : QString());
            fixture.dialog->teardownRequests();
            fixture.dialog.reset();
        });
        QTest::keyClick(fixture.dialog.get(),
                        cause == QLatin1String("close question") ? Qt::Key_W : Qt::Key_Escape,
                        cause == QLatin1String("close question") ? Qt::ControlModifier : Qt::NoModifier);
    });
    NetworkDialog *dialog = fixture.dialog.get();
    dialog->update_and_exec();
    QVERIFY(!fixture.dialog);
    QVERIFY(!texts.value(0).isEmpty());
    QVERIFY(fixture.controller.commands().isEmpty());
}

void TestInterruptions::shutdownWhileEditing()
{
    DialogFixture fixture(routing);
    fixture.create();
    QTimer::singleShot(0, &fixture.window, [&] {
        fixture.page(0)->lineEdit_host->setEnabled(true);
        fixture.page(0)->lineEdit_host->setFocus();
        QTest::keyClicks(fixture.page(0)->lineEdit_host, QLatin1String("7"));
        fixture.dialog->teardownRequests();
        fixture.dialog.reset();
    });
    NetworkDialog *dialog = fixture.dialog.get();
    QCOMPARE(dialog->update_and_exec(), int(QDialog::Rejected));
}

void TestInterruptions::nothingIsSentAfterTeardown()
{
    DialogFixture fixture(routing);
    fixture.create();
    fixture.open([&] {
        fixture.page(0)->spinBox_port->setValue(7001);
        fixture.dialog->teardownRequests();
        fixture.controller.clearRecord();
        MessageBoxes boxes({QMessageBox::Yes});
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
        QVERIFY(!fixture.dialog->isVisible());
    });
    fixture.dialog->update_and_exec();
    QVERIFY(fixture.sent().isEmpty());
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
    fixture.dialog.reset();
}

void TestInterruptions::lateMessageIsDropped()
{
    DialogFixture fixture(routing);
    fixture.create();
    std::thread host([&] { fixture.link.sendMessage("OutputTypesChanged"); });
    host.join();
    fixture.dialog->teardownRequests();
    fixture.controller.clearRecord();
    QCoreApplication::processEvents();
    QVERIFY(fixture.sent().isEmpty());
    fixture.dialog.reset();
}

void TestInterruptions::messageWithinAnyCommand_data()
{
    QTest::addColumn<QByteArray>("trigger");
    for (const char *trigger :
         {"config is_changeable", "output net_via_router", "output net ch01", "output number_of_types",
          "output type t02", "output type_desc 6d", "output net chmon", "output net_active ch01",
          "output net_divisor ch02", "output active ch01 6d", "output net_active ch01 yes",
          "output net ch03 none", "system model"})
        QTest::newRow(trigger) << QByteArray(trigger);
}

void TestInterruptions::messageWithinAnyCommand()
{
    QFETCH(QByteArray, trigger);
    DialogFixture fixture([](ControllerState &state) {
        withChannels(3)(state);
        state.viaRouter = true;
    });
    fixture.create();
    fixture.change([](ControllerState &state) { state.catalogue.append({"7d", "New", true}); });
    int switches = 0;
    QObject scope;
    connect(fixture.dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &scope,
            [&](bool) { ++switches; });
    bool sent = false;
    connect(&fixture.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        if (!sent && exchange.text == trigger) {
            sent = true;
            fixture.link.sendMessage("OutputTypesChanged");
        }
    });
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(fixture.tabs()->count(), 3);
        QCOMPARE(fixture.page(0)->channel()->typeModel()->rowCount(), fixture.controller.catalogue().size());
    });
    QVERIFY(sent);
    // The message is not lost: off and on, beside the first accept's own switch.
    QVERIFY(switches >= 2);
}

void TestInterruptions::messageWithinCommitLosesNoEdit()
{
    DialogFixture fixture(routing);
    fixture.create();
    fixture.open([] {});
    QObject scope;
    connect(&fixture.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        if (exchange.text.startsWith("output active ch01") && exchange.kind == Exchange::Kind::Command)
            fixture.link.sendMessage("OutputTypesChanged");
    });
    fixture.open([&] {
        QStandardItemModel *model = fixture.page(0)->channel()->typeModel();
        for (const char *type : {"ts", "3d"})
            model->findItems(QLatin1String(type)).constFirst()->setCheckState(Qt::Checked);
        fixture.page(1)->spinBox_port->setValue(7777);
    });
    const ControllerState state = fixture.controller.state();
    QCOMPARE(state.channels[0].types, QSet<QByteArray>({"fr", "6d", "ts", "3d"}));
    QCOMPARE(state.channels[1].destination.port, 7777);
}

void TestInterruptions::actionWithinOpening()
{
    DialogFixture fixture(routing);
    fixture.create();
    fixture.change([](ControllerState &state) {
        withChannels(4)(state);
        state.viaRouter = true;
    });
    int nested = 0;
    QObject scope;
    connect(&fixture.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        if (exchange.text != "output net_divisor ch02" || nested > 0)
            return;
        ++nested;
        QCOMPARE(fixture.dialog->update_and_exec(), int(QDialog::Rejected));
    });
    fixture.open([&] { QCOMPARE(fixture.titles().size(), 5); });
    QCOMPARE(nested, 1);
}

void TestInterruptions::closedChannelStaysStopped()
{
    DialogFixture fixture([](ControllerState &state) {
        withChannels(3)(state);
        state.viaRouter = true;
    });
    const int before = threadCount();
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        QTRY_COMPARE(threadCount(), before + 3);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        // Before the event loop has taken the closed channel away.
        fixture.link.sendMessage("OutputTypesChanged");
        QTRY_COMPARE(threadCount(), before + 2);
    });
}

QTEST_MAIN(TestInterruptions)
#include "test_interruptions.moc"
