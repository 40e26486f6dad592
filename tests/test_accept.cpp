#include "channelasrouter.h"
#include "dialogfixture.h"
#include "gestures.h"
#include "messageboxes.h"

#include <QDir>
#include <QSpinBox>
#include <QTabBar>

#include <atomic>
#include <thread>

namespace {

using Commands = QList<QByteArray>;

Commands activeCommands(int channels, const QByteArray &state)
{
    Commands commands;
    for (int number = 1; number <= channels; ++number)
        commands << "output net_active ch" + QByteArray::number(number).rightJustified(2, '0') + ' ' + state;
    return commands;
}

int entryCount(const char *folder)
{
    return QDir(QLatin1String(folder))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

} // namespace

/// The tab row and the way out of the dialog: what a person does with mouse and keyboard, and what the
/// Controller gets of it.
class TestAccept : public QObject
{
    Q_OBJECT

private slots:
    void addByClickAndKey();
    void closeAsksAndSendsAtOnce();
    void closeInSmallAndFullRows();
    void closeWhileLocked();
    void closeRefused();
    void closeCurrentTab();
    void keys();
    void closedChannelsLeaveNothing();
    void untouched();
    void oneEdit_data();
    void oneEdit();
    void twoChangedChannelsAreSwitchedOffFirst();
    void commitsInOrder();
    void olderControllers_data();
    void olderControllers();
    void conflicts_data();
    void conflicts();
    void validationStopsOnItsTab();
    void unresolvedNameIsTheUsersChoice();
    void everyWayOutIsAccept_data();
    void everyWayOutIsAccept();
    void refusedCommandsAreLogged();
    void routerStep();
    void openFieldOnEscape();
};

void TestAccept::addByClickAndKey()
{
    DialogFixture fixture(withChannels(8));
    fixture.create();
    fixture.open([&] {
        fixture.controller.clearRecord();
        clickTab(fixture, 8);
        QCOMPARE(fixture.tabs()->currentIndex(), 8);
        QCOMPARE(fixture.titles().mid(7), QStringList({"Channel 8", "Channel 9", "+"}));
        // A new channel is the dialog's alone until it is accepted.
        QVERIFY(fixture.controller.commands().isEmpty());
        QVERIFY(!fixture.page(7)->pushButton_closeTab->isVisible());
        QVERIFY(fixture.page(8)->pushButton_closeTab->isVisible());
        QCOMPARE(fixture.page(8)->spinBox_port->value(), 5000);

        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        QCOMPARE(fixture.titles().mid(8), QStringList({"Channel 9", "Channel 10"}));
        QCOMPARE(fixture.tabs()->currentIndex(), 9);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        clickTab(fixture, 3);
        QCOMPARE(fixture.tabs()->count(), 10);
    });
}

void TestAccept::closeAsksAndSendsAtOnce()
{
    DialogFixture fixture(withChannels(3));
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::No, QMessageBox::Yes});
        fixture.tabs()->setCurrentIndex(2);
        fixture.controller.clearRecord();
        QTest::mouseClick(fixture.page(2)->pushButton_closeTab, Qt::LeftButton);
        QCOMPARE(fixture.tabs()->count(), 4);
        QVERIFY(fixture.sent().isEmpty());

        const QPointer<ChannelWidget> closed = fixture.page(2);
        QTest::mouseClick(fixture.page(2)->pushButton_closeTab, Qt::LeftButton);
        QCOMPARE(fixture.titles(), QStringList({"Channel 1", "Channel 2", "+"}));
        QCOMPARE(fixture.sent(), Commands({"output net ch03 none", "config is_changeable"}));
        QCOMPARE(fixture.tabs()->currentIndex(), 1);
        QVERIFY(fixture.page(1)->pushButton_closeTab->isVisible());
        QTRY_VERIFY(closed.isNull());

        QCOMPARE(boxes.titles, QStringList({"Warning", "Warning"}));
        QCOMPARE(boxes.texts, QStringList({"Close Channel 3?", "Close Channel 3?"}));
        QCOMPARE(boxes.defaults.first(), QMessageBox::No);
        QCOMPARE(boxes.buttons.first(), QMessageBox::Yes | QMessageBox::No);
    });
}

