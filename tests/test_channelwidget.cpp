#include "channelasrouter.h"
#include "channelwidget.h"
#include "fakeiomanager.h"
#include "messageboxes.h"

#include "backendversions.h"

#include <QUdpSocket>
#include <QtTest>

namespace {

// This computer as a channel knows it.
const QString MonitorIp = QStringLiteral("10.0.0.5");
const QString HostName = QStringLiteral("localhost");

// Hosts with letters that need no name server: a hexadecimal address, and a name that no name server is asked
// for.
const QString OtherName = QStringLiteral("0x0a000007");
const QString BadName = QStringLiteral("bad..name");

const QString Other = QStringLiteral("10.1.2.3");
constexpr int ChannelIndex = 2;

// One shown page with its channel, against a Controller of the newest version.
struct Page
{
    Page()
    {
        channel.setMonitorIp(MonitorIp);
        channel.setHostName(HostName);
        channel.setHost(Other);
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
    }

    // Types of which the last is not available.
    void showTypes(const QStringList &names)
    {
        QList<OutputTypeInfo> types;
        for (const QString &name : names)
            types << OutputTypeInfo{name, "about " + name, name != names.last()};
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

} // namespace

class TestChannelWidget : public QObject
{
    Q_OBJECT

private slots:
    void freshPage();
    void enableRule();
    void boxes_data();
    void boxes();
    void typedHost();
    void valuesOutOfRangeFromController();
    void doubleClickTogglesTick();
    void hiddenRows();
    void activeBoxIsAnnounced();
    void toggleStartsForwarding();
    void validate_data();
    void validate();
};

void TestChannelWidget::freshPage()
{
    Page page;
    QCOMPARE(page.widget.lineEdit_host->text(), QString());
    QCOMPARE(page.widget.spinBox_port->value(), 1024);
    QCOMPARE(page.widget.spinBox_sendDataDivisor->value(), 1);
    QStringList usable;
    const auto children = page.widget.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    for (QWidget *child : children)
        if (child->isVisible() && child->isEnabled())
            usable << child->objectName();
    QCOMPARE(usable, QStringList{"checkBox_active_channel"});
    for (QCheckBox *box : page.widget.findChildren<QCheckBox *>())
        QVERIFY(!box->isChecked());
}

void TestChannelWidget::enableRule()
{
    Page page;
    for (const int minor : {5, 6}) {
        page.versions.minor = minor;
        for (const QString &host : {Other, MonitorIp}) {
            page.showActive(host);
            for (const bool active : {false, true}) {
                click(page.widget.checkBox_active_channel);
                QCOMPARE(page.channel.isActive(), active);
                QVERIFY(page.widget.checkBox_active_channel->isEnabled());
                for (const char *name : {"tableView", "label_host", "label_port", "spinBox_port",
                                         "checkBox_my_ip", "checkBox_multicast"})
                    QVERIFY2(page.widget.findChild<QWidget *>(name)->isEnabled() == active, name);
                QCOMPARE(page.widget.label_sendDataDivisor->isEnabled(), active && minor == 6);
                QCOMPARE(page.widget.spinBox_sendDataDivisor->isEnabled(), active && minor == 6);
                QCOMPARE(page.widget.lineEdit_host->isEnabled(), active && host == Other);
            }
        }
    }
}

void TestChannelWidget::boxes_data()
{
    // Steps on a page that shows the host: "m" clicks multicast, "t" clicks this computer, "g" shows the host
    // as a group, "i" names this computer, any other text is typed. Then the field, which boxes are ticked,
    // whether the field is open and takes names, and the channel's host.
    QTest::addColumn<QString>("host");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const QString &host, const QStringList &steps, const QString &field,
                        const char *page, const QString &channelHost) {
        QTest::newRow(name) << host << steps << field << field + ", " + page + ", " + channelHost;
    };
    const QString group = QStringLiteral("239.1.2.3");
    const char *const digits = "multicast open digits";
    const char *const names = "open names";
    const char *const mine = "mine closed names";

