#include "dialogfixture.h"
#include "gestures.h"
#include "table.h"
#include "waiting.h"

#include <QAccessible>
#include <QHostInfo>
#include <QNetworkDatagram>
#include <QTabBar>
#include <QUdpSocket>

#include <thread>

namespace {

const char domain[] = "lab.invalid";

QList<QByteArray> destinationQueries()
{
    QList<QByteArray> queries;
    for (int number = 1; number <= outputChannelCount; ++number)
        queries << "output net " + channelName(number);
    return queries;
}

QStringList tabTitles(int channels)
{
    QStringList titles;
    for (int number = 1; number <= channels; ++number)
        titles << QString::fromLatin1("Channel %1").arg(number);
    if (channels < outputChannelCount)
        titles << QLatin1String("+");
    return titles;
}

} // namespace

/// Tests the start, the opening, the lock, the keyboard and the routing of the dialog. TestAccept tests the
/// commands that are sent when the user leaves the dialog.
class TestDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void metaObjectsHaveExactlyTheseMethods();
    void tabsFollowHighestChannelInUse();
    void clicksReachTheControlsAboveTenTabs();
    void openingBringsEverythingUpToDate();
    void channelsKnowTheIdentitiesOfThisComputer();
    void cursorIsBusyOnlyWhileTheControllerWorks();
    void changedChannelCountRebuildsTheTabs();
    void openingFollowsTheLock_data();
    void openingFollowsTheLock();
    void openingShowsTheRouterMode_data();
    void openingShowsTheRouterMode();
    void keyboardReachesEveryControl();
    void dataAreForwardedIfRouterModeIsOnAtStart();
    void closedChannelGetsNoDataDuringItsResetCommand();
    void catalogueChangesAreHandledTogetherAndOnlyInRouterMode_data();
    void catalogueChangesAreHandledTogetherAndOnlyInRouterMode();
    void openingShowsTheFocusOnTheTabRow();
};

/// Overrides the domain of this computer, which may have none. The C library may read it only once.
void TestDialog::initTestCase()
{
    qputenv("LOCALDOMAIN", domain);
}

/// Hosts can reach signals and slots by name, so none may be missing or be added.
void TestDialog::metaObjectsHaveExactlyTheseMethods()
{
    const auto methods = [](const QMetaObject &type) {
        QByteArrayList signatures;
        for (int i = type.methodOffset(); i < type.methodCount(); ++i)
            signatures << type.method(i).methodSignature();
        return signatures.join(' ');
    };
    QCOMPARE(methods(Channel::staticMetaObject),
             QByteArray("updated() committingChanges() setPort(int) setActive(bool) setMulticast(bool) "
                        "setDataDivisor(int) setIp(uint) setHost(QString)"));
    QCOMPARE(methods(ChannelAsRouter::staticMetaObject), QByteArray("updateRouterActiveState(bool)"));
    QCOMPARE(methods(ChannelWidget::staticMetaObject),
             QByteArray("closeTab(int) changeChannelTabTitleFontColor(int,QColor) "
                        "checkBox_active_channel_toggled() updateFromChannel() flushChangesToChannel() "
                        "tableViewItemDoubleClicked(QModelIndex) on_checkBox_multicast_toggled(bool) "
                        "on_checkBox_my_ip_toggled(bool) on_checkBox_active_channel_toggled(bool) "
                        "on_lineEdit_host_editingFinished() on_pushButton_closeTab_clicked()"));
    QCOMPARE(methods(NetworkDialog::staticMetaObject),
             QByteArray("deferedRouterActiveToggled(bool) update_and_exec() "
                        "onCheckBox_active_channel_toggled() keyPressEvent(QKeyEvent*) closeCurrentTab() "
                        "closeLastTab() onTabBarClicked(int) on_checkBox_actAsRouter_toggled(bool) accept() "
                        "reject()"));
}

