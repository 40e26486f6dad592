#include "channelasrouter.h"
#include "dialogfixture.h"

#include <QAccessible>
#include <QTabBar>
#include <QUdpSocket>

#include <array>
#include <atomic>
#include <thread>

namespace {

int plusTabs(const DialogFixture &fixture)
{
    return fixture.titles().count(QLatin1String("+"));
}

QList<QByteArray> destinationQueries()
{
    QList<QByteArray> queries;
    for (int number = 1; number <= OutputChannelCount; ++number)
        queries << "output net ch" + QByteArray::number(number).rightJustified(2, '0');
    return queries;
}

QStringList tabTitles(int channels)
{
    QStringList titles;
    for (int number = 1; number <= channels; ++number)
        titles << QString::fromLatin1("Channel %1").arg(number);
    if (channels < OutputChannelCount)
        titles << QLatin1String("+");
    return titles;
}

void setVersion(ControllerState &state, int minor, int third = 0)
{
    state.version.major = 1;
    state.version.minor = minor;
    state.version.third = third;
}

/// The size of the help window that is open, which is closed; empty without one.
QSize takeHelp()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (!window->inherits("QWhatsThat") || !window->isVisible())
            continue;
        window->close();
        return window->size();
    }
    return {};
}

} // namespace

/// Start, opening, read-only state, routing and end of the dialog. What the way out sends is told in
/// TestAccept.
class TestDialog : public QObject
{
    Q_OBJECT

private slots:
    void startAsksForChannelsAndRouterMode();
    void tabsFollowHighestChannelInUse_data();
    void tabsFollowHighestChannelInUse();
    void openingBringsEverythingUpToDate();
    void channelCountChangedWhileClosed();
    void answersChangeBetweenTwoQueries();
    void widthFollowsChannelCount();
    void lock_data();
    void lock();
    void lockComesAndGoes();
    void lockedRebuildHasEnabledPages();
    void routerMode_data();
    void routerMode();
    void openTwiceLeavesPagesAlone();
    void keyboardReachesAll();
    void requestsFollowTicks();
    void routerModeAtStartForwards();
    void catalogueMessage_data();
    void catalogueMessage();
    void dataWhileRebuilding();
    void teardownEndsAllDealings();
};

void TestDialog::startAsksForChannelsAndRouterMode()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    QCOMPARE(fixture.sent(), destinationQueries() << "output net_via_router");
    QVERIFY(fixture.controller.commands().isEmpty());
    QCOMPARE(fixture.link.registeredCount(), 2);
    QVERIFY(!fixture.dialog->isVisible());
    QCOMPARE(fixture.titles(), tabTitles(2));
}

void TestDialog::tabsFollowHighestChannelInUse_data()
{
    QTest::addColumn<QList<int>>("inUse");
    QTest::addColumn<bool>("failing");
    QTest::addColumn<int>("channels");

    QTest::newRow("none") << QList<int>{} << false << 1;
    QTest::newRow("only the seventh") << QList<int>{7} << false << 7;
    QTest::newRow("with a gap") << QList<int>{1, 3} << false << 3;
    QTest::newRow("the tenth") << QList<int>{10} << false << 10;
    QTest::newRow("queries fail") << QList<int>{1, 2, 3} << true << 1;
}

void TestDialog::tabsFollowHighestChannelInUse()
{
    QFETCH(QList<int>, inUse);
    QFETCH(bool, failing);
    QFETCH(int, channels);
    DialogFixture fixture([&](ControllerState &state) {
        for (const int number : inUse)
            state.channels[static_cast<size_t>(number - 1)].destination = {Destination::Kind::Udp,
                                                                           "127.0.0.1", 5001};
    });
    if (failing)
        fixture.controller.fail("output net ch", SimulatedController::Match::Prefix);
    fixture.create();
    QCOMPARE(fixture.titles(), tabTitles(channels));
}

