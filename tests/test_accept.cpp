#include "dialogfixture.h"
#include "gestures.h"
#include "table.h"
#include "waiting.h"

using Commands = QList<QByteArray>;
using Edit = std::function<void(ChannelWidget *)>;
using WayOut = std::function<void(NetworkDialog *)>;

Q_DECLARE_METATYPE(Edit)
Q_DECLARE_METATYPE(WayOut)

namespace {

/// Returns the commands that set the active state of the channels 1 to \a channels to \a state.
Commands activeCommands(int channels, const QByteArray &state)
{
    Commands commands;
    for (int number = 1; number <= channels; ++number)
        commands << "output net_active " + channelName(number) + ' ' + state;
    return commands;
}

void clickExit(NetworkDialog *dialog)
{
    QTest::mouseClick(dialog->pushButton_ok, Qt::LeftButton);
}

} // namespace

/// Tests adding and closing tabs, editing, and leaving the dialog with mouse and keyboard, and the commands
/// that the Controller gets.
class TestAccept : public QObject
{
    Q_OBJECT

private slots:
    void plusTabAndCtrlTAddChannels();
    void channelAddedInRouterModeRoutesAfterExit();
    void addedChannelDoesNotEnableTheRouterBox();
    void closingAsksAndSendsTheReset_data();
    void closingAsksAndSendsTheReset();
    void f9GoesThroughAllTabsButTheLast_data();
    void f9GoesThroughAllTabsButTheLast();
    void keyThatClosesNoChannelAsksNothing_data();
    void keyThatClosesNoChannelAsksNothing();
    void editsAreWrittenInOrder_data();
    void editsAreWrittenInOrder();
    void allChannelsAreSwitchedOffFirstIfTwoHaveChanged();
    void everyWayOutAsksAboutConflicts_data();
    void everyWayOutAsksAboutConflicts();
    void failedValidationSelectsTheTabOfItsChannel();
    void refusedCommandsExceptTicksAndDestinationsAreLogged();
    void laterOpeningsWriteTheRouterModeOnlyAfterAClick();
};

void TestAccept::plusTabAndCtrlTAddChannels()
{
    DialogFixture fixture(withChannels(8));
    fixture.open([&] {
        fixture.press(Qt::Key_T); // without Ctrl, the key adds no channel
        QCOMPARE(fixture.titles().mid(7), QStringList({"Channel 8", "+"}));
        clickTab(fixture.tabs()->tabBar(), 8);
        QCOMPARE(fixture.tabs()->currentIndex(), 8);
        QCOMPARE(fixture.titles().mid(7), QStringList({"Channel 8", "Channel 9", "+"}));
        // Adding a channel sends queries, but no command.
        QVERIFY(fixture.controller.commands().isEmpty());
        QVERIFY(!fixture.page(7)->pushButton_closeTab->isVisibleTo(fixture.page(7)));
        QVERIFY(fixture.page(8)->pushButton_closeTab->isVisible());
        QCOMPARE(fixture.page(8)->spinBox_port->value(), 5000);

        // The second key press has no effect, because there are ten channels then.
        fixture.press(Qt::Key_T, Qt::ControlModifier);
        fixture.press(Qt::Key_T, Qt::ControlModifier);
        QCOMPARE(fixture.titles().mid(8), QStringList({"Channel 9", "Channel 10"}));
        QCOMPARE(fixture.tabs()->currentIndex(), 9);
    });
}

/// The first Exit has already written the router mode, so only the new channel can start another router step.
void TestAccept::channelAddedInRouterModeRoutesAfterExit()
{
    const int threads = threadCount();
    DialogFixture fixture(withChannels(2, inRouterMode));
    QVERIFY(fixture.open([] {}));
    QTRY_COMPARE(threadCount(), threads + 2);
    ChannelWidget *added = nullptr;
    QVERIFY(fixture.open([&] {
        typeInto(fixture.page(0)->spinBox_port, "6001");
        clickTick(fixture.page(0), "ts");
        fixture.press(Qt::Key_T, Qt::ControlModifier);
        added = fixture.page(2);
        clickBox(added->checkBox_active_channel);
        typeInto(added->lineEdit_host, "127.0.0.3");
        clickTick(added, "3d");
        QCOMPARE(threadCount(), threads + 2);
    }));
    // The edits made before the channel was added have been written.
    QCOMPARE(fixture.controller.state().channels[0].destination.port, 6001);
    QCOMPARE(fixture.link.requestedTypes(fixture.dialog.get()), QSet<QByteArray>({"fr", "ts", "6d", "3d"}));
    // From now on the active box of the new page starts and stops the router.
    for (const int workers : {3, 2, 3}) {
        QTRY_COMPARE(threadCount(), threads + workers);
        added->checkBox_active_channel->toggle();
    }
}