void TestDialog::tabsFollowHighestChannelInUse()
{
    for (const int highest : {1, 7, 10}) {
        DialogFixture fixture(withChannels(1));
        fixture.change([=](ControllerState &state) {
            state.channels[static_cast<size_t>(highest - 1)].destination.kind = Destination::Kind::Udp;
        });
        fixture.create();
        QCOMPARE(fixture.titles(), tabTitles(highest));
        QCOMPARE(fixture.sent(), destinationQueries() << "output net_via_router");
    }
    DialogFixture fixture(withChannels(3));
    fixture.controller.failEvery(false, "output net ch01");
    fixture.create();
    QCOMPARE(fixture.titles(), tabTitles(1));
}

/// With ten channels there is no "+" tab. Its page must not be shown elsewhere.
void TestDialog::clicksReachTheControlsAboveTenTabs()
{
    DialogFixture fixture(withChannels(10));
    QWidgetList reached;
    QWidgetList controls;
    QVERIFY(fixture.open([&] {
        controls = {fixture.dialog->checkBox_actAsRouter, fixture.tabs()->tabBar()};
        for (QWidget *control : qAsConst(controls))
            reached << fixture.dialog->childAt(control->mapTo(fixture.dialog.get(), QPoint(5, 5)));
    }));
    QCOMPARE(reached, controls);
}

void TestDialog::openingBringsEverythingUpToDate()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    fixture.change([](ControllerState &state) {
        state.channels[1].destination = {Destination::Kind::Multicast, "239.1.2.3", 6000};
        state.channels[1].divisor = 7;
        state.channels[1].types = {"fr", "3d"};
    });
    fixture.controller.clearRecord();
    fixture.open([&] {
        const QList<QByteArray> sent = fixture.sent();
        QCOMPARE(sent.mid(0, 13), QList<QByteArray>() << "config is_changeable"
                                                      << "output net_via_router" << destinationQueries()
                                                      << "output number_of_types");
        // The address of this computer is queried before the channels, because their pages use it.
        QVERIFY(sent.indexOf("output net chmon") < sent.lastIndexOf("output net ch01"));
        QCOMPARE(sent.last(), QByteArray("config is_changeable"));

        const ChannelWidget *page = fixture.page(1);
        QCOMPARE(page->spinBox_port->value(), 6000);
        QCOMPARE(page->spinBox_sendDataDivisor->value(), 7);
        QVERIFY(page->checkBox_multicast->isChecked());
        const QStandardItemModel *types = page->channel()->typeModel();
        QVERIFY(page->tableView->isRowHidden(types->findItems("2dmon").first()->row()));
        QVERIFY(!page->channel()->isTypeActive("6d"));

        // While the dialog is open, the action sends no query.
        fixture.change(withChannels(4));
        fixture.dialog->update_and_exec();
        QCOMPARE(fixture.sent(), sent);
        QCOMPARE(fixture.titles(), tabTitles(2));
        QCOMPARE(page->spinBox_port->value(), 6000);
    });
}

void TestDialog::channelsKnowTheIdentitiesOfThisComputer()
{
    const QString name = QHostInfo::localHostName();
    DialogFixture fixture(withChannels(2));
    fixture.open([&] {
        for (const QString &identity : {QString("127.0.0.9"), name, name + '.' + domain})
            QVERIFY2(fixture.page(1)->channel()->isMyIp(identity), qPrintable(identity));
    });
}

void TestDialog::cursorIsBusyOnlyWhileTheControllerWorks()
{
    DialogFixture fixture(withChannels(2));
    fixture.create();
    QStringList idle; // queries and commands without the busy cursor
    fixture.onExchange([&](const Exchange &exchange) {
        const QCursor *cursor = QGuiApplication::overrideCursor();
        if (!cursor || cursor->shape() != Qt::WaitCursor)
            idle << exchange.text;
    });
    fixture.controller.clearRecord();
    QVERIFY(fixture.open([&] {
        QVERIFY(!QGuiApplication::overrideCursor());
        QVERIFY(fixture.sent().size() > 30); // the opening has sent its queries
        fixture.page(0)->spinBox_port->setValue(6001);
        const int queries = fixture.sent().size();
        clickTab(fixture.tabs()->tabBar(), 2);
        QVERIFY(fixture.sent().size() > queries);
    }));
    QVERIFY(!QGuiApplication::overrideCursor());
    QVERIFY(fixture.controller.commands().contains("output net ch01 udp '127.0.0.1' 6001"));
    idle.removeAll("system model"); // queried by the validation, which opens boxes
    QCOMPARE(idle, QStringList());
}