void TestAccept::closeInSmallAndFullRows()
{
    DialogFixture fixture(withChannels(10));
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes(QList<QMessageBox::StandardButton>() << QMessageBox::Yes << QMessageBox::Yes);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(fixture.titles().mid(8), QStringList({"Channel 9", "+"}));
        QCOMPARE(fixture.tabs()->currentIndex(), 8);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        QCOMPARE(fixture.titles().mid(8), QStringList({"Channel 9", "Channel 10"}));
    });
    fixture.change(withChannels(1));
    fixture.open([&] {
        MessageBoxes boxes;
        QVERIFY(!fixture.page(0)->pushButton_closeTab->isVisible());
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QVERIFY(boxes.texts.isEmpty());
        QCOMPARE(fixture.tabs()->count(), 2);
    });
}

void TestAccept::closeWhileLocked()
{
    DialogFixture fixture([](ControllerState &state) {
        withChannels(2)(state);
        state.locked = true;
    });
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(fixture.titles(), QStringList({"Channel 1"}));
        QCOMPARE(fixture.controller.commands(), Commands({"output net ch02 none"}));
    });
    // The Controller has kept its channel, so the next opening shows it again.
    fixture.open([&] { QCOMPARE(fixture.titles(), QStringList({"Channel 1", "Channel 2", "+"})); });
}

void TestAccept::closeRefused()
{
    DialogFixture fixture(withChannels(2));
    fixture.controller.fail("output net ch02 none");
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(fixture.titles(), QStringList({"Channel 1", "+"}));
        QCOMPARE(fixture.logged(), Commands({"Error: Unable to reset channel X"}));
    });
}

void TestAccept::closeCurrentTab()
{
    DialogFixture fixture(withChannels(3));
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Yes});
        fixture.tabs()->setCurrentIndex(1);
        QMetaObject::invokeMethod(fixture.dialog.get(), "closeCurrentTab");
        QCOMPARE(boxes.texts, QStringList({"Close Channel 2?"}));
        QCOMPARE(fixture.titles(), QStringList({"Channel 1", "Channel 3", "+"}));
        QCOMPARE(fixture.controller.commands(), Commands({"output net ch02 none"}));
        QCOMPARE(fixture.tabs()->currentIndex(), 0);
        QVERIFY(fixture.page(1)->pushButton_closeTab->isVisibleTo(fixture.page(1)));
        // With two channels left it does nothing.
        QMetaObject::invokeMethod(fixture.dialog.get(), "closeCurrentTab");
        QCOMPARE(boxes.texts.size(), 1);
    });
}

void TestAccept::keys()
{
    DialogFixture fixture(withChannels(3));
    fixture.create();
    fixture.open([&] {
        MessageBoxes boxes;
        NetworkDialog *dialog = fixture.dialog.get();
        for (const int expected : {1, 2, 0, 1}) {
            QTest::keyClick(dialog, Qt::Key_F9, expected == 2 ? Qt::ShiftModifier : Qt::NoModifier);
            QCOMPARE(fixture.tabs()->currentIndex(), expected);
        }
        for (const Qt::Key key : {Qt::Key_T, Qt::Key_W}) {
            QTest::keyClick(dialog, key);
            QTest::keyClick(dialog, key, Qt::ControlModifier | Qt::ShiftModifier);
        }
        QCOMPARE(fixture.tabs()->count(), 4);
        QVERIFY(boxes.texts.isEmpty());
        QVERIFY(dialog->isVisible());
    });
    fixture.change(withChannels(10));
    fixture.open([&] {
        fixture.tabs()->setCurrentIndex(8);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_F9);
        QCOMPARE(fixture.tabs()->currentIndex(), 0);
    });
}

