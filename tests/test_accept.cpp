#include "gestures.h"

using Commands = QList<QByteArray>;
using Edit = std::function<void(ChannelWidget *)>;
using WayOut = std::function<void(NetworkDialog *)>;

Q_DECLARE_METATYPE(Edit)

namespace {

Commands activeCommands(int channels, const QByteArray &state)
{
    Commands commands;
    for (int number = 1; number <= channels; ++number)
        commands << "output net_active ch" + QByteArray::number(number).rightJustified(2, '0') + ' ' + state;
    return commands;
}

void clickExit(NetworkDialog *dialog)
{
    QTest::mouseClick(dialog->pushButton_ok, Qt::LeftButton);
}

} // namespace

/// The tab row and leaving the dialog: what a user does with mouse and keyboard, and which commands the
/// Controller gets.
class TestAccept : public QObject
{
    Q_OBJECT

private slots:
    void plusTabAndCtrlTAddChannels();
    void closingAsksAndResetsTheChannel_data();
    void closingAsksAndResetsTheChannel();
    void editsAreWrittenInOrder_data();
    void editsAreWrittenInOrder();
    void twoChangedChannelsAreSwitchedOffFirst();
    void conflictsAreAskedOnEveryWayOut();
    void failedCheckShowsItsTab();
    void refusedCommandsAreLogged();
    void routerStepRunsOnlyAfterAChange();

private:
    void answerConflicts(const WayOut &leave, int yeses);
};

void TestAccept::plusTabAndCtrlTAddChannels()
{
    DialogFixture fixture(withChannels(8));
    fixture.open([&] {
        // F9 skips the "+" tab, and T without Ctrl adds nothing.
        fixture.tabs()->setCurrentIndex(7);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_F9);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_F9);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T);
        QCOMPARE(fixture.tabs()->currentIndex(), 1);
        clickTab(fixture, 8);
        QCOMPARE(fixture.tabs()->currentIndex(), 8);
        QCOMPARE(fixture.titles().mid(7), QStringList({"Channel 8", "Channel 9", "+"}));
        // A new channel is not sent before accept().
        QVERIFY(fixture.controller.commands().isEmpty());
        QVERIFY(!fixture.page(7)->pushButton_closeTab->isVisibleTo(fixture.page(7)));
        QVERIFY(fixture.page(8)->pushButton_closeTab->isVisible());
        QCOMPARE(fixture.page(8)->spinBox_port->value(), 5000);

        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        QCOMPARE(fixture.titles().mid(8), QStringList({"Channel 9", "Channel 10"}));
        QCOMPARE(fixture.tabs()->currentIndex(), 9);
    });
}

void TestAccept::closingAsksAndResetsTheChannel_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("locked");
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("third") << 3 << false << QByteArray("output net ch03 none");
    QTest::newRow("tenth") << 10 << false << QByteArray("output net ch10 none");
    QTest::newRow("locked") << 2 << true << QByteArray("output net ch02 none");
}

void TestAccept::closingAsksAndResetsTheChannel()
{
    QFETCH(int, channels);
    QFETCH(bool, locked);
    QFETCH(QByteArray, command);
    DialogFixture fixture([&](ControllerState &state) {
        withChannels(channels)(state);
        state.locked = locked;
    });
    fixture.open([&] {
        MessageBoxes boxes({QMessageBox::No, QMessageBox::Yes});
        fixture.tabs()->setCurrentIndex(channels - 1);
        const QPointer<ChannelWidget> last = fixture.page(channels - 1);
        QCOMPARE(last->pushButton_closeTab->isVisible(), !locked);
        fixture.controller.clearRecord();
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        QVERIFY(last);
        QVERIFY(fixture.sent().isEmpty());

        if (locked)
            QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        else
            QTest::mouseClick(last->pushButton_closeTab, Qt::LeftButton);
        QTRY_VERIFY(!last);
        QCOMPARE(fixture.tabs()->count(), locked ? channels - 1 : channels);
        QCOMPARE(fixture.tabs()->currentIndex(), channels - 2);
        QCOMPARE(fixture.sent(), Commands({command, "config is_changeable"}));

        const QString question = QString("Close Channel %1?").arg(channels);
        QCOMPARE(boxes.texts, QStringList({question, question}));
        QCOMPARE(boxes.defaults.first(), QMessageBox::No);
    });
}

void TestAccept::editsAreWrittenInOrder_data()
{
    QTest::addColumn<int>("minor"); // of the Controller's version
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<Commands>("commands"); // after the active state of the second of three channels
    const auto row = [](const char *name, const Edit &edit, const Commands &commands, int minor = 9) {
        QTest::newRow(name) << minor << edit << commands;
    };
    const QByteArray destination = "output net ch02 udp '127.0.0.1' 5002";
    const QByteArray divisor = "output net_divisor ch02 1";
    const QByteArray otherPort = "output net ch02 udp '127.0.0.1' 6002";
    const auto typePort = [](ChannelWidget *page) { typeInto(page->spinBox_port, "6002"); };

    row("untick by double click",
        [](ChannelWidget *page) {
            // Next to the box, which reacts to single clicks. A double click is the second of two clicks.
            const QModelIndex index = page->channel()->typeModel()->findItems("6d").first()->index();
            const QPoint text = page->tableView->visualRect(index).center();
            QTest::mouseClick(page->tableView->viewport(), Qt::LeftButton, {}, text);
            QTest::mouseDClick(page->tableView->viewport(), Qt::LeftButton, {}, text);
        },
        {"output active ch02 6d no", destination, divisor});
    row("host, left by Escape",
        [](ChannelWidget *page) {
            page->lineEdit_host->setFocus();
            typeInto(page->lineEdit_host, "127.0.0.7");
            QTest::keyClick(page->lineEdit_host, Qt::Key_Escape);
        },
        {"output net ch02 udp '127.0.0.7' 5002", divisor});
    row("much",
        [=](ChannelWidget *page) {
            typeInto(page->spinBox_sendDataDivisor, "7");
            typePort(page);
            clickTick(page, "3d");
            clickTick(page, "ts");
        },
        {"output active ch02 ts yes", "output active ch02 3d yes", otherPort, "output net_divisor ch02 7"});
    row("port, old Controller", typePort, {otherPort}, 3);
    row("port, Controller with router", typePort, {otherPort}, 5);
    row("port, Controller with divisor", typePort, {otherPort, divisor}, 6);
}