void TestDialog::openingBringsEverythingUpToDate()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    fixture.change([](ControllerState &state) {
        state.channels[1].destination = {Destination::Kind::Multicast, "239.1.2.3", 6000};
        state.channels[1].divisor = 4;
        state.channels[1].types = {"fr", "3d"};
    });
    fixture.controller.clearRecord();

    QVERIFY(fixture.open([&] {
        const QList<QByteArray> sent = fixture.sent();
        QCOMPARE(sent.mid(0, 12), QList<QByteArray>() << "config is_changeable"
                                                      << "output net_via_router" << destinationQueries());
        QCOMPARE(sent.at(12), QByteArray("output number_of_types"));
        const int identity = sent.indexOf("output net chmon");
        QVERIFY(identity > 12);
        QCOMPARE(sent.at(identity + 1), QByteArray("output net ch01"));
        QVERIFY(sent.indexOf("output net ch02", identity) > sent.indexOf("output active ch01 6dx", identity));
        QCOMPARE(sent.last(), QByteArray("config is_changeable"));

        const ChannelWidget *page = fixture.page(1);
        QCOMPARE(page->lineEdit_host->text(), QLatin1String("239.1.2.3"));
        QCOMPARE(page->spinBox_port->value(), 6000);
        QCOMPARE(page->spinBox_sendDataDivisor->value(), 4);
        QVERIFY(page->checkBox_multicast->isChecked());
        QVERIFY(page->checkBox_active_channel->isChecked());
        QVERIFY(page->channel()->isTypeActive(QLatin1String("3d")));
        QVERIFY(!page->channel()->isTypeActive(QLatin1String("6d")));
        // Closing belongs to the last page alone.
        QVERIFY(!fixture.page(0)->pushButton_closeTab->isVisibleTo(fixture.page(0)));
        QVERIFY(page->pushButton_closeTab->isVisibleTo(page));
    }));
}

void TestDialog::channelCountChangedWhileClosed()
{
    DialogFixture fixture(withChannels(3));
    fixture.create();
    const QPointer<ChannelWidget> first = fixture.page(0);
    for (const int channels : {10, 1, 4}) {
        fixture.change(withChannels(channels));
        fixture.open([&] { QCOMPARE(fixture.titles(), tabTitles(channels)); });
    }
    QVERIFY(first.isNull());
}

void TestDialog::answersChangeBetweenTwoQueries()
{
    DialogFixture fixture(withChannels(3));
    fixture.create();
    fixture.change(withChannels(5));
    // The count differs at the first look and is the old one again at the second.
    QObject scope;
    connect(&fixture.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        if (exchange.text == "output net ch10")
            fixture.change(withChannels(3));
    });
    QVERIFY(fixture.open([&] {
        QCOMPARE(fixture.titles(), tabTitles(3));
        QCOMPARE(fixture.page(2)->spinBox_port->value(), 5003);
    }));
}

void TestDialog::widthFollowsChannelCount()
{
    DialogFixture fixture(withChannels(5));
    fixture.create();
    const int base = fixture.dialog->width();
    fixture.open([&] { QVERIFY(fixture.dialog->width() < base + 300); });
    for (const auto &step : {qMakePair(6, 360), qMakePair(10, 600), qMakePair(2, 600)}) {
        fixture.change(withChannels(step.first));
        fixture.open([&] { QCOMPARE(fixture.dialog->width(), base + step.second); });
    }
}

void TestDialog::lock_data()
{
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("third");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<bool>("locked");

    QTest::newRow("locked") << 9 << 0 << QByteArray("no") << true << true;
    QTest::newRow("changeable") << 9 << 0 << QByteArray("yes") << true << false;
    QTest::newRow("trailing blank") << 9 << 0 << QByteArray("no ") << true << false;
    QTest::newRow("wrong case") << 9 << 0 << QByteArray("No") << true << false;
    QTest::newRow("query fails") << 9 << 0 << QByteArray() << true << false;
    QTest::newRow("last test build") << 9 << -1 << QByteArray("no") << true << true;
    QTest::newRow("earlier test build") << 9 << -2 << QByteArray("no") << false << false;
    QTest::newRow("old") << 8 << 9 << QByteArray("no") << false << false;
}