    row("multicast on", Other, {"m"}, Other, digits, Other);
    row("multicast on, empty", "", {"m"}, "", digits, "");
    row("multicast on, name", OtherName, {"m"}, "", digits, OtherName);
    row("multicast on, name typed", Other, {OtherName, "m"}, "", digits, OtherName);
    row("multicast read, name", OtherName, {"g"}, "", digits, OtherName);
    row("multicast off, nothing typed", OtherName, {"m", "m"}, OtherName, names, OtherName);
    row("multicast off, group typed", OtherName, {"m", group, "m"}, group, names, group);
    row("multicast off, own host", HostName, {"m", "m"}, HostName, "mine open names", HostName);
    row("this computer on", Other, {"t"}, MonitorIp, mine, Other);
    row("this computer on, its name typed", Other, {HostName, "t"}, HostName, mine, HostName);
    row("this computer off", Other, {"t", "t"}, MonitorIp, names, Other);
    row("this computer, then multicast", Other, {"t", "m"}, MonitorIp, digits, Other);
    row("by name, then multicast", Other, {HostName, "t", "m"}, "", digits, HostName);
    row("never typed, then multicast", Other, {"i", "t", "m"}, "", digits, OtherName);
    row("multicast, then this computer", Other, {"m", group, "t"}, MonitorIp, "closed names", group);
    row("multicast, own address, then this computer", MonitorIp, {"m", "t"}, MonitorIp, mine, MonitorIp);
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
        else if (step == "g")
            page.showActive(host, true);
        else if (step == "i")
            page.channel.setMonitorIp(OtherName);
        else
            page.type(step);
    }
    const QLineEdit *field = page.widget.lineEdit_host;
    const QString multicast = page.widget.checkBox_multicast->isChecked() ? "multicast " : "";
    const QString mine = page.widget.checkBox_my_ip->isChecked() ? "mine " : "";
    const QString mode = page.takesLetters() ? " names" : " digits";
    QTEST(field->text() + ", " + multicast + mine + (field->isEnabled() ? "open" : "closed") + mode + ", " +
              page.channel.host(),
          "expected");
    QCOMPARE(page.channel.isMulticast(), page.widget.checkBox_multicast->isChecked());
    // Whatever the boxes say, what the field shows is what is committed.
    page.widget.flushChangesToChannel();
    QTEST(page.channel.host(), "field");
}

void TestChannelWidget::typedHost()
{
    Page page;
    const QLineEdit *field = page.widget.lineEdit_host;
    page.showActive(Other, true);
    page.type("x224-.0 .1.0y");
    QCOMPARE(field->text(), QString("224.0.1.0"));
    page.showActive(Other);
    page.type(QString(120, 'a'));
    QCOMPARE(field->text(), QString(100, 'a'));
    page.type("My_tracker-1.lab $4;");
    QCOMPARE(field->text(), QString("Mytracker-1.lab4"));
    page.type("10.1.2.9");
    QCOMPARE(page.channel.host(), Other);
    QTest::keyClick(page.widget.lineEdit_host, Qt::Key_Return);
    QCOMPARE(page.channel.host(), QString("10.1.2.9"));
}

void TestChannelWidget::valuesOutOfRangeFromController()
{
    Page page;
    page.manager.answers = {{"output net ch03", "udp 10.1.2.3 80"}, {"output net_divisor ch03", "1"}};
    // The form's default is the nearest port already: the box does not change, and the channel keeps its own.
    page.channel.load();
    QCOMPARE(page.widget.spinBox_port->value(), 1024);
    QCOMPARE(page.channel.port(), 80);
    QVERIFY(!page.channel.hasChanges());

    page.manager.answers["output net_divisor ch03"] = "20000";
    page.widget.spinBox_port->setValue(5000);
    page.channel.load();
    QCOMPARE(page.widget.spinBox_port->value(), 1024);
    QCOMPARE(page.channel.port(), 1024);
    QCOMPARE(page.widget.spinBox_sendDataDivisor->value(), 10000);
    QCOMPARE(page.channel.dataDivisor(), 10000);
    QVERIFY(page.channel.hasChanges());
}