void TestDialog::changedChannelCountRebuildsTheTabs()
{
    DialogFixture fixture(withChannels(5));
    fixture.create();
    const int width = fixture.dialog->width();
    const QPointer<ChannelWidget> first = fixture.page(0);
    // With six or more channels, an opening makes the dialog 60 pixels per channel wider than it was after
    // start(). With fewer channels, the dialog keeps its width.
    for (const auto &[channels, wider] : {std::pair(6, 360), {10, 600}, {2, 600}}) {
        fixture.change(withChannels(channels));
        fixture.open([&fixture, channels = channels] { QCOMPARE(fixture.titles(), tabTitles(channels)); });
        QCOMPARE(fixture.dialog->width(), width + wider);
    }
    QVERIFY(!first);
}

void TestDialog::openingFollowsTheLock_data()
{
    const Table<int, int, QByteArray, bool> row("minor", "third", "answer", "locked");
    row("locked", 9, 0, "no", true);
    row("answer with a trailing blank", 9, 0, "no ", false);
    row("version 1.9.-1", 9, -1, "no", true);
    row("version 1.9.-2", 9, -2, "no", false);
    row("version 1.8.9", 8, 9, "no", false);
}

void TestDialog::openingFollowsTheLock()
{
    QFETCH(int, minor);
    QFETCH(int, third);
    QFETCH(QByteArray, answer);
    QFETCH(bool, locked);
    DialogFixture fixture(withChannels(2, [&](ControllerState &state) {
        state.version.minor = minor;
        state.version.third = third;
    }));
    // This image differs in size from that of the lock.
    fixture.window.setWindowIcon(QIcon(":/act_as_router_whatsthis.png"));
    const auto iconSize = [&] { return fixture.dialog->windowIcon().availableSizes().value(0); };
    fixture.controller.overrideAnswer("config is_changeable", answer);
    QVERIFY(fixture.open([&] {
        QCOMPARE(fixture.page(0)->isEnabled(), !locked);
        const QPalette::ColorGroup group = locked ? QPalette::Disabled : QPalette::Active;
        QCOMPARE(fixture.tabs()->tabBar()->tabTextColor(0),
                 QGuiApplication::palette().color(group, QPalette::Text));
        QCOMPARE(fixture.titles().contains("+"), !locked);
        QCOMPARE(fixture.dialog->checkBox_actAsRouter->isEnabled(), !locked);
        QCOMPARE(fixture.page(1)->pushButton_closeTab->isVisibleTo(fixture.page(1)), !locked);
        QCOMPARE(iconSize(), locked ? QSize(48, 48) : QSize(364, 142));
    }));
    QCOMPARE(fixture.controller.commands().isEmpty(), locked);

    fixture.controller.overrideAnswer("config is_changeable", "yes");
    QVERIFY(fixture.open([&] {
        QCOMPARE(fixture.titles(), tabTitles(2));
        QVERIFY(fixture.page(0)->isEnabled());
        QCOMPARE(iconSize(), QSize(364, 142));
    }));
    // The first accept() after a start that is not refused writes the router mode.
    QCOMPARE(fixture.controller.commands().count("output net_via_router no"), 1);
}

void TestDialog::openingShowsTheRouterMode_data()
{
    const Table<int, bool, bool, bool, bool> row("minor", "viaRouter", "anyActive", "checked", "enabled");
    row("router mode on, no channel active", 9, true, false, true, true);
    row("router mode off", 4, false, true, false, true);
    row("router mode off, no channel active", 9, false, false, false, false);
    row("Controller without router mode", 3, true, true, false, false);
}