void TestDialog::lock()
{
    QFETCH(int, minor);
    QFETCH(int, third);
    QFETCH(QByteArray, answer);
    QFETCH(bool, asked);
    QFETCH(bool, locked);
    DialogFixture fixture([&](ControllerState &state) {
        withChannels(2)(state);
        setVersion(state, minor, third);
    });
    fixture.window.setWindowIcon(QIcon(QLatin1String(":/act_as_router_whatsthis.png")));
    if (answer.isNull())
        fixture.controller.fail("config is_changeable");
    else
        fixture.controller.overrideAnswer("config is_changeable", answer);
    fixture.create();
    const bool closed = fixture.open([&] {
        NetworkDialog &dialog = *fixture.dialog;
        QCOMPARE(fixture.sent().contains("config is_changeable"), asked);
        QCOMPARE(fixture.page(0)->isEnabled(), !locked);
        QCOMPARE(fixture.page(1)->isEnabled(), !locked);
        QCOMPARE(plusTabs(fixture), locked ? 0 : 1);
        QCOMPARE(dialog.checkBox_actAsRouter->isEnabled(), !locked);
        QCOMPARE(fixture.page(1)->pushButton_closeTab->isVisibleTo(fixture.page(1)), !locked);
        const QSize size = dialog.windowIcon().availableSizes().value(0);
        QCOMPARE(size, locked ? QSize(48, 48) : QSize(364, 142));
        QVERIFY(dialog.pushButton_ok->isEnabled());
        fixture.controller.clearRecord();
    });
    QVERIFY(closed);
    QCOMPARE(fixture.controller.commands().isEmpty(), locked);
}

void TestDialog::lockComesAndGoes()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    for (const bool locked : {true, true, false, false, true}) {
        fixture.change([locked](ControllerState &state) { state.locked = locked; });
        fixture.open([&] {
            QCOMPARE(plusTabs(fixture), locked ? 0 : 1);
            QCOMPARE(fixture.page(1)->isEnabled(), !locked);
        });
    }
}

void TestDialog::lockedRebuildHasEnabledPages()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    fixture.change([](ControllerState &state) {
        withChannels(3)(state);
        state.locked = true;
    });
    fixture.controller.clearRecord();
    QVERIFY(fixture.open([&] {
        QCOMPARE(fixture.titles(), tabTitles(3));
        QVERIFY(fixture.page(0)->isEnabled());
        QTest::mouseClick(fixture.page(0)->checkBox_active_channel, Qt::LeftButton);
    }));
    QVERIFY(fixture.controller.commands().isEmpty());
}

void TestDialog::routerMode_data()
{
    QTest::addColumn<int>("minor");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("anyActive");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("enabled");

    QTest::newRow("on") << 9 << QByteArray("yes") << true << true << true;
    QTest::newRow("on, no channel active") << 9 << QByteArray("yes") << false << true << true;
    QTest::newRow("off") << 9 << QByteArray("no") << true << false << true;
    QTest::newRow("off, no channel active") << 9 << QByteArray("no") << false << false << false;
    QTest::newRow("trailing blank") << 9 << QByteArray("yes ") << true << false << true;
    QTest::newRow("query fails") << 9 << QByteArray() << true << false << true;
    QTest::newRow("too old") << 3 << QByteArray("yes") << false << false << false;
}

void TestDialog::routerMode()
{
    QFETCH(int, minor);
    QFETCH(QByteArray, answer);
    QFETCH(bool, anyActive);
    QFETCH(bool, checked);
    QFETCH(bool, enabled);
    DialogFixture fixture([&](ControllerState &state) {
        withChannels(2)(state);
        state.channels[0].active = anyActive;
        state.channels[1].active = false;
        setVersion(state, minor);
    });
    if (answer.isNull())
        fixture.controller.fail("output net_via_router");
    else
        fixture.controller.overrideAnswer("output net_via_router", answer);
    fixture.create();
    fixture.open([&] {
        const QCheckBox *box = fixture.dialog->checkBox_actAsRouter;
        QCOMPARE(box->isChecked(), checked);
        QCOMPARE(box->isEnabled(), enabled);
        QCOMPARE(fixture.sent().contains("output net_via_router"), minor >= 4);
        // The rule of the active boxes knows no version.
        if (!anyActive) {
            QTest::mouseClick(fixture.page(0)->checkBox_active_channel, Qt::LeftButton);
            QVERIFY(box->isEnabled());
        }
    });
}

