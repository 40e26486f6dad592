#include "fakeiomanager.h"
#include "gestures.h"
#include "waiting.h"

#include <thread>

namespace {

void routing(ControllerState &state)
{
    withChannels(3)(state);
    state.viaRouter = true;
}

/// Runs a dialog from start to end with a host that shuts the module down from within one of its calls.
class ShutdownWithinCall
{
public:
    /// The host shuts the module down within call number \a call, counted from 1; with 0 not within a call.
    /// With \a release it also releases the dialog there.
    ShutdownWithinCall(int call, bool release)
        : m_call(call)
        , m_release(release)
    {
        m_host.answers = {{"output net_via_router", "yes"},
                          {"output number_of_types", "2"},
                          {"output type t01", "fr"},
                          {"output type t02", "6d"},
                          {"output available fr", "yes"},
                          {"output available 6d", "yes"},
                          {"output type_desc fr", ""},
                          {"output type_desc 6d", ""},
                          {"output net chmon", "udp 10.0.0.1 0"},
                          {"system model", "100"}};
        for (const QByteArray channel : {"ch01", "ch02"}) {
            m_host.answers["output net " + channel] = "udp 127.0.0.1 500" + channel.right(1);
            m_host.answers["output net_active " + channel] = "yes";
            m_host.answers["output active " + channel + " 6d"] = "yes";
        }
        m_host.onCall = [this](const QByteArray &line) { takeCall(line); };
    }

    ~ShutdownWithinCall()
    {
        shutDown();
        delete m_dialog;
    }

    /// Starts the dialog, opens it, edits, adds and closes a tab, accepts, and reports a catalogue change.
    void run()
    {
        m_dialog = new NetworkDialog(&m_host, &m_window, &m_versions);
        m_dialog->start();
        if (m_dialog) {
            QTimer::singleShot(0, m_dialog, [this] { useDialog(); });
            m_dialog->update_and_exec();
        }
        if (m_dialog)
            m_dialog->onMessage(0, 0, "OutputTypesChanged");
    }

    int calls = 0;
    QStringList callsAfterShutdown;
    bool isDialogGone() const { return !m_dialog; }

private:
    void takeCall(const QByteArray &line)
    {
        if (m_shutDown)
            callsAfterShutdown << line;
        else if (!m_shuttingDown && ++calls == m_call)
            shutDown();
    }

    void shutDown()
    {
        if (!m_dialog || m_shutDown)
            return;
        m_shuttingDown = true;
        m_dialog->teardownRequests();
        m_shutDown = true;
        if (m_release && m_call > 0)
            m_dialog->release();
        QCoreApplication::processEvents();
    }

    void useDialog()
    {
        MessageBoxes boxes({QMessageBox::Yes});
        const QList<std::function<void()>> steps{
            [this] { page()->spinBox_port->setValue(6001); },
            [this] { page()->channel()->typeModel()->item(1)->setCheckState(Qt::Unchecked); },
            [this] { QTest::keyClick(m_dialog.data(), Qt::Key_T, Qt::ControlModifier); },
            [this] { QTest::keyClick(m_dialog.data(), Qt::Key_W, Qt::ControlModifier); },
            [this] { QTest::mouseClick(m_dialog->pushButton_ok, Qt::LeftButton); }};
        for (const std::function<void()> &step : steps) {
            if (m_dialog && m_dialog->isVisible())
                step();
        }
        if (m_dialog && m_dialog->isVisible())
            m_dialog->done(QDialog::Rejected);
    }

    ChannelWidget *page() const { return m_dialog->findChild<ChannelWidget *>(); }

    const int m_call;
    const bool m_release;
    bool m_shuttingDown = false;
    bool m_shutDown = false;
    FakeIOManager m_host;
    QWidget m_window;
    BackendVersions m_versions{{0, 0, 0}, 1, 9, 0};
    QPointer<NetworkDialog> m_dialog;
};

using Gesture = std::function<void(const DialogFixture &)>;

/// What the user sees of the first channel and of the tabs.
QString shownState(const DialogFixture &fixture)
{
    const ChannelWidget *page = fixture.page(0);
    return QString("%1:%2 active %3 router %4 6d %5 tabs %6 current %7")
        .arg(page->lineEdit_host->text())
        .arg(page->spinBox_port->value())
        .arg(page->checkBox_active_channel->isChecked())
        .arg(fixture.dialog->checkBox_actAsRouter->isChecked())
        .arg(page->channel()->isTypeActive("6d"))
        .arg(fixture.tabs()->count())
        .arg(fixture.tabs()->currentIndex());
}

} // namespace

Q_DECLARE_METATYPE(Gesture)