void TestDialog::openingShowsTheRouterMode()
{
    QFETCH(int, minor);
    QFETCH(bool, viaRouter);
    QFETCH(bool, anyActive);
    DialogFixture fixture(withChannels(1, [&](ControllerState &state) {
        state.channels[0].active = anyActive;
        state.version.minor = minor;
        state.viaRouter = viaRouter;
    }));
    fixture.open([&] {
        const QCheckBox *box = fixture.dialog->checkBox_actAsRouter;
        QTEST(box->isChecked(), "checked");
        QTEST(box->isEnabled(), "enabled");
        QCOMPARE(fixture.sent().contains("output net_via_router"), minor >= 4);
        // A click on the first channel's active box enables or disables the router box, whatever the version.
        for (const bool active : {!anyActive, anyActive}) {
            clickBox(fixture.page(0)->checkBox_active_channel);
            QCOMPARE(box->isEnabled(), active);
        }
    });
}

void TestDialog::keyboardReachesEveryControl()
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
            QTest::keyClick(widget, Qt::Key_Tab);
        } while (fixture.dialog->focusWidget() != bar && visited.size() < 20);
        // The entry of the table, between multicast and my_ip, is empty: the name tableView has no "_".
        QCOMPARE(visited.join(' '), QLatin1String("tabwidget_tabbar active_channel host multicast  my_ip "
                                                  "closeTab port sendDataDivisor actAsRouter ok"));

        // The first row, the frame counter's, is disabled. The current row is therefore the second one, and
        // Down goes to the third one.
        QTableView *types = fixture.page(1)->tableView;
        QTest::keyClick(types, Qt::Key_Down);
        QTest::keyClick(types, Qt::Key_Space);
        QVERIFY(fixture.page(1)->channel()->isTypeActive(QLatin1String("ts")));

        QTest::keyClick(bar, Qt::Key_Right);
        QCOMPARE(QAccessible::queryAccessibleInterface(bar)->text(QAccessible::Name),
                 QLatin1String("Add a channel with Ctrl + T"));
    });
}

void TestDialog::dataAreForwardedIfRouterModeIsOnAtStart()
{
    QUdpSocket receiver;
    QVERIFY(receiver.bind(QHostAddress::LocalHost));
    DialogFixture fixture(withChannels(2, [&](ControllerState &state) {
        state.channels[0].destination.port = receiver.localPort();
        state.channels[1].types = {"3d"};
        state.channels[1].active = false;
        state.viaRouter = true;
    }));
    // Delivers on another thread and returns what arrives in time.
    const auto passOn = [&](const std::function<void()> &deliver) {
        std::thread(deliver).join();
        QByteArray contents;
        while (receiver.waitForReadyRead(20)) {
            while (receiver.hasPendingDatagrams())
                contents += receiver.receiveDatagram().data();
        }
        return contents;
    };
    fixture.create();
    // The ticked types of an inactive channel are requested, too.
    QCOMPARE(fixture.link.requestedTypes(fixture.dialog.get()), QSet<QByteArray>({"fr", "6d", "3d"}));
    int frame = 0;
    QTRY_VERIFY(!passOn([&] { fixture.deliverFrame(++frame); }).isEmpty());
    // A reset drops the frame that has begun. It keeps lines that an awake worker has not handled yet, so
    // repeat it until the worker sleeps.
    const auto resetDropsFrame = [&] {
        const QByteArray received = passOn([&] {
            fixture.link.deliver("fr", "fr 500\r\n");
            fixture.link.deliverReset();
            fixture.link.deliver("6d", "6d 0\r\n");
            fixture.deliverFrame(501);
        });
        return received.contains("fr 501") && !received.contains("fr 500");
    };
    QVERIFY(comesTrue(resetDropsFrame));
    // Unticking the box stops forwarding at once, before accept().
    fixture.open([&] {
        clickBox(fixture.dialog->checkBox_actAsRouter);
        for (int i = 0; i < 5; ++i)
            QVERIFY(!passOn([&] { fixture.deliverFrame(1000); }).contains("fr 1000"));
    });
    QVERIFY(fixture.link.requestedTypes(fixture.dialog.get()).isEmpty());
}