/// The Controller keeps the active state of a channel that has been closed. When the channel is added again,
/// its page shows that state, but only a click enables the router box.
void TestAccept::addedChannelDoesNotEnableTheRouterBox()
{
    DialogFixture fixture(withChannels(1, [](ControllerState &state) {
        state.channels[0].active = false;
        state.channels[1].active = true;
    }));
    QVERIFY(fixture.open([&] {
        fixture.press(Qt::Key_T, Qt::ControlModifier);
        QCheckBox *active = fixture.page(1)->checkBox_active_channel;
        QVERIFY(active->isChecked());
        QVERIFY(!fixture.dialog->checkBox_actAsRouter->isEnabled());
        clickBox(active);
        clickBox(active);
        QVERIFY(fixture.dialog->checkBox_actAsRouter->isEnabled());
        clickBox(active); // an active channel without a host would not pass the validation
    }));
}

void TestAccept::closingAsksAndSendsTheReset_data()
{
    const Table<int, bool> row("channels", "locked");
    row("third channel", 3, false);
    row("tenth channel", 10, false);
    row("locked Controller, which refuses the reset", 2, true);
}

void TestAccept::closingAsksAndSendsTheReset()
{
    QFETCH(int, channels);
    QFETCH(bool, locked);
    DialogFixture fixture(withChannels(channels, [&](ControllerState &state) { state.locked = locked; }));
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::No, QMessageBox::Yes});
        fixture.tabs()->setCurrentIndex(channels - 1);
        const QPointer<ChannelWidget> last = fixture.page(channels - 1);
        QCOMPARE(last->pushButton_closeTab->isVisible(), !locked);
        fixture.controller.clearRecord();
        fixture.press(Qt::Key_W, Qt::ControlModifier);
        QVERIFY(last);
        QVERIFY(fixture.sent().isEmpty());

        if (locked)
            fixture.press(Qt::Key_W, Qt::ControlModifier);
        else
            QTest::mouseClick(last->pushButton_closeTab, Qt::LeftButton);
        QTRY_VERIFY(!last);
        QCOMPARE(fixture.tabs()->count(), locked ? channels - 1 : channels);
        QCOMPARE(fixture.tabs()->currentIndex(), channels - 2);
        QCOMPARE(fixture.sent(),
                 Commands({"output net " + channelName(channels) + " none", "config is_changeable"}));

        const QString question = QString("Close Channel %1?").arg(channels);
        QCOMPARE(boxes.texts, QStringList({question, question}));
        QCOMPARE(boxes.defaults.first(), QMessageBox::No);
    });
}

void TestAccept::f9GoesThroughAllTabsButTheLast_data()
{
    const Table<int, QList<int>> row("channels", "visited");
    row("one channel and the + tab", 1, {0, 0});
    row("three channels and the + tab", 3, {1, 2, 0, 1});
    row("ten channels", 10, {1, 2, 3, 4, 5, 6, 7, 8, 0, 1});
}

void TestAccept::f9GoesThroughAllTabsButTheLast()
{
    QFETCH(int, channels);
    QFETCH(QList<int>, visited);
    DialogFixture fixture(withChannels(channels));
    fixture.open([&] {
        for (const int tab : qAsConst(visited)) {
            fixture.press(Qt::Key_F9);
            QCOMPARE(fixture.tabs()->currentIndex(), tab);
        }
    });
}

void TestAccept::keyThatClosesNoChannelAsksNothing_data()
{
    const Table<int, int> row("channels", "modifiers");
    row("Ctrl+W with one channel", 1, Qt::ControlModifier);
    row("W without Ctrl", 2, Qt::NoModifier);
    row("W with Ctrl and Shift", 2, Qt::ControlModifier | Qt::ShiftModifier);
}

void TestAccept::keyThatClosesNoChannelAsksNothing()
{
    QFETCH(int, channels);
    QFETCH(int, modifiers);
    DialogFixture fixture(withChannels(channels));
    QVERIFY(fixture.open([&] {
        const MessageBoxes boxes({QMessageBox::Yes});
        fixture.press(Qt::Key_W, Qt::KeyboardModifiers(modifiers));
        QCOMPARE(boxes.texts, QStringList());
        QCOMPARE(fixture.tabs()->count(), channels + 1);
    }));
}

