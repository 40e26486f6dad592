#include "backendversions.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "fakeiomanager.h"
#include "messageboxes.h"

#include <QtTest>

#include <dlfcn.h>
#include <netdb.h>

namespace {

int lookUps = 0;
int lookUpsWithBusyCursor = 0;

} // namespace

// Watches the look-ups.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the declaration's names are reserved
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints, addrinfo **found)
{
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    ++lookUps;
    const QCursor *cursor = QGuiApplication::overrideCursor();
    if (cursor && cursor->shape() == Qt::WaitCursor)
        ++lookUpsWithBusyCursor;
    return real(name, service, hints, found);
}

namespace {

// The identities of this computer.
const QString monitorIp("0x0a000005");
const QString hostName("localhost");

// Host texts with letters that need no name server: a hexadecimal address, and a name with invalid syntax.
const QString otherName("0x0a000007");
const QString badName("bad..name");

const QString otherIp("10.1.2.3");

/// A visible page with its channel, the third one, and a Controller of the newest version.
struct Page
{
    Page()
    {
        channel.setMonitorIp(monitorIp);
        channel.setHostName(hostName);
        widget.show();
        QVERIFY(QTest::qWaitForWindowActive(&widget));
    }

    void showActive(const QString &host, bool multicast = false)
    {
        channel.setHost(host);
        channel.setMulticast(multicast);
        channel.setActive(true);
        widget.updateFromChannel();
    }

    void type(const QString &text)
    {
        widget.lineEdit_host->setFocus();
        widget.lineEdit_host->selectAll();
        QTest::keyClick(widget.lineEdit_host, Qt::Key_Delete);
        QTest::keyClicks(widget.lineEdit_host, text);
    }

    FakeIOManager manager;
    BackendVersions versions{{0, 0, 0}, 1, 9, 0};
    ChannelAsRouter channel{&manager, 2, &versions};
    ChannelWidget widget{&manager, &channel, &versions};
};

/// A check box reacts only to clicks on its square and its text, and it may be wider than these.
void click(QAbstractButton *button)
{
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

} // namespace

class TestChannelWidget : public QObject
{
    Q_OBJECT

private slots:
    void metaObjectsHaveExactlyTheseMethods();
    void controlsFollowChannelAndVersion();
    void boxesChangeTheHostField_data();
    void boxesChangeTheHostField();
    void hostFieldTakesOnlyAllowedCharacters();
    void cursorIsBusyDuringLookUps();
    void validateWarnsOfBadDestinations_data();
    void validateWarnsOfBadDestinations();
};

/// Hosts can reach signals and slots by name, so none may be missing or be added.
void TestChannelWidget::metaObjectsHaveExactlyTheseMethods()
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
}

void TestChannelWidget::controlsFollowChannelAndVersion()
{
    Page page;
    for (const int minor : {5, 6}) {
        page.versions.minor = minor;
        for (const QString &host : {otherIp, monitorIp}) {
            page.showActive(host);
            for (const bool active : {false, true}) {
                click(page.widget.checkBox_active_channel);
                QCOMPARE(page.channel.isActive(), active);
                for (const char *name : {"tableView", "label_host", "label_port", "spinBox_port",
                                         "checkBox_my_ip", "checkBox_multicast"})
                    QVERIFY2(page.widget.findChild<QWidget *>(name)->isEnabled() == active, name);
                QCOMPARE(page.widget.label_sendDataDivisor->isEnabled(), active && minor == 6);
                QCOMPARE(page.widget.spinBox_sendDataDivisor->isEnabled(), active && minor == 6);
                QCOMPARE(page.widget.lineEdit_host->isEnabled(), active && host == otherIp);
            }
        }
    }
}

void TestChannelWidget::boxesChangeTheHostField_data()
{
    // Steps: "m" clicks multicast, "t" clicks this computer, any other text is typed.
    QTest::addColumn<QString>("host"); // at first
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("expected"); // state of the boxes and the field
    QTest::addColumn<QString>("channelHost");
    const auto row = [](const char *name, const QString &host, const QStringList &steps, const QString &field,
                        const QString &expected, const QString &channelHost) {
        QTest::newRow(name) << host << steps << field << expected << channelHost;
    };
    const QString group("239.1.2.3");

    row("multicast on, name", otherName, {"m"}, "", "multicast open", otherName);
    row("multicast off, nothing typed", otherName, {"m", "m"}, otherName, "open", otherName);
    row("multicast off, group typed", otherName, {"m", group, "m"}, group, "open", group);
    row("multicast off, own host", hostName, {"m", "m"}, hostName, "mine open", hostName);
    row("this computer on", otherIp, {"t"}, monitorIp, "mine closed", otherIp);
    row("this computer off", otherIp, {"t", "t"}, monitorIp, "open", otherIp);
    row("this computer, then multicast", otherIp, {"t", "m"}, "", "multicast open", monitorIp);
    row("by name, then multicast", otherIp, {hostName, "t", "m"}, "", "multicast open", hostName);
    row("multicast, then this computer", otherIp, {"m", group, "t"}, monitorIp, "closed", group);
}

