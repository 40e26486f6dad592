#include "channelasrouter.h"
#include "channelwidget.h"
#include "fakeiomanager.h"
#include "messageboxes.h"

#include "backendversions.h"

#include <QSignalSpy>
#include <QUdpSocket>
#include <QtTest>

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

namespace {

// This computer as a channel knows it.
const QString MonitorIp = QStringLiteral("10.0.0.5");
const QString HostName = QStringLiteral("localhost");

// Hosts with letters that need no name server: a hexadecimal address, and a name that no name server is asked
// for.
const QString OtherName = QStringLiteral("0x0a000007");
const QString BadName = QStringLiteral("bad..name");

constexpr int ChannelIndex = 2;

// One shown page with its channel, against a Controller of the newest version.
struct Page
{
    Page()
    {
        manager.answers["system model"] = "1";
        channel.setMonitorIp(MonitorIp);
        channel.setHostName(HostName);
        channel.setHost(QStringLiteral("10.1.2.3"));
    }

    void show()
    {
        widget.show();
        QVERIFY(QTest::qWaitForWindowActive(&widget));
    }

    // An active channel that goes to host, shown by the page.
    void showActive(const QString &host, bool multicast = false)
    {
        channel.setHost(host);
        channel.setMulticast(multicast);
        channel.setActive(true);
        widget.updateFromChannel();
        show();
    }

    void showTypes(const QStringList &names, const QStringList &unavailable = {})
    {
        QList<OutputTypeInfo> types;
        for (const QString &name : names)
            types << OutputTypeInfo{name, "about " + name, !unavailable.contains(name)};
        channel.setOutputTypes(types);
        widget.updateFromChannel();
    }

    void type(const QString &text)
    {
        widget.lineEdit_host->setFocus();
        widget.lineEdit_host->selectAll();
        QTest::keyClick(widget.lineEdit_host, Qt::Key_Delete);
        QTest::keyClicks(widget.lineEdit_host, text);
    }

    bool takesLetters() const
    {
        QString letter = QStringLiteral("a");
        int position = 0;
        return widget.lineEdit_host->validator()->validate(letter, position) == QValidator::Acceptable;
    }

    QStandardItem *identifier(const QString &name) { return channel.typeModel()->findItems(name).value(0); }

    FakeIOManager manager;
    BackendVersions versions{{0, 0, 0}, 1, 9, 0};
    ChannelAsRouter channel{&manager, ChannelIndex, &versions};
    ChannelWidget widget{&manager, &channel, &versions};
};

// A check box takes a click on its square and its text alone, and it may be wider than these.
void click(QAbstractButton *button)
{
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

void doubleClick(QTableView *table, const QModelIndex &index)
{
    // Away from the square, which takes single clicks. A double click is the second of two clicks.
    const QRect cell = table->visualRect(index);
    const QPoint text(cell.right() - 4, cell.center().y());
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, text);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, text);
    QTest::mouseRelease(table->viewport(), Qt::LeftButton, {}, text);
}

} // namespace

class TestChannelWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void freshPage();
    void enableRule_data();
    void enableRule();
    void boxes_data();
    void boxes();
    void nameMovesToChannel();
    void typedHost_data();
    void typedHost();
    void hostReachesChannelOnEnter();
    void valuesOutOfRangeFromController();
    void spinBoxesEditChannel();
    void doubleClickTogglesTick_data();
    void doubleClickTogglesTick();
    void hiddenRows();
    void tabColor();
    void toggleIsAnnouncedLast();
    void toggleStartsForwarding();
    void closeButton();
    void keyboard();
    void validate_data();
    void validate();
    void escapeRefusesUnresolvedHost();
};

void TestChannelWidget::initTestCase()
{
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Active, QPalette::Text, Qt::blue);
    palette.setColor(QPalette::Disabled, QPalette::Text, Qt::red);
    QGuiApplication::setPalette(palette);
}

