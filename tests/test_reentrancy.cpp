#include "dialogfixture.h"
#include "fakeiomanager.h"
#include "gestures.h"
#include "table.h"
#include "waiting.h"

#include <QProxyStyle>

#include <memory>
#include <thread>
#include <vector>

namespace {

/// Puts the Controller into router mode with three channels. The destinations of the first two differ only in
/// the host, so they conflict if the first host is changed to 127.0.0.2.
void routing(ControllerState &state)
{
    withChannels(3)(state);
    state.channels[1].destination = {Destination::Kind::Udp, "127.0.0.2", 5001};
    state.viaRouter = true;
}

/// A run of the dialog with three channels and a host that may shut the module down within one of the
/// module's calls.
class Session
{
public:
    /// The host shuts the module down within call number \a lastCall, counted from 1; 0 means at the
    /// end. With \a releases it also releases the dialog within that call.
    explicit Session(int lastCall = 0, bool releases = false)
        : m_lastCall(lastCall)
        , m_releases(releases)
    {
        host.answers = {{"output number_of_types", "1"},
                        {"output type t01", "6d"},
                        {"output type_desc 6d", ""},
                        {"output available 6d", "yes"},
                        {"output net chmon", "udp 10.0.0.1 0"},
                        {"output net ch01", "udp 127.0.0.5 5001"},
                        {"output net ch02", "udp 10.0.0.1 5002"},
                        {"output net ch03", "multicast 239.1.1.1 5003"},
                        {"output net_active ch01", "yes"},
                        {"output net_active ch02", "yes"},
                        {"output net_active ch03", "yes"},
                        {"output net_via_router", "yes"}};
        host.onCall = [this](const QByteArray &line) { takeCall(line); };
    }

    ~Session() { delete m_dialog; }

    /// Starts the dialog, opens it, adds and closes a channel, toggles all ticks and routers, presses
    /// the Exit button with a refused and with a valid host, reports a changed catalogue and shuts down.
    void run()
    {
        m_dialog = new NetworkDialog(&host, m_window.get(), &m_versions);
        m_dialog->start();
        if (m_dialog) {
            QTimer::singleShot(0, m_dialog, [this] { useDialog(); });
            m_dialog->update_and_exec();
        }
        if (m_dialog)
            m_dialog->onMessage(0, 0, "OutputTypesChanged");
        shutDown();
    }

    bool isDialogGone() const { return !m_dialog; }

    FakeIOManager host;
    int calls = 0;             ///< before the shut-down
    QStringList afterShutdown; ///< calls, and the texts of message boxes

private:
    void takeCall(const QByteArray &line)
    {
        if (m_isShutDown)
            afterShutdown << line;
        else if (!m_isShuttingDown && ++calls == m_lastCall)
            shutDown();
    }

    void shutDown()
    {
        if (!m_dialog || m_isShutDown)
            return;
        m_isShuttingDown = true;
        m_dialog->teardownRequests();
        m_isShutDown = true;
        if (m_releases) {
            m_dialog->release();
            m_window.reset(); // a host may destroy its window as soon as release() has returned
            if (m_dialog)
                m_dialog->update_and_exec(); // the user may trigger the action until the dialog is deleted
        }
        QCoreApplication::processEvents();
    }

    void useDialog()
    {
        MessageBoxes boxes;
        boxes.decide = [this](const QMessageBox *box) {
            if (m_isShutDown)
                afterShutdown << box->text();
            return QMessageBox::Yes;
        };
        const QWidget *page = m_dialog->findChild<QTabWidget *>()->widget(0);
        const auto press = [this](Qt::Key key) {
            QTest::keyClick(m_dialog.data(), key, Qt::ControlModifier);
        };
        const auto leaveWithHost = [&](const char *name) {
            page->findChild<QLineEdit *>("lineEdit_host")->setText(name);
            m_dialog->pushButton_ok->click();
        };
        const std::vector<std::function<void()>> steps{
            [&] { press(Qt::Key_T); },           [&] { press(Qt::Key_W); },
            [&] { toggleTicksAndRouters(); },    [&] { leaveWithHost("127.0.0.1"); },
            [&] { leaveWithHost("127.0.0.6"); }, [&] { m_dialog->done(QDialog::Rejected); },
        };
        for (const auto &step : steps) {
            if (m_dialog && m_dialog->isVisible())
                step();
        }
    }

    void toggleTicksAndRouters()
    {
        for (ChannelWidget *page : m_dialog->findChildren<ChannelWidget *>()) {
            page->tableViewItemDoubleClicked(page->channel()->typeModel()->index(0, 0));
            page->checkBox_active_channel->click(); // starts and stops the router
            page->checkBox_active_channel->click();
        }
        m_dialog->checkBox_actAsRouter->click();
    }