/// Calls at unexpected moments: shut-down while a message box is open, and a host that calls the module from
/// within a command.
class TestReentrancy : public QObject
{
    Q_OBJECT

private slots:
    void shutdownEndsTheOpenDialog_data();
    void shutdownEndsTheOpenDialog();
    void nothingIsSentAfterTeardown();
    void shutdownDismissesOpenBox_data();
    void shutdownDismissesOpenBox();
    void noCallFollowsShutdownWithinCall_data();
    void noCallFollowsShutdownWithinCall();
    void inputIsRefusedWhileChangesAreWritten_data();
    void inputIsRefusedWhileChangesAreWritten();
    void actionPressedDuringCatalogueChangeOpensDialog();
    void nestedCallsStartNoSecondOperation_data();
    void nestedCallsStartNoSecondOperation();
    void closedAndInactiveChannelsHaveNoWorker();
};

void TestReentrancy::shutdownEndsTheOpenDialog_data()
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

void TestReentrancy::shutdownEndsTheOpenDialog()
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

void TestReentrancy::nothingIsSentAfterTeardown()
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

void TestReentrancy::shutdownDismissesOpenBox_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QString>("host"); // of the first channel
    QTest::addColumn<int>("button");   // pressed after the shut-down

    const auto rows = [](const char *name, Qt::Key key, const QString &host,
                         const QList<QMessageBox::StandardButton> &buttons) {
        for (const QMessageBox::StandardButton button : buttons)
            QTest::addRow("%s, button %x", name, button) << key << host << int(button);
    };
    rows("close question", Qt::Key_W, "127.0.0.1", {QMessageBox::Yes, QMessageBox::No});
    rows("conflict", Qt::Key_Escape, "127.0.0.2", {QMessageBox::Yes, QMessageBox::No});
    rows("empty host", Qt::Key_Escape, "", {QMessageBox::Cancel});
    rows("loopback", Qt::Key_Escape, "localhost", {QMessageBox::Cancel});
    rows("multicast address", Qt::Key_Escape, "239.1.1.1", {QMessageBox::Cancel});
    rows("unresolved host", Qt::Key_Escape, "no-such-host.invalid",
         {QMessageBox::Ignore, QMessageBox::Cancel});
}

void TestReentrancy::shutdownDismissesOpenBox()
{
    QFETCH(Qt::Key, key);
    QFETCH(QString, host);
    QFETCH(int, button);
    const int threads = threadCount();
    DialogFixture fixture([](ControllerState &state) {
        routing(state);
        state.channels[1].destination = {Destination::Kind::Udp, "127.0.0.2", 5001};
    });
    fixture.controller.overrideAnswer("system model", "1");
    bool dismissed = false;
    fixture.open([&] {
        fixture.page(0)->lineEdit_host->setText(host);
        fixture.page(0)->flushChangesToChannel();
        QTimer::singleShot(0, &fixture.window, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QVERIFY(box);
            fixture.dialog->teardownRequests();
            fixture.controller.clearRecord();
            dismissed = !box->isVisible();
            box->button(QMessageBox::StandardButton(button))->click();
        });
        QTest::keyClick(fixture.page(0)->lineEdit_host, key,
                        key == Qt::Key_W ? Qt::ControlModifier : Qt::NoModifier);
        QVERIFY(fixture.dialog->isVisible());
        // What the user does in the open dialog must not start the routers again.
        clickBox(fixture.page(1)->checkBox_active_channel);
        clickBox(fixture.page(1)->checkBox_active_channel);
        clickBox(fixture.dialog->checkBox_actAsRouter);
        clickBox(fixture.dialog->checkBox_actAsRouter);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_Escape);
        QVERIFY(!fixture.dialog->isVisible());
    });
    QVERIFY(dismissed);
    QCOMPARE(fixture.sent(), QList<QByteArray>());
    QCOMPARE(fixture.logged(), QList<QByteArray>());
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
    QTRY_COMPARE(threadCount(), threads);
}

void TestReentrancy::noCallFollowsShutdownWithinCall_data()
{
    QTest::addColumn<bool>("release");
    QTest::newRow("shut down, released later") << false;
    QTest::newRow("shut down and released") << true;
}

void TestReentrancy::noCallFollowsShutdownWithinCall()
{
    QFETCH(bool, release);
    const int threads = threadCount();
    int calls = 0;
    {
        ShutdownWithinCall undisturbed(0, release);
        undisturbed.run();
        calls = undisturbed.calls;
    }
    QVERIFY(calls > 80);
    for (int call = 1; call <= calls; ++call) {
        ShutdownWithinCall session(call, release);
        session.run();
        QVERIFY2(session.calls == call, qPrintable(QString::number(call)));
        QCOMPARE(session.callsAfterShutdown, QStringList());
        QCOMPARE(session.isDialogGone(), release);
        QTRY_COMPARE(threadCount(), threads);
    }
}