void TestChannelWidget::freshPage()
{
    Page page;
    page.show();

    QCOMPARE(page.widget.lineEdit_host->text(), QString());
    QCOMPARE(page.widget.spinBox_port->value(), 1024);
    QCOMPARE(page.widget.spinBox_sendDataDivisor->value(), 1);
    QVERIFY(!page.widget.checkBox_active_channel->isChecked());
    QVERIFY(!page.widget.checkBox_my_ip->isChecked());
    QVERIFY(!page.widget.checkBox_multicast->isChecked());

    QStringList usable;
    const QList<QWidget *> children =
        page.widget.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    for (QWidget *child : children)
        if (child->isVisible() && child->isEnabled())
            usable << child->objectName();
    QCOMPARE(usable, QStringList{"checkBox_active_channel"});
}

void TestChannelWidget::enableRule_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("third");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("divisor");
    QTest::addColumn<bool>("hostField");

    QTest::newRow("newest") << 1 << 9 << 0 << "10.1.2.3" << true << true;
    QTest::newRow("this computer") << 1 << 9 << 0 << MonitorIp << true << false;
    QTest::newRow("first with a divisor") << 1 << 6 << -1 << "10.1.2.3" << true << true;
    QTest::newRow("test build before it") << 1 << 6 << -2 << "10.1.2.3" << false << true;
    QTest::newRow("older minor") << 1 << 5 << 99 << "10.1.2.3" << false << true;
    QTest::newRow("newer major") << 2 << 0 << -9 << "10.1.2.3" << true << true;
}

void TestChannelWidget::enableRule()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, third);
    QFETCH(QString, host);
    QFETCH(bool, divisor);
    QFETCH(bool, hostField);

    Page page;
    page.versions = {{0, 0, 0}, major, minor, third};
    page.channel.setHost(host);
    page.widget.updateFromChannel();
    page.show();

    for (const bool active : {true, false, true}) {
        click(page.widget.checkBox_active_channel);
        QCOMPARE(page.channel.isActive(), active);
        QVERIFY(page.widget.checkBox_active_channel->isEnabled());
        const QList<QWidget *> plain = {page.widget.tableView,      page.widget.label_host,
                                        page.widget.label_port,     page.widget.spinBox_port,
                                        page.widget.checkBox_my_ip, page.widget.checkBox_multicast};
        for (QWidget *widget : plain)
            QVERIFY2(widget->isEnabled() == active, qPrintable(widget->objectName()));
        QCOMPARE(page.widget.label_sendDataDivisor->isEnabled(), active && divisor);
        QCOMPARE(page.widget.spinBox_sendDataDivisor->isEnabled(), active && divisor);
        QCOMPARE(page.widget.lineEdit_host->isEnabled(), active && hostField);
    }
}

void TestChannelWidget::boxes_data()
{
    // Steps: "m" clicks multicast, "t" clicks this computer, any other text is typed.
    QTest::addColumn<QString>("host");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("fieldEnabled");
    QTest::addColumn<bool>("names");
    QTest::addColumn<bool>("multicast");
    QTest::addColumn<bool>("thisComputer");
    QTest::addColumn<QString>("channelHost");

    const auto row = [](const char *name, const QString &host, const QStringList &steps) -> QTestData & {
        return QTest::newRow(name) << host << steps;
    };
    const QString group = QStringLiteral("239.1.2.3");
    const QString other = QStringLiteral("10.1.2.3");

    row("multicast on, digits", other, {"m"}) << other << true << false << true << false << other;
    row("multicast on, empty", "", {"m"}) << "" << true << false << true << false << "";
    row("multicast on, name", OtherName, {"m"}) << "" << true << false << true << false << OtherName;
    row("multicast on, name typed", other, {OtherName, "m"})
        << "" << true << false << true << false << OtherName;
    row("multicast off, nothing typed", OtherName, {"m", "m"})
        << OtherName << true << true << false << false << OtherName;
    row("multicast off, group typed", OtherName, {"m", group, "m"})
        << group << true << true << false << false << group;
    row("multicast off, host is this computer", HostName, {"m", "m"})
        << HostName << true << true << false << true << HostName;
    row("this computer on", other, {"t"}) << MonitorIp << false << true << false << true << other;
    row("this computer on, its name typed", other, {HostName, "t"})
        << HostName << false << true << false << true << HostName;
    row("this computer off", other, {"t", "t"}) << MonitorIp << true << true << false << false << other;
    row("this computer, then multicast", other, {"t", "m"})
        << MonitorIp << true << false << true << false << other;
    row("this computer by name, then multicast", other, {HostName, "t", "m"})
        << "" << true << false << true << false << HostName;
    row("multicast, then this computer", other, {"m", group, "t"})
        << MonitorIp << false << true << false << false << group;
    row("multicast with own address, then this computer", MonitorIp, {"m", "t"})
        << MonitorIp << false << true << false << true << MonitorIp;
}