void TestAccept::closedChannelsLeaveNothing()
{
    DialogFixture fixture([](ControllerState &state) {
        withChannels(1)(state);
        state.channels[1].active = true;
        state.channels[1].types = {"fr"};
        state.channels[1].destination = {Destination::Kind::Udp, "127.0.0.1", 9};
        state.viaRouter = true;
    });
    fixture.create();
    std::atomic<bool> stop{false};
    std::thread data([&] {
        for (int number = 1; !stop; ++number)
            fixture.dialog->onOutputData("fr", ("fr " + QByteArray::number(number)).constData());
    });
    int threads = 0;
    int descriptors = 0;
    fixture.open([&] {
        for (int round = 0; round < 40; ++round) {
            MessageBoxes boxes({QMessageBox::Yes});
            QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            if (round == 0) {
                threads = entryCount("/proc/self/task");
                descriptors = entryCount("/proc/self/fd");
            }
            QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
            fixture.page(1)->setRouterMode(true);
            QTest::mouseClick(fixture.page(1)->checkBox_active_channel, Qt::LeftButton);
        }
        MessageBoxes boxes({QMessageBox::Yes});
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
    });
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    stop = true;
    data.join();
    QTRY_COMPARE(entryCount("/proc/self/task"), threads - 1);
    QCOMPARE(entryCount("/proc/self/fd"), descriptors);
}

void TestAccept::untouched()
{
    DialogFixture fixture(withChannels(3));
    fixture.create();
    fixture.open([] {});
    // The first run after a start has a router step, whatever the user did; a later one has not.
    QCOMPARE(fixture.controller.commands(), activeCommands(3, "yes") << "output net_via_router no");
    fixture.controller.clearRecord();
    fixture.open([] {});
    QCOMPARE(fixture.controller.commands(), activeCommands(3, "yes"));
}

void TestAccept::oneEdit_data()
{
    QTest::addColumn<QString>("edit");
    QTest::addColumn<Commands>("commands");

    const QByteArray destination = "output net ch02 udp '127.0.0.1' 5002";
    const QByteArray divisor = "output net_divisor ch02 1";
    QTest::newRow("tick") << "tick" << Commands({"output active ch02 3d yes", destination, divisor});
    QTest::newRow("untick") << "untick" << Commands({"output active ch02 6d no", destination, divisor});
    QTest::newRow("host") << "host" << Commands({"output net ch02 udp '127.0.0.7' 5002", divisor});
    QTest::newRow("port") << "port" << Commands({"output net ch02 udp '127.0.0.1' 6002", divisor});
    QTest::newRow("divisor") << "divisor" << Commands({destination, "output net_divisor ch02 7"});
    QTest::newRow("this computer") << "my_ip" << Commands({"output net ch02 udp my_ip 5002", divisor});
    QTest::newRow("multicast") << "multicast"
                               << Commands({"output net ch02 multicast '239.1.2.3' 5002", divisor});
}