void TestReentrancy::inputIsRefusedWhileChangesAreWritten_data()
{
    QTest::addColumn<Gesture>("gesture");
    const auto row = [](const char *name, const Gesture &gesture) { QTest::newRow(name) << gesture; };
    row("typed text", [](const DialogFixture &fixture) {
        QTest::keyClick(fixture.page(0)->lineEdit_host, Qt::Key_End);
        QTest::keyClick(fixture.page(0)->lineEdit_host, Qt::Key_1);
    });
    row("spin box by key",
        [](const DialogFixture &fixture) { QTest::keyClick(fixture.page(0)->spinBox_port, Qt::Key_Down); });
    row("spin box by wheel", [](const DialogFixture &fixture) {
        const QPointF middle = fixture.page(0)->spinBox_port->rect().center();
        QWheelEvent wheel(middle, fixture.page(0)->spinBox_port->mapToGlobal(middle.toPoint()), {},
                          QPoint(0, -120), {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(fixture.page(0)->spinBox_port, &wheel);
    });
    row("tick", [](const DialogFixture &fixture) { clickTick(fixture.page(0), "6d"); });
    row("active box",
        [](const DialogFixture &fixture) { clickBox(fixture.page(0)->checkBox_active_channel); });
    row("router box", [](const DialogFixture &fixture) { clickBox(fixture.dialog->checkBox_actAsRouter); });
    row("current tab", [](const DialogFixture &fixture) { clickTab(fixture, 1); });
    row("new tab", [](const DialogFixture &fixture) { clickTab(fixture, 3); });
}

/// An edit made while the host runs its event loop inside a command could be shown and yet not be written.
void TestReentrancy::inputIsRefusedWhileChangesAreWritten()
{
    QFETCH(Gesture, gesture);
    for (const QByteArray trigger : {"system model", "output net_active ch01 yes"}) {
        DialogFixture fixture(withChannels(3));
        fixture.create();
        QString before, after;
        QObject scope;
        connect(&fixture.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
            if (exchange.text != trigger || !before.isEmpty())
                return;
            before = shownState(fixture);
            gesture(fixture);
            QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
            after = shownState(fixture);
        });
        QVERIFY(fixture.open([&] {
            // Outside accept() the gesture has an effect.
            QVERIFY(QTest::qWaitForWindowActive(fixture.dialog.get()));
            const QString first = shownState(fixture);
            gesture(fixture);
            QVERIFY(shownState(fixture) != first);
            if (!fixture.page(0)->channel()->isActive())
                clickBox(fixture.page(0)->checkBox_active_channel);
            fixture.tabs()->setCurrentIndex(0);
        }));
        QVERIFY(!before.isEmpty());
        QCOMPARE(after, before);
    }
}

void TestReentrancy::actionPressedDuringCatalogueChangeOpensDialog()
{
    DialogFixture fixture(routing);
    fixture.create();
    int openings = 0;
    QTimer opened;
    connect(&opened, &QTimer::timeout, [&] {
        if (!fixture.dialog->isVisible())
            return;
        ++openings;
        QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
    });
    QObject scope;
    connect(&fixture.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        if (exchange.text != "output number_of_types" || openings > 0)
            return;
        QCOMPARE(fixture.dialog->update_and_exec(), int(QDialog::Rejected));
        QCOMPARE(fixture.dialog->update_and_exec(), int(QDialog::Rejected));
        QVERIFY(!fixture.dialog->isVisible());
        opened.start(0);
    });
    fixture.link.sendMessage("OutputTypesChanged");
    QTRY_COMPARE(openings, 1);
    QCoreApplication::processEvents();
    QCOMPARE(openings, 1);
    QVERIFY(!fixture.dialog->isVisible());
}

void TestReentrancy::nestedCallsStartNoSecondOperation_data()
{
    QTest::addColumn<QByteArray>("trigger");
    for (const char *trigger :
         {"config is_changeable", "output net ch01", "output type t02", "output active ch01 6d",
          "output net ch03 none", "system model", "output active ch01 3d yes"})
        QTest::newRow(trigger) << QByteArray(trigger);
}

/// A changed catalogue is followed later; what the user starts is refused.
void TestReentrancy::nestedCallsStartNoSecondOperation()
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
    // Off and on for the message, and once for the first accept().
    QCOMPARE(switches.size(), 3);
}

void TestReentrancy::closedAndInactiveChannelsHaveNoWorker()
{
    DialogFixture fixture(routing);
    const int before = threadCount();
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        QTRY_COMPARE(threadCount(), before + 3);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        // Before the event loop has deleted the closed channel.
        fixture.link.sendMessage("OutputTypesChanged");
        QTRY_COMPARE(threadCount(), before + 2);
        clickBox(fixture.page(0)->checkBox_active_channel);
        QTRY_COMPARE(threadCount(), before + 1);
        clickBox(fixture.page(0)->checkBox_active_channel);
        QTRY_COMPARE(threadCount(), before + 2);
    });
}

QTEST_MAIN(TestReentrancy)
#include "test_reentrancy.moc"