void TestChannelWidget::boxes()
{
    QFETCH(QString, host);
    QFETCH(QStringList, steps);

    Page page;
    page.showActive(host);
    for (const QString &step : qAsConst(steps)) {
        if (step == "m")
            click(page.widget.checkBox_multicast);
        else if (step == "t")
            click(page.widget.checkBox_my_ip);
        else
            page.type(step);
    }

    QTEST(page.widget.lineEdit_host->text(), "field");
    QTEST(page.widget.lineEdit_host->isEnabled(), "fieldEnabled");
    QTEST(page.takesLetters(), "names");
    QTEST(page.widget.checkBox_multicast->isChecked(), "multicast");
    QTEST(page.channel.isMulticast(), "multicast");
    QTEST(page.widget.checkBox_my_ip->isChecked(), "thisComputer");
    QTEST(page.channel.host(), "channelHost");

    // Whatever the boxes say, what the field shows is what is committed.
    page.widget.flushChangesToChannel();
    QTEST(page.channel.host(), "field");
}

void TestChannelWidget::nameMovesToChannel()
{
    Page read;
    read.showActive(OtherName, true);
    QCOMPARE(read.widget.lineEdit_host->text(), QString());
    QCOMPARE(read.channel.host(), OtherName);
    QVERIFY(!read.takesLetters());

    // The name that the page itself puts in has never been typed.
    Page filled;
    filled.channel.setMonitorIp(OtherName);
    filled.showActive(QStringLiteral("10.1.2.3"));
    click(filled.widget.checkBox_my_ip);
    QCOMPARE(filled.widget.lineEdit_host->text(), OtherName);
    click(filled.widget.checkBox_multicast);
    QCOMPARE(filled.widget.lineEdit_host->text(), QString());
    QCOMPARE(filled.channel.host(), OtherName);
}

void TestChannelWidget::typedHost_data()
{
    QTest::addColumn<bool>("multicast");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("text");

    QTest::newRow("name") << false << "My_tracker-1.lab $4;"
                          << "Mytracker-1.lab4";
    QTest::newRow("group") << true << "x224-.0 .1.0y"
                           << "224.0.1.0";
    QTest::newRow("too long") << false << QString(120, 'a') << QString(100, 'a');
}

void TestChannelWidget::typedHost()
{
    QFETCH(bool, multicast);
    QFETCH(QString, keys);

    Page page;
    page.showActive(QStringLiteral("10.1.2.3"), multicast);
    page.type(keys);
    QTEST(page.widget.lineEdit_host->text(), "text");
}

void TestChannelWidget::hostReachesChannelOnEnter()
{
    Page page;
    page.showActive(QStringLiteral("10.1.2.3"));
    page.type(QStringLiteral("10.1.2.9"));
    QCOMPARE(page.channel.host(), QStringLiteral("10.1.2.3"));
    QTest::keyClick(page.widget.lineEdit_host, Qt::Key_Return);
    QCOMPARE(page.channel.host(), QStringLiteral("10.1.2.9"));
}