void TestAccept::editsAreWrittenInOrder()
{
    QFETCH(int, minor);
    QFETCH(Edit, edit);
    QFETCH(Commands, commands);
    DialogFixture fixture([minor](ControllerState &state) {
        withChannels(3)(state);
        state.version.minor = minor;
    });
    QVERIFY(fixture.open([&] {
        fixture.tabs()->setCurrentIndex(1);
        edit(fixture.page(1));
    }));
    commands = activeCommands(2, "yes") + commands + activeCommands(3, "yes").mid(2);
    // The first accept() after a start always has a router step.
    if (minor >= 4)
        commands << "output net_via_router no";
    QCOMPARE(fixture.controller.commands(), commands);
}

void TestAccept::twoChangedChannelsAreSwitchedOffFirst()
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

void TestAccept::conflictsAreAskedOnEveryWayOut()
{
    const QList<WayOut> ways{[](NetworkDialog *dialog) { dialog->close(); },
                             [](NetworkDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); },
                             clickExit};
    for (int yeses = 0; yeses < ways.size(); ++yeses)
        answerConflicts(ways.at(yeses), yeses);
}

/// Leaves by \a leave and answers Yes \a yeses times before the first No.
void TestAccept::answerConflicts(const WayOut &leave, int yeses)
{
    // Three ways to write one destination, and a fourth channel that does not send.
    DialogFixture fixture([](ControllerState &state) {
        withChannels(4)(state);
        state.channels[1].destination = {Destination::Kind::Udp, "127.1", 5001};
        state.channels[2].destination = {Destination::Kind::Udp, "localhost", 5001};
        state.channels[3].destination = {Destination::Kind::Udp, "127.0.0.1", 5001};
        state.channels[3].active = false;
    });
    fixture.open([&] {
        fixture.page(2)->lineEdit_host->clear(); // invalid, but checked after all conflicts
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
        // Two channels were switched off, so they count as changed.
        Commands commands;
        if (yeses == 2)
            commands = activeCommands(4, "no") << "output net_active ch01 yes"
                                               << "output net_active ch02 no";
        QCOMPARE(fixture.controller.commands().mid(0, 6), commands);
        fixture.dialog->done(QDialog::Rejected);
    });
}

void TestAccept::failedCheckShowsItsTab()
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

void TestAccept::refusedCommandsAreLogged()
{
    DialogFixture fixture(withChannels(2));
    QVERIFY(fixture.open([&] {
        for (const char *text : {"output net_active", "output active", "output net ch", "output net_divisor",
                                 "output net_via_router"})
            fixture.controller.fail(text, SimulatedController::Match::Prefix);
        MessageBoxes boxes({QMessageBox::Yes});
        fixture.page(0)->spinBox_port->setValue(7001);
        clickTick(fixture.page(0), "3d");
        clickBox(fixture.dialog->checkBox_actAsRouter);
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
    }));
    QCOMPARE(fixture.logged(),
             Commands({"Error: Unable to reset channel X", "Error: Unable to activate channel",
                       "Error: Unable to set value send data divisor",
                       "Error: Unable to set value act as router"}));
}

void TestAccept::routerStepRunsOnlyAfterAChange()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    QList<bool> switches;
    QObject scope;
    connect(fixture.dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &scope,
            [&](bool enable) { switches << enable; });
    const auto toggle = [&] { clickBox(fixture.dialog->checkBox_actAsRouter); };
    fixture.open(toggle);
    QCOMPARE(switches, QList<bool>({true}));
    QCOMPARE(fixture.link.requestedTypes(fixture.dialog.get()), QSet<QByteArray>({"fr", "6d"}));
    // The step also runs after the box was toggled twice, but not if it was not touched.
    fixture.open([&] {
        toggle();
        toggle();
    });
    fixture.open([] {});
    // Nor does it run after somebody else has changed the Controller's mode.
    fixture.change([](ControllerState &state) { state.viaRouter = false; });
    fixture.open([] {});
    QCOMPARE(switches, QList<bool>({true, true}));
    QCOMPARE(fixture.controller.commands().count("output net_via_router yes"), 2);
    fixture.change([](ControllerState &state) { state.viaRouter = true; });
    fixture.open(toggle);
    QCOMPARE(switches, QList<bool>({true, true, false}));
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
}

QTEST_MAIN(TestAccept)
#include "test_accept.moc"
