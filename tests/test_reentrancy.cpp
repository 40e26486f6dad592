#include "dialogfixture.h"
#include "fakeiomanager.h"
#include "gestures.h"
#include "table.h"
#include "waiting.h"

#include <QProxyStyle>

#include <memory>
#include <thread>

namespace {

/// Puts the Controller into router mode with three channels. The destinations of the first two differ only in
/// the host, so they conflict if the first host is changed to 127.0.0.2.
void routing(ControllerState &state)
{
    withChannels(3)(state);
    state.channels[1].destination = {Destination::Kind::Udp, "127.0.0.2", 5001};
    state.viaRouter = true;
}

/// Runs a dialog from start to end with a host that shuts the module down while it handles one of the
/// module's calls.
class ShutdownWithinCall
{
public:
    /// The host shuts the module down within call number \a call, counted from 1. If \a call is 0, the
    /// destructor shuts it down. With \a release the host also releases the dialog within that call.
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

    /// Starts the dialog, opens it, edits a channel, adds and closes a tab, presses the Exit button, and
    /// reports a changed catalogue.
    void run()
    {
        m_dialog = new NetworkDialog(&m_host, m_window.get(), &m_versions);
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
        if (m_release && m_call > 0) {
            m_dialog->release();
            m_window.reset(); // a host may destroy its window as soon as release() has returned
            if (m_dialog)
                m_dialog->update_and_exec(); // the user may trigger the action until the dialog is deleted
        }
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
    std::unique_ptr<QWidget> m_window = std::make_unique<QWidget>();
    BackendVersions m_versions{{0, 0, 0}, 1, 9, 0};
    QPointer<NetworkDialog> m_dialog;
};

using Gesture = std::function<void(const DialogFixture &)>;

/// Enters \a host on the first page, presses \a key there, W together with Ctrl, and runs \a action
/// meanwhile: with the box that the key has opened, or with null.
void pressAndRun(const DialogFixture &fixture, const QString &host, Qt::Key key,
                 const std::function<void(QMessageBox *)> &action)
{
    QLineEdit *field = fixture.page(0)->lineEdit_host;
    field->setText(host);
    fixture.page(0)->flushChangesToChannel();
    QTimer::singleShot(0, &fixture.window,
                       [action] { action(qobject_cast<QMessageBox *>(QApplication::activeModalWidget())); });
    QTest::keyClick(field, key, key == Qt::Key_W ? Qt::ControlModifier : Qt::NoModifier);
}

/// Describes what the user sees of the first channel, of the router check box and of the tabs.
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

/// Calls and input at unexpected moments: a shut-down while the dialog or a message box is open, a host that
/// calls the module from within a query or command, and input while changes are written.
class TestReentrancy : public QObject
{
    Q_OBJECT

private slots:
    void shutdownAndDestructionEndTheOpenDialog_data() { shutdownDismissesAnyBoxAndLaterInput_data(); }
    void shutdownAndDestructionEndTheOpenDialog();
    void shutdownDismissesAnyBoxAndLaterInput_data();
    void shutdownDismissesAnyBoxAndLaterInput();
    void shutdownWithinACheckOpensNoBox_data();
    void shutdownWithinACheckOpensNoBox();
    void noCallFollowsShutdownWithinCall_data();
    void noCallFollowsShutdownWithinCall();
    void releaseWithinAKeyPressDeletesTheDialogAfterIt();
    void inputIsRefusedDuringAccept_data();
    void inputIsRefusedDuringAccept();
    void heldArrowStopsDuringAccept();
    void actionTriggeredDuringAnOperationOpensTheDialogOnce_data();
    void actionTriggeredDuringAnOperationOpensTheDialogOnce();
    void nestedCallsStartNoSecondOperation_data();
    void nestedCallsStartNoSecondOperation();
    void closedAndInactiveChannelsHaveNoWorker();
};

void TestReentrancy::shutdownDismissesAnyBoxAndLaterInput_data()
{
    // The button is pressed in the box after the shut-down.
    const Table<Qt::Key, QString, int> row("key", "host", "button");
    row("no box", Qt::Key_7, "127.0.0.1", QMessageBox::NoButton);
    row("close question, Yes", Qt::Key_W, "127.0.0.1", QMessageBox::Yes);
    row("close question, No", Qt::Key_W, "127.0.0.1", QMessageBox::No);
    row("conflict, Yes", Qt::Key_Escape, "127.0.0.2", QMessageBox::Yes);
    row("conflict, No", Qt::Key_Escape, "127.0.0.2", QMessageBox::No);
    row("empty host", Qt::Key_Escape, "", QMessageBox::Cancel);
    row("loopback address", Qt::Key_Escape, "localhost", QMessageBox::Cancel);
    row("multicast address", Qt::Key_Escape, "239.1.1.1", QMessageBox::Cancel);
    row("unresolved host, Ignore", Qt::Key_Escape, "no-such-host.invalid", QMessageBox::Ignore);
    row("unresolved host, Cancel", Qt::Key_Escape, "no-such-host.invalid", QMessageBox::Cancel);
}

void TestReentrancy::shutdownAndDestructionEndTheOpenDialog()
{
    QFETCH(Qt::Key, key);
    QFETCH(QString, host);
    QFETCH(int, button);
    DialogFixture fixture(routing);
    fixture.create();
    fixture.controller.overrideAnswer("system model", "1");
    bool isShutDown = false;
    NetworkDialog *dialog = fixture.dialog.get();
    QTimer::singleShot(0, dialog, [&] {
        pressAndRun(fixture, host, key, [&](QMessageBox *box) {
            QCOMPARE(box != nullptr, button != QMessageBox::NoButton);
            fixture.dialog->teardownRequests();
            fixture.dialog.reset();
            isShutDown = true;
        });
    });
    QCOMPARE(dialog->update_and_exec(), int(QDialog::Rejected));
    QVERIFY(isShutDown);
    QVERIFY(fixture.controller.commands().isEmpty());
}

/// After the shut-down, neither the user's input nor a message that came before the shut-down has an
/// effect outside the dialog.
void TestReentrancy::shutdownDismissesAnyBoxAndLaterInput()
{
    QFETCH(Qt::Key, key);
    QFETCH(QString, host);
    QFETCH(int, button);
    const int threads = threadCount();
    DialogFixture fixture(routing);
    fixture.controller.overrideAnswer("system model", "1");
    bool isShutDown = false;
    fixture.open([&] {
        pressAndRun(fixture, host, key, [&](QMessageBox *box) {
            QCOMPARE(box != nullptr, button != QMessageBox::NoButton);
            std::thread([&] { fixture.link.sendMessage("OutputTypesChanged"); }).join();
            fixture.dialog->teardownRequests();
            QCOMPARE(fixture.link.registeredCount(), 0);
            fixture.controller.clearRecord();
            isShutDown = !box || !box->isVisible();
            if (box)
                box->button(QMessageBox::StandardButton(button))->click();
        });
        QTRY_VERIFY(isShutDown);
        QCOMPARE(fixture.tabs()->count(), 4);
        QVERIFY(fixture.page(1)->channel()->isActive());
        QVERIFY(fixture.dialog->isVisible());
        const MessageBoxes boxes({QMessageBox::Yes});
        for (const Qt::Key shortcut : {Qt::Key_W, Qt::Key_T})
            fixture.press(shortcut, Qt::ControlModifier);
        QCoreApplication::processEvents(); // handles the message that came before the shut-down
        // Clicking each check box twice must not start the routers again.
        for (QAbstractButton *check :
             {fixture.page(1)->checkBox_active_channel, fixture.dialog->checkBox_actAsRouter}) {
            clickBox(check);
            clickBox(check);
        }
        fixture.press(Qt::Key_Escape);
        QVERIFY(!fixture.dialog->isVisible());
    });
    QVERIFY(isShutDown);
    fixture.dialog->update_and_exec();
    QCOMPARE(fixture.sent(), QList<QByteArray>());
    QCOMPARE(fixture.logged(), QList<QByteArray>());
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
    QTRY_COMPARE(threadCount(), threads);
}

void TestReentrancy::shutdownWithinACheckOpensNoBox_data()
{
    const Table<QString> row("host");
    row("loopback address", "localhost");
    row("multicast address", "239.1.1.1");
    row("unresolved host", "no-such-host.invalid");
}

void TestReentrancy::shutdownWithinACheckOpensNoBox()
{
    QFETCH(QString, host);
    DialogFixture fixture(routing);
    fixture.create();
    fixture.controller.overrideAnswer("system model", "1");
    bool isShutDown = false;
    fixture.onExchange([&](const Exchange &exchange) {
        if (exchange.text != "system model")
            return;
        isShutDown = true;
        fixture.dialog->teardownRequests();
    });
    const MessageBoxes boxes({QMessageBox::Cancel});
    fixture.open([&] { typeInto(fixture.page(0)->lineEdit_host, host); });
    QVERIFY(isShutDown);
    QCOMPARE(boxes.texts, QStringList());
}

void TestReentrancy::noCallFollowsShutdownWithinCall_data()
{
    const Table<bool> row("release");
    row("shut down, released later", false);
    row("shut down and released", true);
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

/// A host may show the dialog itself. Then no call from the host is in progress whose end could delete it.
void TestReentrancy::releaseWithinAKeyPressDeletesTheDialogAfterIt()
{
    DialogFixture fixture(routing);
    fixture.create();
    fixture.dialog->show();
    const QPointer<NetworkDialog> dialog = fixture.dialog.get();
    fixture.onExchange([&](const Exchange &) {
        if (!fixture.dialog)
            return;
        fixture.dialog->teardownRequests();
        fixture.dialog.release()->release();
    });
    QTest::keyClick(dialog.data(), Qt::Key_T, Qt::ControlModifier);
    QVERIFY(!fixture.dialog);
    QTRY_VERIFY(!dialog);
}

void TestReentrancy::inputIsRefusedDuringAccept_data()
{
    const Table<Gesture> row("gesture");
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
    row("current tab", [](const DialogFixture &fixture) { clickTab(fixture.tabs()->tabBar(), 1); });
    row("new tab", [](const DialogFixture &fixture) { clickTab(fixture.tabs()->tabBar(), 3); });
}

/// Makes the arrows of a spin box step once per millisecond while the mouse button is held.
class FastArrowStyle : public QProxyStyle
{
public:
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returned) const override
    {
        const bool isInterval =
            hint == SH_SpinBox_ClickAutoRepeatRate || hint == SH_SpinBox_ClickAutoRepeatThreshold;
        return isInterval ? 1 : QProxyStyle::styleHint(hint, option, widget, returned);
    }
};

/// If input were accepted while the host runs its event loop within a query or command, an edit could be
/// shown and yet not be written.
void TestReentrancy::inputIsRefusedDuringAccept()
{
    QFETCH(Gesture, gesture);
    for (const QByteArray trigger : {"system model", "output net_active ch01 yes"}) {
        DialogFixture fixture(withChannels(3));
        fixture.create();
        QString before, after;
        fixture.onExchange([&](const Exchange &exchange) {
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

void TestReentrancy::heldArrowStopsDuringAccept()
{
    FastArrowStyle style;
    DialogFixture fixture(withChannels(1));
    fixture.create();
    int before = 0, after = 0;
    fixture.onExchange([&](const Exchange &exchange) {
        if (exchange.text != "system model")
            return;
        before = fixture.page(0)->spinBox_port->value();
        QTest::qWait(20); // many steps, if they were not refused
        // Moving to the other arrow makes a step, too.
        QSpinBox *port = fixture.page(0)->spinBox_port;
        QMouseEvent move(QEvent::MouseMove, QPoint(port->width() - 5, port->height() - 5), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(port, &move);
        after = fixture.page(0)->spinBox_port->value();
    });
    fixture.open([&] {
        QSpinBox *port = fixture.page(0)->spinBox_port;
        port->setStyle(&style);
        const int first = port->value();
        QTest::mousePress(port, Qt::LeftButton, {}, QPoint(port->width() - 5, 5));
        QTRY_VERIFY(port->value() > first + 3);
        fixture.press(Qt::Key_Escape);
    });
    QVERIFY(before > 0);
    QCOMPARE(after, before);
}

void TestReentrancy::actionTriggeredDuringAnOperationOpensTheDialogOnce_data()
{
    const Table<bool> row("isOpening");
    row("during an opening", true);
    row("while a changed catalogue is read", false);
}

void TestReentrancy::actionTriggeredDuringAnOperationOpensTheDialogOnce()
{
    QFETCH(bool, isOpening);
    DialogFixture fixture(routing);
    fixture.create();
    int calls = 0;
    int openings = 0;
    fixture.onExchange([&](const Exchange &) {
        if (openings > 0)
            return;
        ++calls;
        QCOMPARE(fixture.dialog->update_and_exec(), int(QDialog::Rejected));
        QVERIFY(!fixture.dialog->isVisible());
    });
    QTimer opened;
    connect(&opened, &QTimer::timeout, [&] {
        if (!fixture.dialog->isVisible())
            return;
        ++openings;
        fixture.dialog->done(QDialog::Rejected);
    });
    opened.start(0);
    if (isOpening)
        fixture.dialog->update_and_exec();
    else
        fixture.link.sendMessage("OutputTypesChanged");
    QTRY_COMPARE(openings, 1);
    QVERIFY(calls > 30);
    QCoreApplication::processEvents();
    QCOMPARE(openings, 1);
}

void TestReentrancy::nestedCallsStartNoSecondOperation_data()
{
    const Table<QByteArray> row("trigger");
    for (const char *trigger :
         {"config is_changeable", "output net ch01", "output type t02", "output active ch01 6d",
          "output net ch03 none", "system model", "output active ch01 3d yes"})
        row(trigger, trigger);
}

/// A changed catalogue is handled after the operation. Operations that the user starts meanwhile are refused.
void TestReentrancy::nestedCallsStartNoSecondOperation()
{
    QFETCH(QByteArray, trigger);
    DialogFixture fixture(routing);
    fixture.create();
    fixture.change([](ControllerState &state) { state.catalogue.append({"7d", "New", true}); });
    bool sent = false;
    fixture.onExchange([&](const Exchange &exchange) {
        if (sent || exchange.text != trigger)
            return;
        sent = true;
        fixture.link.sendMessage("OutputTypesChanged");
        QVERIFY(fixture.routerSwitches.isEmpty());
        QCOMPARE(fixture.dialog->update_and_exec(), int(QDialog::Rejected));
        fixture.press(Qt::Key_T, Qt::ControlModifier);
        fixture.press(Qt::Key_Escape);
    });
    fixture.open([&] {
        fixture.closeLastTab();
        QCOMPARE(fixture.tabs()->count(), 3);
        fixture.page(0)->channel()->typeModel()->findItems("3d").first()->setCheckState(Qt::Checked);
        fixture.page(1)->spinBox_port->setValue(7777);
    });
    // No edit is lost.
    QVERIFY(fixture.controller.state().channels[0].types.contains("3d"));
    QCOMPARE(fixture.controller.state().channels[1].destination.port, 7777);
    QVERIFY(sent);
    // The changed catalogue switches routing off and on again, and accept() switches it on once more.
    QCOMPARE(fixture.routerSwitches.size(), 3);
}

void TestReentrancy::closedAndInactiveChannelsHaveNoWorker()
{
    DialogFixture fixture(routing);
    const int before = threadCount();
    fixture.create();
    fixture.open([&] {
        QTRY_COMPARE(threadCount(), before + 3);
        fixture.closeLastTab();
        // The message comes, and the thread ends, before the event loop has deleted the closed channel.
        fixture.link.sendMessage("OutputTypesChanged");
        QVERIFY(comesTrue([before] { return threadCount() == before + 2; }));
        clickBox(fixture.page(0)->checkBox_active_channel);
        QTRY_COMPARE(threadCount(), before + 1);
        clickBox(fixture.page(0)->checkBox_active_channel);
        QTRY_COMPARE(threadCount(), before + 2);
    });
}

QTEST_MAIN(TestReentrancy)
#include "test_reentrancy.moc"