void TestChannelWidget::valuesOutOfRangeFromController()
{
    Page page;
    page.manager.answers["output net ch03"] = "udp 10.1.2.3 80";
    page.manager.answers["output net_active ch03"] = "yes";
    page.manager.answers["output net_divisor ch03"] = "1";

    // The form's default is the nearest port already: the box does not change, and the channel keeps its own.
    page.channel.load();
    QCOMPARE(page.widget.spinBox_port->value(), 1024);
    QCOMPARE(page.channel.port(), 80);
    QVERIFY(!page.channel.hasChanges());

    page.manager.answers["output net ch03"] = "udp 10.1.2.3 5000";
    page.channel.load();
    page.manager.answers["output net ch03"] = "udp 10.1.2.3 80";
    page.manager.answers["output net_divisor ch03"] = "20000";
    page.channel.load();
    QCOMPARE(page.widget.spinBox_port->value(), 1024);
    QCOMPARE(page.channel.port(), 1024);
    QCOMPARE(page.widget.spinBox_sendDataDivisor->value(), 10000);
    QCOMPARE(page.channel.dataDivisor(), 10000);
    QVERIFY(page.channel.hasChanges());
}

void TestChannelWidget::spinBoxesEditChannel()
{
    Page page;
    page.showActive(QStringLiteral("10.1.2.3"));
    QTest::keyClick(page.widget.spinBox_port, Qt::Key_Up);
    QTest::keyClick(page.widget.spinBox_sendDataDivisor, Qt::Key_PageUp);
    QCOMPARE(page.channel.port(), 1025);
    QCOMPARE(page.channel.dataDivisor(), 11);
}

void TestChannelWidget::doubleClickTogglesTick_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("column");
    QTest::addColumn<Qt::CheckState>("before");
    QTest::addColumn<Qt::CheckState>("after");

    QTest::newRow("on") << "6d" << 0 << Qt::Unchecked << Qt::Checked;
    QTest::newRow("off") << "6d" << 0 << Qt::Checked << Qt::Unchecked;
    QTest::newRow("in between") << "6d" << 0 << Qt::PartiallyChecked << Qt::Unchecked;
    QTest::newRow("description") << "6d" << 1 << Qt::Unchecked << Qt::Unchecked;
    QTest::newRow("type that opens frames") << "fr" << 0 << Qt::Checked << Qt::Checked;
    QTest::newRow("not available") << "3d" << 0 << Qt::Unchecked << Qt::Unchecked;
}

void TestChannelWidget::doubleClickTogglesTick()
{
    QFETCH(QString, type);
    QFETCH(int, column);
    QFETCH(Qt::CheckState, before);
    QFETCH(Qt::CheckState, after);

    Page page;
    page.showActive(QStringLiteral("10.1.2.3"));
    page.showTypes({"fr", "6d", "3d"}, {"3d"});
    QStandardItem *item = page.identifier(type);
    QVERIFY(item);
    item->setCheckState(before);

    doubleClick(page.widget.tableView, item->index().siblingAtColumn(column));
    QCOMPARE(item->checkState(), after);
}

void TestChannelWidget::hiddenRows()
{
    Page page;
    QTableView *table = page.widget.tableView;
    page.showTypes({"6d", "2dmon", "zz"});
    QCOMPARE(page.channel.hiddenRows(), QList<int>{1});
    QVERIFY(!table->isRowHidden(0) && table->isRowHidden(1) && !table->isRowHidden(2));

    table->showRow(1);
    page.widget.updateFromChannel();
    QVERIFY(table->isRowHidden(1));

    table->hideRow(0);
    page.showTypes({"6d", "3d", "zz"});
    for (int row = 0; row < 3; ++row)
        QVERIFY(!table->isRowHidden(row));
}

