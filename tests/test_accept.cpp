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
    void closingAsksAndSendsTheReset_data();
    void closingAsksAndSendsTheReset();
    void f9GoesThroughAllTabsButTheLast();
    void keyThatClosesNoChannelAsksNothing();
    void editsAreWrittenInOrder_data();
    void editsAreWrittenInOrder();
    void allChannelsAreSwitchedOffFirstIfTwoHaveChanged();
    void everyWayOutAsksAboutConflicts_data();
    void everyWayOutAsksAboutConflicts();
    void failedValidationSelectsTheTabOfItsChannel();
    void refusedResetAndRouterModeAreLogged();
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

/// There is no "+" tab with ten channels, so the last channel is left out.
void TestAccept::f9GoesThroughAllTabsButTheLast()
{
    DialogFixture fixture(withChannels(10));
    fixture.open([&] {
        for (const int tab : {1, 2, 3, 4, 5, 6, 7, 8, 0, 1}) {
            fixture.press(Qt::Key_F9);
            QCOMPARE(fixture.tabs()->currentIndex(), tab);
        }
    });
}

void TestAccept::keyThatClosesNoChannelAsksNothing()
{
    for (const auto &[channels, modifier] : {std::pair(1, Qt::ControlModifier), {2, Qt::NoModifier}}) {
        DialogFixture fixture(withChannels(channels));
        const MessageBoxes boxes({QMessageBox::Yes});
        fixture.open([&fixture, modifier = modifier] { fixture.press(Qt::Key_W, modifier); });
        QCOMPARE(boxes.texts, QStringList());
        QCOMPARE(fixture.tabs()->count(), channels + 1);
    }
}

void TestAccept::editsAreWrittenInOrder_data()
{
    // The columns: the minor version of the Controller; the commands that come between those that set the
    // active states of channels 2 and 3; and the edit on the page of channel 2.
    const Table<int, Commands, Edit> row("minor", "commands", "edit");
    const QByteArray destination = "output net ch02 udp '127.0.0.1' 5002";
    const QByteArray divisor = "output net_divisor ch02 1";

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
    row("divisor, port and two ticks", 6,
        {"output active ch02 ts yes", "output active ch02 3d yes", "output net ch02 udp '127.0.0.1' 6002",
         "output net_divisor ch02 7"},
        [](ChannelWidget *page) {
            typeInto(page->spinBox_sendDataDivisor, "7");
            typeInto(page->spinBox_port, "6002");
            clickTick(page, "3d");
            clickTick(page, "ts");
        });
    // Ticking an active box enables the router box, whatever the version.
    row("router box, Controller without router mode and divisor", 3, {"output net ch02 udp '127.0.0.1' 5002"},
        [](ChannelWidget *page) {
            clickBox(page->checkBox_active_channel);
            clickBox(page->checkBox_active_channel);
            clickBox(page->window()->findChild<QCheckBox *>("checkBox_actAsRouter"));
        });
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

/// The test of the channel shows the log of its other commands.
void TestAccept::refusedResetAndRouterModeAreLogged()
{
    DialogFixture fixture(withChannels(2));
    QVERIFY(fixture.open([&] {
        for (const char *text : {"output net ch01 none", "output net_via_router yes"})
            fixture.controller.failEvery(true, text);
        fixture.closeLastTab();
    }));
    QCOMPARE(fixture.logged(),
             Commands({"Error: Unable to reset channel X", "Error: Unable to set value act as router"}));
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