void TestDialog::openTwiceLeavesPagesAlone()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    fixture.open([&] {
        fixture.page(0)->spinBox_port->setValue(7000);
        fixture.change(withChannels(4));
        fixture.dialog->update_and_exec();
        QCOMPARE(fixture.titles(), tabTitles(2));
        QCOMPARE(fixture.page(0)->spinBox_port->value(), 7000);
    });
}

void TestDialog::keyboardReachesAll()
{
    DialogFixture fixture(withChannels(2));
    fixture.open([&] {
        fixture.tabs()->setCurrentIndex(1);
        QVERIFY(QTest::qWaitForWindowActive(fixture.dialog.get()));
        QTabBar *bar = fixture.tabs()->tabBar();
        bar->setFocus();
        QStringList visited;
        do {
            QWidget *widget = fixture.dialog->focusWidget();
            visited << widget->objectName().section('_', 1);
            const QByteArray name = visited.last().toLatin1();
            QVERIFY2(!QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).isEmpty(), name);
            QTest::keyClick(widget, Qt::Key_F1, Qt::ShiftModifier);
            const QSize help = takeHelp();
            QVERIFY2(!help.isEmpty(), name);
            if (widget == fixture.dialog->checkBox_actAsRouter)
                QVERIFY(help.width() > 364 && help.height() > 142); // the picture
            QTest::keyClick(widget, Qt::Key_Tab);
        } while (fixture.dialog->focusWidget() != bar && visited.size() < 20);
        QCOMPARE(visited.join(' '), QLatin1String("tabwidget_tabbar active_channel host multicast  my_ip "
                                                  "closeTab port sendDataDivisor actAsRouter ok"));

        // The first row is the frame counter's, which cannot be ticked.
        QTableView *types = fixture.page(1)->tableView;
        QTest::keyClick(types, Qt::Key_Down);
        QTest::keyClick(types, Qt::Key_Space);
        QVERIFY(fixture.page(1)->channel()->isTypeActive(QLatin1String("ts")));

        QTest::keyClick(bar, Qt::Key_Right);
        QCOMPARE(QAccessible::queryAccessibleInterface(bar)->text(QAccessible::Name),
                 QLatin1String("Add a channel with Ctrl + T"));
    });
}

void TestDialog::requestsFollowTicks()
{
    DialogFixture fixture([](ControllerState &state) {
        withChannels(2)(state);
        state.channels[0].types = {"fr", "6d"};
        state.channels[1].types = {"3d"};
        state.channels[1].active = false;
        state.viaRouter = true;
    });
    fixture.create();
    // The tick alone counts: whether a channel is on shows when the line arrives.
    QCOMPARE(fixture.link.requestedTypes(fixture.dialog.get()), QSet<QByteArray>({"fr", "6d", "3d"}));
}

void TestDialog::routerModeAtStartForwards()
{
    QUdpSocket receiver;
    QVERIFY(receiver.bind(QHostAddress::LocalHost));
    DialogFixture fixture([&](ControllerState &state) {
        withChannels(1)(state);
        state.channels[0].destination.port = receiver.localPort();
        state.viaRouter = true;
    });
    fixture.create();
    QVERIFY(!fixture.dialog->isVisible());

    std::thread data([&] {
        for (int number = 1; number <= 4; ++number) {
            fixture.link.deliver("fr", "fr " + QByteArray::number(number) + "\r\n");
            fixture.link.deliver("6d", "6d 0\r\n");
            fixture.link.deliver("3d", "3d 0\r\n");
        }
    });
    data.join();
    for (const QByteArray &expected : {QByteArray("fr 1\r\n6d 0\r\nfr 2\r\n6d 0\r\n"),
                                       QByteArray("fr 3\r\n6d 0\r\n"), QByteArray("fr 4\r\n6d 0\r\n")}) {
        QTRY_VERIFY(receiver.hasPendingDatagrams());
        QByteArray datagram(static_cast<int>(receiver.pendingDatagramSize()), '\0');
        receiver.readDatagram(datagram.data(), datagram.size());
        QCOMPARE(datagram, expected);
    }

    // The box closes the gate at once, before anything is accepted.
    fixture.open([&] {
        fixture.dialog->checkBox_actAsRouter->setChecked(false);
        fixture.dialog->onOutputData("fr", "fr 5\r\n");
        fixture.dialog->onOutputData("6d", "6d 0\r\n");
    });
    QVERIFY(!receiver.waitForReadyRead(200));
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
}