void TestChannelWidget::tabColor()
{
    Page page;
    page.widget.updateFromChannel();
    page.show();
    QSignalSpy colors(&page.widget, &ChannelWidget::changeChannelTabTitleFontColor);
    const auto lastColor = [&] { return colors.isEmpty() ? QColor() : colors.last()[1].value<QColor>(); };

    click(page.widget.checkBox_active_channel);
    QCOMPARE(lastColor(), QColor(Qt::blue));
    QCOMPARE(colors.last()[0].toInt(), ChannelIndex);

    page.widget.setEnabled(false);
    page.widget.updateTabColor();
    QCOMPARE(lastColor(), QColor(Qt::red));

    page.widget.setEnabled(true);
    page.widget.updateFromChannel();
    QCOMPARE(lastColor(), QColor(Qt::blue));
    click(page.widget.checkBox_active_channel);
    QCOMPARE(lastColor(), QColor(Qt::red));
}

void TestChannelWidget::toggleIsAnnouncedLast()
{
    Page page;
    page.show();
    QSignalSpy colors(&page.widget, &ChannelWidget::changeChannelTabTitleFontColor);
    QList<bool> seen;
    connect(&page.widget, &ChannelWidget::checkBox_active_channel_toggled, this, [&] {
        seen << page.channel.isActive() << page.widget.spinBox_port->isEnabled() << (colors.size() == 1);
    });
    click(page.widget.checkBox_active_channel);
    QCOMPARE(seen, (QList<bool>{true, true, true}));
}

void TestChannelWidget::toggleStartsForwarding()
{
    QUdpSocket receiver;
    QVERIFY(receiver.bind(QHostAddress::LocalHost));
    Page page;
    page.channel.setHost(QStringLiteral("127.0.0.1"));
    page.channel.setPort(receiver.localPort());
    page.showTypes({"fr", "6d"});
    page.identifier(QStringLiteral("fr"))->setCheckState(Qt::Checked);
    page.identifier(QStringLiteral("6d"))->setCheckState(Qt::Checked);
    page.show();

    const auto deliver = [&](int frame) {
        page.channel.enqueue("fr", "fr " + QByteArray::number(frame) + "\r\n");
        page.channel.enqueue("6d", "6d 0\r\n");
    };
    int frame = 0;

    // Router mode takes effect with the next toggle, not at once.
    click(page.widget.checkBox_active_channel);
    page.widget.setRouterMode(true);
    for (int i = 0; i < 3; ++i)
        deliver(++frame);
    const int lost = frame;
    click(page.widget.checkBox_active_channel);
    click(page.widget.checkBox_active_channel);

    const auto received = [&] {
        deliver(++frame);
        return receiver.hasPendingDatagrams();
    };
    QTRY_VERIFY(received());
    QByteArray datagram(1000, '\0');
    datagram.truncate(int(receiver.readDatagram(datagram.data(), datagram.size())));
    QVERIFY2(datagram.endsWith("\r\n6d 0\r\n"), datagram.constData());
    QVERIFY(datagram.startsWith("fr "));
    QVERIFY(datagram.mid(3).split('\r').first().toInt() > lost);
}

void TestChannelWidget::closeButton()
{
    Page page;
    page.show();
    QSignalSpy closed(&page.widget, &ChannelWidget::closeTab);
    QVERIFY(!page.widget.pushButton_closeTab->isVisible());
    page.widget.setCloseButtonVisible(true);
    QVERIFY(page.widget.pushButton_closeTab->isVisible());

    // An inactive channel can be closed too.
    click(page.widget.pushButton_closeTab);
    QCOMPARE(closed.size(), 1);
    QCOMPARE(closed.first().first().toInt(), ChannelIndex);
}