void TestAccept::oneEdit()
{
    QFETCH(QString, edit);
    QFETCH(Commands, commands);
    DialogFixture fixture(withChannels(3));
    fixture.create();
    fixture.open([] {});
    fixture.controller.clearRecord();
    QVERIFY(fixture.open([&] {
        fixture.tabs()->setCurrentIndex(1);
        ChannelWidget *page = fixture.page(1);
        if (edit == QLatin1String("tick")) {
            clickTick(page, "3d");
        } else if (edit == QLatin1String("untick")) {
            clickTick(page, "6d");
        } else if (edit == QLatin1String("host")) {
            typeInto(page->lineEdit_host, "127.0.0.7");
        } else if (edit == QLatin1String("port")) {
            typeInto(page->spinBox_port, "6002");
        } else if (edit == QLatin1String("divisor")) {
            typeInto(page->spinBox_sendDataDivisor, "7");
        } else if (edit == QLatin1String("my_ip")) {
            QTest::mouseClick(page->checkBox_my_ip, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
        } else {
            QTest::mouseClick(page->checkBox_multicast, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
            typeInto(page->lineEdit_host, "239.1.2.3");
        }
    }));
    QCOMPARE(fixture.controller.commands(),
             activeCommands(2, "yes") + commands + activeCommands(3, "yes").mid(2));
}

void TestAccept::twoChangedChannelsAreSwitchedOffFirst()
{
    DialogFixture fixture(withChannels(5));
    fixture.create();
    fixture.open([] {});
    fixture.controller.clearRecord();
    fixture.open([&] {
        fixture.page(1)->spinBox_port->setValue(6002);
        fixture.page(3)->spinBox_port->setValue(6004);
    });
    Commands expected = activeCommands(5, "no") + activeCommands(5, "yes");
    expected.insert(7, "output net ch02 udp '127.0.0.1' 6002");
    expected.insert(8, "output net_divisor ch02 1");
    expected.insert(11, "output net ch04 udp '127.0.0.1' 6004");
    expected.insert(12, "output net_divisor ch04 1");
    QCOMPARE(fixture.controller.commands(), expected);
}

void TestAccept::commitsInOrder()
{
    DialogFixture fixture(withChannels(1));
    fixture.create();
    fixture.open([] {});
    fixture.controller.clearRecord();
    fixture.open([&] {
        ChannelWidget *page = fixture.page(0);
        typeInto(page->spinBox_sendDataDivisor, "5");
        typeInto(page->spinBox_port, "6001");
        clickTick(page, "3d");
        clickTick(page, "ts");
        clickTick(page, "6d");
        QTest::mouseClick(fixture.dialog->checkBox_actAsRouter, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    });
    QCOMPARE(fixture.controller.commands(),
             Commands({"output net_active ch01 yes", "output active ch01 ts yes", "output active ch01 6d no",
                       "output active ch01 3d yes", "output net ch01 udp '127.0.0.1' 6001",
                       "output net_divisor ch01 5", "output net_via_router yes"}));
    QCOMPARE(fixture.link.requestedTypes(fixture.dialog.get()), QSet<QByteArray>({"fr", "ts", "3d"}));
}

void TestAccept::olderControllers_data()
{
    QTest::addColumn<int>("minor");
    QTest::addColumn<Commands>("commands");

    const Commands edit({"output net_active ch01 yes", "output net ch01 udp '127.0.0.1' 6001"});
    QTest::newRow("1.3") << 3 << edit;
    QTest::newRow("1.5") << 5 << Commands(edit + Commands({"output net_via_router no"}));
    QTest::newRow("1.6") << 6
                         << Commands(edit +
                                     Commands({"output net_divisor ch01 1", "output net_via_router no"}));
}

void TestAccept::olderControllers()
{
    QFETCH(int, minor);
    QFETCH(Commands, commands);
    DialogFixture fixture([&](ControllerState &state) {
        withChannels(1)(state);
        state.version.minor = minor;
    });
    fixture.create();
    fixture.open([&] { fixture.page(0)->spinBox_port->setValue(6001); });
    QCOMPARE(fixture.controller.commands(), commands);
}

void TestAccept::conflicts_data()
{
    QTest::addColumn<QList<bool>>("answers");
    QTest::addColumn<QStringList>("pairs");
    QTest::addColumn<bool>("left");
    QTest::addColumn<QList<bool>>("active");

    QTest::newRow("yes, yes") << QList<bool>{true, true} << QStringList{"1 2", "1 3"} << true
                              << QList<bool>{true, false, false};
    QTest::newRow("yes, no") << QList<bool>{true, false} << QStringList{"1 2", "1 3"} << false
                             << QList<bool>{true, false, true};
    QTest::newRow("no") << QList<bool>{false} << QStringList{"1 2"} << false << QList<bool>{true, true, true};
}

void TestAccept::conflicts()
{
    QFETCH(QList<bool>, answers);
    QFETCH(QStringList, pairs);
    QFETCH(bool, left);
    QFETCH(QList<bool>, active);
    // Three ways to write one destination.
    DialogFixture fixture([](ControllerState &state) {
        withChannels(3)(state);
        state.channels[1].destination = {Destination::Kind::Udp, "127.1", 5001};
        state.channels[2].destination = {Destination::Kind::Udp, "localhost", 5001};
    });
    fixture.create();
    QList<QMessageBox::StandardButton> buttons;
    for (const bool yes : qAsConst(answers))
        buttons << (yes ? QMessageBox::Yes : QMessageBox::No);
    QStringList texts;
    for (const QString &pair : qAsConst(pairs)) {
        const QString second = pair.section(QLatin1Char(' '), 1);
        texts << QString::fromLatin1("Channel %1 and %2 have same destination!\n\nDeactivate channel %3?")
                     .arg(pair.section(QLatin1Char(' '), 0, 0), second, second);
    }
    fixture.controller.clearRecord();
    const bool hasLeft = fixture.open([&] {
        MessageBoxes boxes(buttons);
        QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
        QCOMPARE(boxes.texts, texts);
        QCOMPARE(boxes.titles.value(0), QLatin1String("Conflicting channels"));
        QCOMPARE(boxes.defaults.value(0), QMessageBox::Yes);
        for (int i = 0; i < active.size(); ++i) {
            QCOMPARE(fixture.page(i)->channel()->isActive(), active.at(i));
            QCOMPARE(fixture.page(i)->checkBox_active_channel->isChecked(), active.at(i));
        }
        QCOMPARE(fixture.dialog->isVisible(), !left);
        QCOMPARE(fixture.controller.commands().isEmpty(), !left);
        if (!left)
            fixture.dialog->done(QDialog::Rejected);
    });
    QVERIFY(hasLeft);
    if (left) {
        // Two channels were switched off, so they count as changed.
        QCOMPARE(fixture.controller.commands().mid(0, 6),
                 activeCommands(3, "no") +
                     Commands({"output net_active ch01 yes", "output net_active ch02 no",
                               "output net_active ch03 no"}));
    }
}

void TestAccept::validationStopsOnItsTab()
{
    DialogFixture fixture(withChannels(4));
    fixture.create();
    fixture.controller.clearRecord();
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Cancel});
        Qt::CursorShape cursor = Qt::ArrowCursor;
        boxes.look = [&](QMessageBox *) { cursor = fixture.dialog->cursor().shape(); };
        fixture.page(1)->lineEdit_host->setText(QLatin1String("224.0.0.255"));
        fixture.page(2)->lineEdit_host->setText(QString());
        QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
        QVERIFY(fixture.dialog->isVisible());
        QCOMPARE(boxes.texts.size(), 1);
        QVERIFY(boxes.texts.first().contains(QLatin1String("'224.0.0.255' for channel 2")));
        QCOMPARE(cursor, Qt::WaitCursor);
        QCOMPARE(fixture.dialog->cursor().shape(), Qt::ArrowCursor);
        QCOMPARE(fixture.tabs()->currentIndex(), 1);
        QVERIFY(fixture.controller.commands().isEmpty());
        fixture.dialog->done(QDialog::Rejected);
    });
}