void TestChannelWidget::doubleClickTogglesTick()
{
    const auto toggled = [](const char *type, int column, Qt::CheckState before) {
        Page page;
        page.showActive(Other);
        page.showTypes({"fr", "6d", "3d"});
        QStandardItem *item = page.channel.typeModel()->findItems(type).value(0);
        item->setCheckState(before);
        // Away from the square, which takes single clicks. A double click is the second of two clicks.
        const QTableView *table = page.widget.tableView;
        const QPoint text = table->visualRect(item->index().siblingAtColumn(column)).center();
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, text);
        QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, text);
        return item->checkState();
    };
    QCOMPARE(toggled("6d", 0, Qt::Unchecked), Qt::Checked);
    QCOMPARE(toggled("6d", 0, Qt::PartiallyChecked), Qt::Unchecked);
    QCOMPARE(toggled("6d", 1, Qt::Unchecked), Qt::Unchecked);
    QCOMPARE(toggled("fr", 0, Qt::Checked), Qt::Checked);
    QCOMPARE(toggled("3d", 0, Qt::Unchecked), Qt::Unchecked);
}

void TestChannelWidget::hiddenRows()
{
    Page page;
    QTableView *table = page.widget.tableView;
    page.showTypes({"6d", "2dmon", "zz"});
    QVERIFY(!table->isRowHidden(0) && table->isRowHidden(1) && !table->isRowHidden(2));
    table->hideRow(0);
    table->showRow(1);
    page.widget.updateFromChannel();
    QVERIFY(!table->isRowHidden(0) && table->isRowHidden(1) && !table->isRowHidden(2));
}

void TestChannelWidget::activeBoxIsAnnounced()
{
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Active, QPalette::Text, Qt::blue);
    palette.setColor(QPalette::Disabled, QPalette::Text, Qt::red);
    QGuiApplication::setPalette(palette);
    Page page;
    QList<QColor> colors;
    connect(&page.widget, &ChannelWidget::changeChannelTabTitleFontColor, this,
            [&](int index, const QColor &color) {
                QCOMPARE(index, ChannelIndex);
                colors << color;
            });
    // Last of all, when everything else has happened.
    int toggles = 0;
    connect(&page.widget, &ChannelWidget::checkBox_active_channel_toggled, this, [&] {
        QCOMPARE(colors.size(), ++toggles);
        QCOMPARE(page.channel.isActive(), page.widget.spinBox_port->isEnabled());
    });
    click(page.widget.checkBox_active_channel);
    click(page.widget.checkBox_active_channel);
    click(page.widget.checkBox_active_channel);
    QCOMPARE(toggles, 3);
    page.widget.setEnabled(false);
    page.widget.updateTabColor();
    page.widget.setEnabled(true);
    page.widget.updateFromChannel();
    QCOMPARE(colors, (QList<QColor>{Qt::blue, Qt::red, Qt::blue, Qt::red, Qt::blue}));
}

void TestChannelWidget::toggleStartsForwarding()
{
    QUdpSocket receiver;
    QVERIFY(receiver.bind(QHostAddress::LocalHost));
    Page page;
    page.channel.setHost(QStringLiteral("127.0.0.1"));
    page.channel.setPort(receiver.localPort());
    page.showTypes({"fr", "6d"});
    page.channel.typeModel()->item(0)->setCheckState(Qt::Checked);
    int frame = 0;
    const auto deliver = [&] { page.channel.enqueue("fr", "fr " + QByteArray::number(++frame) + "\r\n"); };

    // Router mode takes effect with the next toggle, not at once.
    click(page.widget.checkBox_active_channel);
    page.widget.setRouterMode(true);
    deliver();
    deliver();
    click(page.widget.checkBox_active_channel);
    click(page.widget.checkBox_active_channel);
    QTRY_VERIFY((deliver(), receiver.hasPendingDatagrams()));
    char text[16] = {};
    receiver.readDatagram(text, sizeof text - 1);
    QVERIFY2(QByteArray(text).mid(3).split('\r')[0].toInt() > 2, text);
}