void TestAccept::editsAreWrittenInOrder_data()
{
    // The columns: the minor version of the Controller; the commands that come between those that set the
    // active states of channels 2 and 3; and the edit on the page of channel 2.
    const Table<int, Commands, Edit> row("minor", "commands", "edit");
    const QByteArray destination = "output net ch02 udp '127.0.0.1' 5002";
    const QByteArray divisor = "output net_divisor ch02 1";
    const QByteArray otherPort = "output net ch02 udp '127.0.0.1' 6002";
    const auto typePort = [](ChannelWidget *page) { typeInto(page->spinBox_port, "6002"); };

    row("untick by double click", 9, {"output active ch02 6d no", destination, divisor},
        [](ChannelWidget *page) {
            // Click the text, because the check box reacts to each single click. A user's double click begins
            // with a click, which mouseDClick() does not send.
            const QModelIndex index = page->channel()->typeModel()->findItems("6d").first()->index();
            const QPoint text = page->tableView->visualRect(index).center();
            QTest::mouseClick(page->tableView->viewport(), Qt::LeftButton, {}, text);
            QTest::mouseDClick(page->tableView->viewport(), Qt::LeftButton, {}, text);
        });
    row("host, dialog left with Escape", 9, {"output net ch02 udp '127.0.0.7' 5002", divisor},
        [](ChannelWidget *page) {
            typeInto(page->lineEdit_host, "127.0.0.7");
            QTest::keyClick(page->lineEdit_host, Qt::Key_Escape);
        });
    row("divisor, port and two ticks", 9,
        {"output active ch02 ts yes", "output active ch02 3d yes", otherPort, "output net_divisor ch02 7"},
        [=](ChannelWidget *page) {
            typeInto(page->spinBox_sendDataDivisor, "7");
            typePort(page);
            clickTick(page, "3d");
            clickTick(page, "ts");
        });
    row("port, Controller without router mode", 3, {otherPort}, typePort);
    // Ticking an active box enables the router box, whatever the version.
    row("router box, Controller without router mode", 3, {"output net ch02 udp '127.0.0.1' 5002"},
        [](ChannelWidget *page) {
            clickBox(page->checkBox_active_channel);
            clickBox(page->checkBox_active_channel);
            clickBox(page->window()->findChild<QCheckBox *>("checkBox_actAsRouter"));
        });
    row("port, Controller without divisor", 5, {otherPort}, typePort);
    row("port, Controller with divisor", 6, {otherPort, divisor}, typePort);
}

void TestAccept::editsAreWrittenInOrder()
{
    QFETCH(int, minor);
    QFETCH(Edit, edit);
    QFETCH(Commands, commands);
    DialogFixture fixture(withChannels(3, [minor](ControllerState &state) { state.version.minor = minor; }));
    QVERIFY(fixture.open([&] {
        fixture.tabs()->setCurrentIndex(1);
        edit(fixture.page(1));
    }));
    commands = activeCommands(2, "yes") + commands + activeCommands(3, "yes").mid(2);
    // The first accept() after a start always writes the router mode, if the Controller knows it.
    if (minor >= 4)
        commands << "output net_via_router no";
    QCOMPARE(fixture.controller.commands(), commands);
    const bool routes = fixture.dialog->checkBox_actAsRouter->isChecked();
    QCOMPARE(fixture.routerSwitches, QList<bool>({routes}));
    QCOMPARE(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty(), !routes);
}

void TestAccept::allChannelsAreSwitchedOffFirstIfTwoHaveChanged()
{
    DialogFixture fixture(withChannels(3));
    fixture.open([&] {
        fixture.page(0)->spinBox_port->setValue(6001);
        fixture.page(2)->spinBox_port->setValue(6003);
    });
    QCOMPARE(fixture.controller.commands(),
             activeCommands(3, "no") +
                 Commands({"output net_active ch01 yes", "output net ch01 udp '127.0.0.1' 6001",
                           "output net_divisor ch01 1", "output net_active ch02 yes",
                           "output net_active ch03 yes", "output net ch03 udp '127.0.0.1' 6003",
                           "output net_divisor ch03 1", "output net_via_router no"}));
}