void TestAccept::unresolvedNameIsTheUsersChoice()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    fixture.open([] {});
    fixture.controller.clearRecord();
    QVERIFY(fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Cancel, QMessageBox::Ignore});
        fixture.page(1)->lineEdit_host->setText(QLatin1String("no-such-host.invalid"));
        QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
        QVERIFY(fixture.dialog->isVisible());
        QCOMPARE(fixture.tabs()->currentIndex(), 1);
        QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
        QVERIFY(!fixture.dialog->isVisible());
        QCOMPARE(boxes.texts.size(), 2);
    }));
    QVERIFY(fixture.controller.commands().contains("output net ch02 udp 'no-such-host.invalid' 5002"));
}

void TestAccept::everyWayOutIsAccept_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : {"button", "escape", "close", "reject"})
        QTest::newRow(way) << QString::fromLatin1(way);
}

void TestAccept::everyWayOutIsAccept()
{
    QFETCH(QString, way);
    DialogFixture fixture([](ControllerState &state) {
        withChannels(2)(state);
        state.channels[1].destination.port = 5001;
    });
    fixture.create();
    const auto leave = [&] {
        if (way == QLatin1String("button"))
            QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
        else if (way == QLatin1String("escape"))
            QTest::keyClick(fixture.dialog.get(), Qt::Key_Escape);
        else if (way == QLatin1String("close"))
            fixture.dialog->close();
        else
            QMetaObject::invokeMethod(fixture.dialog.get(), "reject");
    };
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::No, QMessageBox::Yes});
        leave();
        QVERIFY(fixture.dialog->isVisible());
        QVERIFY(fixture.controller.commands().isEmpty());
        leave();
        QVERIFY(!fixture.dialog->isVisible());
        QCOMPARE(boxes.texts.size(), 2);
        QCOMPARE(fixture.dialog->result(), 1);
    });
    QCOMPARE(fixture.controller.commands().last(), QByteArray("output net_via_router no"));
}