void TestChannelWidget::keyboard()
{
    Page page;
    page.showActive(QStringLiteral("10.1.2.3"));
    const auto alt = [&](Qt::Key key) { QTest::keyClick(&page.widget, key, Qt::AltModifier); };

    alt(Qt::Key_U);
    QVERIFY(page.widget.spinBox_port->hasFocus());
    alt(Qt::Key_D);
    QVERIFY(page.widget.spinBox_sendDataDivisor->hasFocus());
    alt(Qt::Key_S);
    QVERIFY(page.widget.lineEdit_host->hasFocus());

    // A key presses a box for a moment, and only its release counts.
    alt(Qt::Key_M);
    QTRY_VERIFY(page.channel.isMulticast());
    alt(Qt::Key_T);
    QTRY_VERIFY(!page.channel.isMulticast());
    QCOMPARE(page.widget.lineEdit_host->text(), MonitorIp);
    alt(Qt::Key_A);
    QTRY_VERIFY(!page.channel.isActive());

    page.showActive(QStringLiteral("10.1.2.3"));
    page.widget.checkBox_active_channel->setFocus();
    const QList<QWidget *> order = {page.widget.lineEdit_host, page.widget.checkBox_multicast,
                                    page.widget.tableView};
    for (QWidget *next : order) {
        QTest::keyClick(page.widget.focusWidget(), Qt::Key_Tab);
        QCOMPARE(page.widget.focusWidget(), next);
    }
}

void TestChannelWidget::validate_data()
{
    using Box = QMessageBox;
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("multicast");
    QTest::addColumn<QByteArray>("model"); // null: the query fails, whatever it answers
    QTest::addColumn<QString>("message");  // null: no box
    QTest::addColumn<Box::StandardButton>("answer");
    QTest::addColumn<bool>("result");

    const auto emptyHost = QStringLiteral("Invalid empty host for channel 3");
    const auto loopback = [](const char *host) {
        return QStringLiteral("If you intend this computer to be the destination host of channel 3 please \n"
                              "use the 'this computer' check box instead of '%1'.")
            .arg(host);
    };
    const auto noGroup = [](const char *host) {
        return QStringLiteral("Invalid multicast ip address '%1' for channel 3\n"
                              "Multicast ip addresses are valid\nfrom 224.0.1.0 to 239.255.255.255.")
            .arg(host);
    };
    const auto noHost = [](const char *host) {
        return QStringLiteral("Invalid host '%1' for channel 3\nValid hosts don't include multicast ip "
                              "addresses\nfrom 224.0.0.0 to 239.255.255.255.")
            .arg(host);
    };
    const auto unresolved = [](const QString &host) {
        return QStringLiteral("Cannot resolve host name '%1' for channel 3").arg(host);
    };
    const auto unresolvedGroup = [](const QString &host) {
        return QStringLiteral("Multicast ip cannot resolve host name '%1' for channel 3").arg(host);
    };
    const auto refused = [](const char *name, const QString &field, bool multicast, const QByteArray &model,
                            const QString &message) {
        QTest::newRow(name) << field << multicast << model << message << Box::Cancel << false;
    };
    const auto passes = [](const char *name, const QString &field, bool multicast, const QByteArray &model) {
        QTest::newRow(name) << field << multicast << model << QString() << Box::NoButton << true;
    };

    refused("empty", "", false, "1", emptyHost);
    refused("empty group", "", true, "100", emptyHost);

    refused("localhost", "localhost", false, "1", loopback("localhost"));
    refused("LocalHost", "LocalHost", true, "1", loopback("LocalHost"));
    refused("127.0.0.1", "127.0.0.1", false, "99", loopback("127.0.0.1"));
    refused("model unknown", "127.0.0.1", false, {}, loopback("127.0.0.1"));
    passes("model 100, name", "LOCALHOST", false, "100");
    passes("model 100, address", "127.0.0.1", false, "100");
    refused("model 100, group", "127.0.0.1", true, "100", noGroup("127.0.0.1"));
    passes("127.0.0.2", "127.0.0.2", false, "1");
    passes("127.1", "127.1", false, "1");

    refused("unresolved, cancelled", BadName, false, "1", unresolved(BadName));
    QTest::newRow("unresolved, ignored")
        << BadName << false << QByteArray("1") << unresolved(BadName) << Box::Ignore << true;
    refused("no address", "0.0.0.0", false, "1", unresolved("0.0.0.0"));
    refused("unresolved group", BadName, true, "1", unresolvedGroup(BadName));
    refused("no address, group", "0.0.0.0", true, "1", unresolvedGroup("0.0.0.0"));

    passes("first group", "224.0.1.0", true, "1");
    passes("last group", "239.255.255.255", true, "1");
    refused("below the groups", "224.0.0.255", true, "1", noGroup("224.0.0.255"));
    refused("below the block", "223.255.255.255", true, "1", noGroup("223.255.255.255"));
    refused("above the groups", "240.0.0.0", true, "1", noGroup("240.0.0.0"));

    passes("last host below the block", "223.255.255.255", false, "1");
    passes("first host above the block", "240.0.0.0", false, "1");
    refused("first of the block", "224.0.0.0", false, "1", noHost("224.0.0.0"));
    refused("last reserved group", "224.0.0.255", false, "1", noHost("224.0.0.255"));
    refused("first group as host", "224.0.1.0", false, "1", noHost("224.0.1.0"));
    refused("last of the block", "239.255.255.255", false, "1", noHost("239.255.255.255"));

    passes("own address", MonitorIp, false, "1");
}