/// Data that the host delivers while it executes the reset command reach only the other channel.
void TestDialog::closedChannelGetsNoDataDuringItsResetCommand()
{
    QUdpSocket kept, closed;
    QVERIFY(kept.bind(QHostAddress::LocalHost));
    QVERIFY(closed.bind(QHostAddress(QLatin1String("127.0.0.2"))));
    DialogFixture fixture(withChannels(2, [&](ControllerState &state) {
        state.channels[0].destination.port = kept.localPort();
        state.channels[1].destination = {Destination::Kind::Udp, "127.0.0.2", closed.localPort()};
        state.viaRouter = true;
    }));
    fixture.create();
    int received = 0;
    fixture.onExchange([&](const Exchange &exchange) {
        if (exchange.text != "output net ch02 none")
            return;
        for (int frame = 1; frame <= 1000 && received < 20; ++frame) {
            fixture.deliverFrame(frame);
            received += kept.waitForReadyRead(20) && kept.receiveDatagram().isValid();
        }
    });
    fixture.open([&] { fixture.closeLastTab(); });
    QCOMPARE(received, 20);
    QVERIFY(!closed.hasPendingDatagrams());
}

void TestDialog::catalogueChangesAreHandledTogetherAndOnlyInRouterMode_data()
{
    const Table<bool, QByteArray, QStringList> row("routing", "message", "steps");
    row("router mode on", true, "OutputTypesChanged", {"off", "on"});
    row("router mode off", false, "OutputTypesChanged", {});
    row("longer message", true, "OutputTypesChanged ", {});
}

void TestDialog::catalogueChangesAreHandledTogetherAndOnlyInRouterMode()
{
    QFETCH(bool, routing);
    QFETCH(QByteArray, message);
    DialogFixture fixture(withChannels(2, [&](ControllerState &state) { state.viaRouter = routing; }));
    fixture.create();
    fixture.change([](ControllerState &state) {
        state.catalogue.append({"7d", "New", true});
        state.channels[0].types << "7d";
    });
    QStringList steps;
    QObject scope;
    connect(fixture.dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &scope, [&](bool enable) {
        const bool known = fixture.link.requestedTypes(fixture.dialog.get()).contains("7d");
        steps << (!enable ? "off" : known ? "on" : "on before the new type is requested");
    });
    for (int burst = 1; burst <= 2; ++burst) {
        fixture.controller.clearRecord();
        steps.clear();
        // Messages on another thread are queued to the GUI thread.
        std::thread([&] {
            for (int sent = 0; sent < 5; ++sent)
                fixture.link.sendMessage(message);
        }).join();
        QVERIFY(fixture.sent().isEmpty());
        QCoreApplication::processEvents();
        QTEST(steps, "steps");
        QCOMPARE(fixture.sent().isEmpty(), steps.isEmpty());
    }
}

/// The space bar changes nothing before the user has moved the focus.
void TestDialog::openingShowsTheFocusOnTheTabRow()
{
    DialogFixture fixture(withChannels(2));
    for (int opening = 0; opening < 2; ++opening) {
        fixture.open([&] {
            QVERIFY(QTest::qWaitForWindowActive(fixture.dialog.get()));
            QWidget *focused = fixture.dialog->focusWidget();
            QCOMPARE(focused, fixture.tabs()->tabBar());
            QVERIFY(fixture.dialog->testAttribute(Qt::WA_KeyboardFocusChange));
            QTest::keyClick(focused, Qt::Key_Space);
            QVERIFY(!fixture.dialog->checkBox_actAsRouter->isChecked());
            QVERIFY(fixture.page(0)->checkBox_active_channel->isChecked());
            fixture.page(0)->checkBox_active_channel->setFocus();
        });
    }
}

QTEST_MAIN(TestDialog)
#include "test_dialog.moc"