void TestAccept::refusedCommandsAreLogged()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    fixture.open([] {});
    QVERIFY(fixture.open([&] {
        for (const char *text : {"output net_active", "output active", "output net ch", "output net_divisor",
                                 "output net_via_router"})
            fixture.controller.fail(text, SimulatedController::Match::Prefix);
        fixture.page(0)->spinBox_port->setValue(7001);
        clickTick(fixture.page(0), "3d");
        QTest::mouseClick(fixture.page(1)->checkBox_active_channel, Qt::LeftButton);
        QTest::mouseClick(fixture.dialog->checkBox_actAsRouter, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    }));
    QCOMPARE(fixture.logged(),
             Commands({"Error: Unable to deactivate channel", "Error: Unable to deactivate channel",
                       "Error: Unable to activate channel", "Error: Unable to set value send data divisor",
                       "Error: Unable to deactivate channel", "Error: Unable to set value act as router"}));
    fixture.controller.behave();
    // What the Controller refused is read back.
    fixture.open([&] {
        QCOMPARE(fixture.page(0)->spinBox_port->value(), 5001);
        QVERIFY(!fixture.page(0)->channel()->isTypeActive(QLatin1String("3d")));
        QVERIFY(fixture.page(1)->checkBox_active_channel->isChecked());
        QVERIFY(!fixture.dialog->checkBox_actAsRouter->isChecked());
    });
}

void TestAccept::routerStep()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    QList<bool> switches;
    QObject scope;
    connect(fixture.dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &scope,
            [&](bool enable) { switches << enable; });
    const auto toggle = [&] {
        QTest::mouseClick(fixture.dialog->checkBox_actAsRouter, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    };
    fixture.open(toggle);
    QCOMPARE(switches, QList<bool>({true}));
    QVERIFY(fixture.controller.state().viaRouter);
    // Toggled twice is toggled: the step runs, and sends the same again.
    fixture.controller.clearRecord();
    fixture.open([&] {
        toggle();
        toggle();
    });
    QCOMPARE(switches, QList<bool>({true, true}));
    QVERIFY(fixture.controller.commands().contains("output net_via_router yes"));
    fixture.open([] {});
    QCOMPARE(switches.size(), 2);
    fixture.open(toggle);
    QCOMPARE(switches, QList<bool>({true, true, false}));
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
}

void TestAccept::openFieldOnEscape()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    fixture.open([] {});
    fixture.controller.clearRecord();
    fixture.open([&] {
        fixture.page(0)->lineEdit_host->setFocus();
        typeInto(fixture.page(0)->lineEdit_host, "127.0.0.8");
        QTest::keyClick(fixture.page(0)->lineEdit_host, Qt::Key_Escape);
        QVERIFY(!fixture.dialog->isVisible());
    });
    QVERIFY(fixture.controller.commands().contains("output net ch01 udp '127.0.0.8' 5001"));
    QCOMPARE(fixture.controller.state().channels[0].destination.host, QByteArray("127.0.0.8"));
}

QTEST_MAIN(TestAccept)
#include "test_accept.moc"