void TestChannelWidget::validate()
{
    QFETCH(QString, field);
    QFETCH(bool, multicast);
    QFETCH(QByteArray, model);
    QFETCH(QString, message);
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(bool, result);

    // The text counts the same whether the channel has it already, with its address, or not.
    for (const bool flushed : {false, true}) {
        Page page;
        page.showActive(QStringLiteral("10.1.2.3"), multicast);
        page.manager.answers["system model"] = model.isNull() ? "100" : model;
        if (model.isNull())
            page.manager.failing << "system model";
        page.widget.lineEdit_host->setText(field);
        if (flushed)
            page.widget.flushChangesToChannel();
        const QString channelHost = page.channel.host();
        page.manager.takeJournal();

        MessageBoxes boxes({answer});
        QCOMPARE(page.widget.validate(), result);
        QCOMPARE(boxes.texts, message.isNull() ? QStringList() : QStringList(message));
        QCOMPARE(page.manager.journal, field.isEmpty() ? QStringList() : QStringList("system model"));
        QCOMPARE(page.widget.lineEdit_host->text(), field);
        QCOMPARE(page.channel.host(), channelHost);
        if (!message.isNull()) {
            const bool asks = message.startsWith("Cannot");
            const bool plain = message.startsWith("Invalid empty") || message.startsWith("If you");
            QCOMPARE(boxes.titles, QStringList("Network Settings"));
            QCOMPARE(boxes.buttons.first(),
                     asks ? QMessageBox::Cancel | QMessageBox::Ignore : QMessageBox::Cancel);
            QCOMPARE(boxes.defaults.first(), asks || plain ? QMessageBox::Cancel : QMessageBox::NoButton);
        }

        // An inactive channel passes with whatever stands there, and the Controller is not asked.
        page.channel.setActive(false);
        page.manager.takeJournal();
        QVERIFY(page.widget.validate());
        QCOMPARE(boxes.texts.size(), message.isNull() ? 0 : 1);
        QCOMPARE(page.manager.journal, QStringList());
    }
}

void TestChannelWidget::escapeRefusesUnresolvedHost()
{
    Page page;
    page.showActive(BadName);
    QString text;
    QTimer::singleShot(0, &page.widget, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        text = box->text();
        QTest::keyClick(box, Qt::Key_Escape);
    });
    QVERIFY(!page.widget.validate());
    QVERIFY(text.startsWith("Cannot resolve"));
}

QTEST_MAIN(TestChannelWidget)
#include "test_channelwidget.moc"