void TestChannelWidget::boxesChangeTheHostField()
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
    const QString multicast = page.widget.checkBox_multicast->isChecked() ? "multicast " : "";
    const QString mine = page.widget.checkBox_my_ip->isChecked() ? "mine " : "";
    QTEST(multicast + mine + (page.widget.lineEdit_host->isEnabled() ? "open" : "closed"), "expected");
    QTEST(page.widget.lineEdit_host->text(), "field");
    QTEST(page.channel.host(), "channelHost");
    // In any state of the boxes, the text in the field is what commit() writes.
    page.widget.flushChangesToChannel();
    QTEST(page.channel.host(), "field");
}

void TestChannelWidget::hostFieldTakesOnlyAllowedCharacters()
{
    Page page;
    const QLineEdit *field = page.widget.lineEdit_host;
    page.showActive(otherName, true); // multicast does not accept a name
    QCOMPARE(field->text(), QString());
    page.type("x224-.0 .1.0y");
    QCOMPARE(field->text(), QString("224.0.1.0"));
    page.showActive(otherIp);
    page.type("My_tracker-1.lab $4;" + QString(120, 'a'));
    QCOMPARE(field->text(), "Mytracker-1.lab4" + QString(84, 'a'));
    QTest::keyClick(page.widget.lineEdit_host, Qt::Key_Return);
    QCOMPARE(page.channel.host(), field->text());
}

void TestChannelWidget::cursorIsBusyDuringLookUps()
{
    Page page;
    page.showActive(otherIp);
    lookUps = lookUpsWithBusyCursor = 0;
    page.type("first-name.invalid");
    QTest::keyClick(page.widget.lineEdit_host, Qt::Key_Return);
    QCOMPARE(lookUps, 1);
    page.widget.lineEdit_host->setText("second-name.invalid");
    bool busyInBox = true;
    MessageBoxes boxes;
    boxes.decide = [&](const QMessageBox *) {
        busyInBox = QGuiApplication::overrideCursor();
        return QMessageBox::Cancel;
    };
    QVERIFY(!page.widget.validate());
    QVERIFY(lookUps > 1);
    QCOMPARE(lookUpsWithBusyCursor, lookUps);
    QVERIFY(!busyInBox);
    QVERIFY(!QGuiApplication::overrideCursor());
}

void TestChannelWidget::validateWarnsOfBadDestinations_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("multicast");
    QTest::addColumn<int>("model");       // 0: the query answers 100, but fails
    QTest::addColumn<QString>("message"); // its beginning; empty: no box
    QTest::addColumn<int>("answer");
    const auto row = [](const QString &field, bool multicast, int model, const QString &message = "",
                        int answer = QMessageBox::Cancel) {
        QTest::addRow("%s %d %d %d", qPrintable(field), multicast, model, answer)
            << field << multicast << model << message << answer;
    };
    const QString loopback("If you intend this computer");
    const QString noGroup("Invalid multicast ip");
    const QString noHost("Invalid host");
    const QString unresolved("Cannot resolve host name '%1' for channel 3");

    row("", false, 1, "Invalid empty host for channel 3");
    row("LocalHost", true, 1, loopback);
    row("127.0.0.1", false, 0, loopback);
    row("127.0.0.1", false, 100);
    row(badName, false, 1, unresolved.arg(badName));
    row(badName, false, 1, unresolved.arg(badName), QMessageBox::Ignore);
    row(badName, true, 1, "Multicast ip cannot resolve host name 'bad..name' for channel 3");
    row("%1%2", false, 1, unresolved.arg("%1%2"));
    row("<b>x</b>", false, 1, unresolved.arg("<b>x</b>")); // not as markup
    row("<b>x</b>", true, 1, "Multicast ip cannot resolve host name '<b>x</b>'");
    row("224.0.0.255", true, 1, noGroup);
    row("224.0.1.0", true, 1);
    row("239.255.255.255", true, 1);
    row("240.0.0.0", true, 1, noGroup);
    row("223.255.255.255", false, 1);
    row("224.0.0.0", false, 1, noHost);
    row("239.255.255.255", false, 1, noHost);
    row("240.0.0.0", false, 1);
}

void TestChannelWidget::validateWarnsOfBadDestinations()
{
    QFETCH(QString, field);
    QFETCH(bool, multicast);
    QFETCH(int, model);
    QFETCH(QString, message);
    QFETCH(int, answer);
    // The result must not depend on whether the channel already has the text and its address.
    for (const bool flushed : {false, true}) {
        Page page;
        page.showActive(otherIp, multicast);
        page.manager.answers["system model"] = QByteArray::number(model ? model : 100);
        if (!model)
            page.manager.failing << "system model";
        page.widget.lineEdit_host->setText(field);
        if (flushed)
            page.widget.flushChangesToChannel();

        MessageBoxes boxes;
        boxes.decide = [&](const QMessageBox *) { return QMessageBox::StandardButton(answer); };
        QCOMPARE(page.widget.validate(), message.isEmpty() || answer == QMessageBox::Ignore);
        QCOMPARE(boxes.texts.size(), message.isEmpty() ? 0 : 1);
        const QString text = boxes.texts.value(0, "");
        QVERIFY2(text.startsWith(message), qPrintable(text));
        QVERIFY(!boxes.anyRichText);
        // An inactive channel is valid with any text, and the Controller is not queried.
        page.channel.setActive(false);
        page.manager.takeJournal();
        QVERIFY(page.widget.validate());
        QCOMPARE(page.manager.takeJournal(), QStringList());
    }
}

QTEST_MAIN(TestChannelWidget)
#include "test_channelwidget.moc"