void TestDialog::catalogueMessage_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("routing");
    QTest::addColumn<bool>("otherThread");
    QTest::addColumn<bool>("refreshes");

    QTest::newRow("routing") << QByteArray("OutputTypesChanged") << true << false << true;
    QTest::newRow("from another thread") << QByteArray("OutputTypesChanged") << true << true << true;
    QTest::newRow("not routing") << QByteArray("OutputTypesChanged") << false << false << false;
    QTest::newRow("other text") << QByteArray("OutputTypesChanged ") << true << false << false;
}

void TestDialog::catalogueMessage()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, routing);
    QFETCH(bool, otherThread);
    QFETCH(bool, refreshes);
    DialogFixture fixture([&](ControllerState &state) {
        withChannels(2)(state);
        state.viaRouter = routing;
    });
    fixture.create();
    fixture.change([](ControllerState &state) {
        state.catalogue.append({"7d", "New", true});
        state.channels[0].types << "7d";
    });
    QList<bool> switches;
    QList<bool> newTypeKnown;
    QObject scope;
    connect(fixture.dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &scope, [&](bool enable) {
        switches << enable;
        newTypeKnown << fixture.link.requestedTypes(fixture.dialog.get()).contains("7d");
    });
    fixture.controller.clearRecord();

    if (otherThread) {
        std::thread host([&] { fixture.link.sendMessage(text); });
        host.join();
        QVERIFY(fixture.sent().isEmpty());
        QTRY_COMPARE(switches.size(), 2);
    } else {
        fixture.link.sendMessage(text);
    }
    QCOMPARE(!fixture.sent().isEmpty(), refreshes);
    QCOMPARE(switches, refreshes ? QList<bool>({false, true}) : QList<bool>());
    QCOMPARE(newTypeKnown, refreshes ? QList<bool>({false, true}) : QList<bool>());
}

void TestDialog::dataWhileRebuilding()
{
    DialogFixture fixture([](ControllerState &state) {
        withChannels(3)(state);
        state.viaRouter = true;
    });
    fixture.create();
    std::atomic<bool> stop{false};
    std::array<std::thread, 3> threads;
    for (std::thread &thread : threads) {
        thread = std::thread([&] {
            for (int number = 1; !stop; ++number) {
                fixture.dialog->onOutputData("fr", ("fr " + QByteArray::number(number)).constData());
                fixture.dialog->onOutputData("6d", "6d 0\r\n");
                if (number % 50 == 0)
                    fixture.dialog->onOutputReset();
            }
        });
    }
    for (int round = 0; round < 30; ++round) {
        fixture.change([round](ControllerState &state) {
            withChannels(1 + round % OutputChannelCount)(state);
            state.viaRouter = true;
        });
        fixture.open([&] {
            QCOMPARE(fixture.titles(), tabTitles(1 + round % OutputChannelCount));
            fixture.link.sendMessage("OutputTypesChanged");
        });
    }
    stop = true;
    for (std::thread &thread : threads)
        thread.join();
}

void TestDialog::teardownEndsAllDealings()
{
    DialogFixture fixture([](ControllerState &state) {
        withChannels(2)(state);
        state.viaRouter = true;
    });
    fixture.create();
    std::atomic<bool> stop{false};
    std::thread data([&] {
        while (!stop)
            fixture.link.deliver("fr", "fr 1\r\n");
    });
    fixture.dialog->teardownRequests();
    QCOMPARE(fixture.link.registeredCount(), 0);
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
    fixture.dialog.reset();
    stop = true;
    data.join();
}

QTEST_MAIN(TestDialog)
#include "test_dialog.moc"