void TestAccept::everyWayOutAsksAboutConflicts_data()
{
    // The columns: how many questions the user answers with Yes before answering No, and how the user leaves
    // the dialog. There are two questions.
    const Table<int, WayOut> row("yeses", "leave");
    row("close button of the window, No", 0, [](NetworkDialog *dialog) { dialog->close(); });
    row("Escape, Yes and No", 1, [](NetworkDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    row("Exit, Yes twice", 2, clickExit);
}

void TestAccept::everyWayOutAsksAboutConflicts()
{
    QFETCH(int, yeses);
    QFETCH(WayOut, leave);
    // The first three channels have the same destination in three spellings. The fourth one has it, too, but
    // is not active.
    DialogFixture fixture(withChannels(4, [](ControllerState &state) {
        state.channels[1].destination = {Destination::Kind::Udp, "127.1", 5001};
        state.channels[2].destination = {Destination::Kind::Udp, "localhost", 5001};
        state.channels[3].destination = {Destination::Kind::Udp, "127.0.0.1", 5001};
        state.channels[3].active = false;
    }));
    fixture.open([&] {
        // Invalid, but never reported: the pages are validated after the conflicts, and channel 3 is
        // inactive by then.
        fixture.page(2)->lineEdit_host->clear();
        MessageBoxes boxes;
        boxes.decide = [&](const QMessageBox *) {
            return boxes.texts.size() <= yeses ? QMessageBox::Yes : QMessageBox::No;
        };
        leave(fixture.dialog.get());
        const QStringList questions{"Channel 1 and 2 have same destination!\n\nDeactivate channel 2?",
                                    "Channel 1 and 3 have same destination!\n\nDeactivate channel 3?"};
        QCOMPARE(boxes.texts, questions.mid(0, yeses + 1));
        QCOMPARE(boxes.defaults.first(), QMessageBox::Yes);
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(fixture.page(i)->channel()->isActive(), i == 0 || i > yeses);
            QCOMPARE(fixture.page(i)->checkBox_active_channel->isChecked(), i == 0 || i > yeses);
        }
        QCOMPARE(fixture.dialog->isVisible(), yeses < 2);
        // The two deactivated channels count as changed, so all channels are switched off first.
        Commands commands;
        if (yeses == 2)
            commands = activeCommands(4, "no") << "output net_active ch01 yes"
                                               << "output net_active ch02 no";
        QCOMPARE(fixture.controller.commands().mid(0, 6), commands);
        fixture.dialog->done(QDialog::Rejected);
    });
}

void TestAccept::failedValidationSelectsTheTabOfItsChannel()
{
    DialogFixture fixture(withChannels(4));
    QVERIFY(fixture.open([&] {
        MessageBoxes boxes({QMessageBox::Cancel, QMessageBox::Ignore, QMessageBox::Cancel});
        fixture.page(1)->lineEdit_host->setText("no-such-host.invalid");
        fixture.page(2)->lineEdit_host->clear();
        for (const int tab : {1, 2}) {
            clickExit(fixture.dialog.get());
            QVERIFY(fixture.dialog->isVisible());
            QCOMPARE(fixture.tabs()->currentIndex(), tab);
            QCOMPARE(fixture.dialog->cursor().shape(), Qt::ArrowCursor);
        }
        QCOMPARE(boxes.texts.size(), 3);
        QVERIFY(fixture.controller.commands().isEmpty());
        typeInto(fixture.page(2)->lineEdit_host, "127.0.0.3");
        fixture.page(1)->lineEdit_host->setText("127.0.0.2");
    }));
    QVERIFY(fixture.controller.commands().contains("output net ch02 udp '127.0.0.2' 5002"));
}

void TestAccept::refusedCommandsExceptTicksAndDestinationsAreLogged()
{
    DialogFixture fixture(withChannels(2));
    QVERIFY(fixture.open([&] {
        for (const char *text :
             {"output net_active ch01 no", "output active ch01 6d no", "output net ch01 none",
              "output net_divisor ch01 2", "output net_via_router yes"})
            fixture.controller.failEvery(true, text);
        fixture.page(0)->spinBox_port->setValue(7001);
        clickTick(fixture.page(0), "3d");
        clickBox(fixture.dialog->checkBox_actAsRouter);
        fixture.closeLastTab();
    }));
    QCOMPARE(fixture.logged(),
             Commands({"Error: Unable to reset channel X", "Error: Unable to activate channel",
                       "Error: Unable to set value send data divisor",
                       "Error: Unable to set value act as router"}));
}

void TestAccept::laterOpeningsWriteTheRouterModeOnlyAfterAClick()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    const auto toggle = [&] { clickBox(fixture.dialog->checkBox_actAsRouter); };
    fixture.open(toggle);
    QCOMPARE(fixture.routerSwitches, QList<bool>({true}));
    QCOMPARE(fixture.link.requestedTypes(fixture.dialog.get()), QSet<QByteArray>({"fr", "6d"}));
    // Toggling the box twice counts as a change.
    fixture.open([&] {
        toggle();
        toggle();
    });
    // In a later opening without a click the mode is not written, not even if a channel has been closed or if
    // the Controller has changed the mode.
    fixture.open([&] {
        fixture.closeLastTab();
        QCOMPARE(fixture.titles(), QStringList({"Channel 1", "+"}));
    });
    fixture.change([](ControllerState &state) { state.viaRouter = false; });
    fixture.open([] {});
    QCOMPARE(fixture.routerSwitches, QList<bool>({true, true}));
    QCOMPARE(fixture.controller.commands().count("output net_via_router yes"), 2);
    fixture.change([](ControllerState &state) { state.viaRouter = true; });
    fixture.open(toggle);
    QCOMPARE(fixture.routerSwitches, QList<bool>({true, true, false}));
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
}

QTEST_MAIN(TestAccept)
#include "test_accept.moc"