void TestChannelWidget::validate_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("multicast");
    QTest::addColumn<int>("model");       // 0: the query answers 100, yet fails
    QTest::addColumn<QString>("message"); // empty: no box; else with the field for %1
    QTest::addColumn<int>("answer");      // 0: Escape
    const auto row = [](const QString &field, bool multicast, int model, const char *message = "",
                        int answer = QMessageBox::Cancel) {
        QTest::addRow("%s %d %d %d", qPrintable(field), multicast, model, answer)
            << field << multicast << model << QString(message) << answer;
    };
    const char *const empty = "Invalid empty host for channel 3";
    const char *const loopback =
        "If you intend this computer to be the destination host of channel 3 please \n"
        "use the 'this computer' check box instead of '%1'.";
    const char *const noGroup = "Invalid multicast ip address '%1' for channel 3\n"
                                "Multicast ip addresses are valid\nfrom 224.0.1.0 to 239.255.255.255.";
    const char *const noHost = "Invalid host '%1' for channel 3\nValid hosts don't include multicast ip "
                               "addresses\nfrom 224.0.0.0 to 239.255.255.255.";
    const char *const unresolved = "Cannot resolve host name '%1' for channel 3";
    const char *const unresolvedGroup = "Multicast ip cannot resolve host name '%1' for channel 3";

    row("", false, 1, empty);
    row("", true, 100, empty);
    row("LocalHost", true, 1, loopback);
    row("127.0.0.1", false, 99, loopback);
    row("127.0.0.1", false, 0, loopback);
    row("LOCALHOST", false, 100);
    row("127.0.0.1", false, 100);
    row("127.0.0.1", true, 100, noGroup);
    row("127.0.0.2", false, 1);
    row("127.1", false, 1);
    row(BadName, false, 1, unresolved);
    row(BadName, false, 1, unresolved, QMessageBox::Ignore);
    row(BadName, false, 1, unresolved, QMessageBox::NoButton);
    row("0.0.0.0", false, 1, unresolved);
    row(BadName, true, 1, unresolvedGroup);
    row("224.0.1.0", true, 1);
    row("239.255.255.255", true, 1);
    row("224.0.0.255", true, 1, noGroup);
    row("240.0.0.0", true, 1, noGroup);
    row("223.255.255.255", false, 1);
    row("240.0.0.0", false, 1);
    row("224.0.0.0", false, 1, noHost);
    row("224.0.0.255", false, 1, noHost);
    row("239.255.255.255", false, 1, noHost);
    row(MonitorIp, false, 1);
}

void TestChannelWidget::validate()
{
    QFETCH(QString, field);
    QFETCH(bool, multicast);
    QFETCH(int, model);
    QFETCH(QString, message);
    QFETCH(int, answer);
    using Box = QMessageBox;
    const QStringList texts = message.isEmpty() ? QStringList() : QStringList(message.replace("%1", field));
    const bool asks = message.startsWith("Cannot");

    // The text counts the same whether the channel has it already, with its address, or not.
    for (const bool flushed : {false, true}) {
        Page page;
        page.showActive(Other, multicast);
        page.manager.answers["system model"] = QByteArray::number(model ? model : 100);
        if (!model)
            page.manager.failing << "system model";
        page.widget.lineEdit_host->setText(field);
        if (flushed)
            page.widget.flushChangesToChannel();
        const QString channelHost = page.channel.host();

        MessageBoxes boxes;
        if (answer == Box::NoButton)
            boxes.look = [](Box *box) { QTest::keyClick(box, Qt::Key_Escape); };
        else
            boxes.decide = [&](const Box *) { return Box::StandardButton(answer); };
        QCOMPARE(page.widget.validate(), message.isEmpty() || answer == Box::Ignore);
        QCOMPARE(boxes.texts, texts);
        QCOMPARE(page.manager.takeJournal(), field.isEmpty() ? QStringList() : QStringList("system model"));
        QCOMPARE(page.widget.lineEdit_host->text(), field);
        QCOMPARE(page.channel.host(), channelHost);
        if (!message.isEmpty()) {
            const bool plain = asks || message.startsWith("Invalid empty") || message.startsWith("If you");
            QCOMPARE(boxes.titles, QStringList("Network Settings"));
            QCOMPARE(boxes.buttons.first(), asks ? Box::Cancel | Box::Ignore : Box::Cancel);
            QCOMPARE(boxes.defaults.first(), plain ? Box::Cancel : Box::NoButton);
        }
        // An inactive channel passes with whatever stands there, and the Controller is not asked.
        page.channel.setActive(false);
        QVERIFY(page.widget.validate());
        QCOMPARE(boxes.texts, texts);
        QCOMPARE(page.manager.journal, QStringList());
    }
}

QTEST_MAIN(TestChannelWidget)
#include "test_channelwidget.moc"