    const int m_lastCall;
    const bool m_releases;
    bool m_isShuttingDown = false;
    bool m_isShutDown = false;
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

/// Describes what the user sees of the first channel and of the tabs.
QString shownState(const DialogFixture &fixture)
{
    const ChannelWidget *page = fixture.page(0);
    return QString("%1:%2 active %3 tab %4")
        .arg(page->lineEdit_host->text())
        .arg(page->spinBox_port->value())
        .arg(page->checkBox_active_channel->isChecked())
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
    void shutdownAndDestructionEndTheOpenDialog_data();
    void shutdownAndDestructionEndTheOpenDialog();
    void hostGetsEachFormatAsListed();
    void noCallFollowsShutdownWithinCall();
    void releaseWithinAKeyPressDeletesTheDialogAfterIt();
    void inputIsRefusedDuringAccept_data();
    void inputIsRefusedDuringAccept();
    void heldArrowStopsDuringAccept();
    void actionTriggeredDuringAnOperationOpensTheDialogOnce();
    void nestedCallsStartNoSecondOperation_data();
    void nestedCallsStartNoSecondOperation();
    void closedAndInactiveChannelsHaveNoWorker();
};

void TestReentrancy::shutdownAndDestructionEndTheOpenDialog_data()
{
    // The button is pressed in the box after the shut-down.
    const Table<Qt::Key, QString, int> row("key", "host", "button");
    row("no box", Qt::Key_7, "127.0.0.1", QMessageBox::NoButton);
    row("close question", Qt::Key_W, "127.0.0.1", QMessageBox::Yes);
    row("conflict", Qt::Key_Escape, "127.0.0.2", QMessageBox::Yes);
    row("empty host", Qt::Key_Escape, "", QMessageBox::Cancel);
    row("unresolved host", Qt::Key_Escape, "no-such-host.invalid", QMessageBox::Ignore);
}

/// After the shut-down, neither the button of the box nor a message that came before has an effect.
void TestReentrancy::shutdownAndDestructionEndTheOpenDialog()
{
    QFETCH(Qt::Key, key);
    QFETCH(QString, host);
    QFETCH(int, button);
    for (const bool destroys : {false, true}) {
        DialogFixture fixture(routing);
        fixture.create();
        bool isShutDown = false;
        NetworkDialog *dialog = fixture.dialog.get();
        const auto shutDown = [&](QMessageBox *box) {
            QCOMPARE(box != nullptr, button != QMessageBox::NoButton);
            std::thread([&] { fixture.link.sendMessage("OutputTypesChanged"); }).join();
            dialog->teardownRequests();
            QCOMPARE(fixture.link.registeredCount(), 0);
            fixture.controller.clearRecord();
            isShutDown = !box || !box->isVisible();
            if (destroys)
                fixture.dialog.reset();
            else if (box)
                box->button(QMessageBox::StandardButton(button))->click();
        };
        QTimer::singleShot(0, dialog, [&] {
            pressAndRun(fixture, host, key, shutDown);
            QTRY_VERIFY(isShutDown);
            if (!destroys)
                fixture.press(Qt::Key_Escape);
        });
        QCOMPARE(dialog->update_and_exec(), int(destroys ? QDialog::Rejected : QDialog::Accepted));
        QCOMPARE(fixture.sent(), QList<QByteArray>());
    }
}

/// A host may dispatch its calls by the format.
void TestReentrancy::hostGetsEachFormatAsListed()
{
    Session session;
    session.run();
    QByteArrayList formats = session.host.formats.values();
    std::sort(formats.begin(), formats.end());
    QCOMPARE(
        formats.join("; "),
        QByteArray("config is_changeable; output active ch%02d %s; output active ch%02d %s %s; "
                   "output available %s; output net ch%02d; output net ch%02d multicast '%s' %d; "
                   "output net ch%02d none; output net ch%02d udp '%s' %d; output net ch%02d udp my_ip %d; "
                   "output net chmon; output net_active ch%02d; output net_active ch%02d no; "
                   "output net_active ch%02d yes; output net_divisor ch%02d; output net_divisor ch%02d %d; "
                   "output net_via_router; output net_via_router no; "
                   "output number_of_types; output type t%02d; output type_desc %s; system model"));
    for (const char *sent :
         {"output active ch03 6d yes", "output net ch01 udp '127.0.0.6' 5001", "output net ch04 none",
          "output net ch02 udp my_ip 5002", "output net ch03 multicast '239.1.1.1' 5003"})
        QVERIFY2(session.host.journal.contains(QString::fromLatin1(sent)), sent);
}

void TestReentrancy::noCallFollowsShutdownWithinCall()
{
    const int threads = threadCount();
    Session undisturbed;
    undisturbed.run();
    QVERIFY(undisturbed.calls > 80);
    for (int call = 1; call <= undisturbed.calls; ++call) {
        for (const bool releases : {false, true}) {
            Session session(call, releases);
            session.run();
            QVERIFY2(session.calls == call, qPrintable(QString::number(call)));
            QCOMPARE(session.afterShutdown, QStringList());
            QCOMPARE(session.isDialogGone(), releases);
            QVERIFY(comesTrue([=] { return threadCount() == threads; }));
        }
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
    row("spin box by wheel", [](const DialogFixture &fixture) {
        QSpinBox *port = fixture.page(0)->spinBox_port;
        const QPointF middle = port->rect().center();
        QWheelEvent wheel(middle, port->mapToGlobal(middle.toPoint()), {}, QPoint(0, -120), {}, {},
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(port, &wheel);
    });
    row("click", [](const DialogFixture &fixture) { clickBox(fixture.page(0)->checkBox_active_channel); });
    row("new tab", [](const DialogFixture &fixture) { clickTab(fixture.tabs()->tabBar(), 3); });
}

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

void TestReentrancy::actionTriggeredDuringAnOperationOpensTheDialogOnce()
{
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
