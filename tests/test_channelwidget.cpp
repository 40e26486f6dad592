#include "backendversions.h"
#include "fakeiomanager.h"
#include "gestures.h"
#include "messageboxes.h"
#include "table.h"

#include <dlfcn.h>
#include <netdb.h>

namespace {

int lookUps = 0;
int lookUpsWithBusyCursor = 0;

} // namespace

// Counts all look-ups, and the look-ups during which the mouse cursor shows that the program is busy.
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

// The address and the name of this computer. Both contain letters, which a multicast host must not contain.
const QString monitorIp("0x0a000005");
const QString hostName("localhost");

// Hosts with letters that need no name server: a hexadecimal address, and a syntactically invalid name.
const QString otherName("0x0a000007");
const QString badName("bad..name");

const QString otherIp("10.1.2.3");

/// A visible page of the third channel, with a Controller of version 1.9.
struct Page
{
    Page()
    {
        channel.setMonitorIp(monitorIp);
        channel.setHostName(hostName);
        widget.show();
        QVERIFY(QTest::qWaitForWindowActive(&widget));
    }

    /// Makes the channel active, with the given destination, and shows it on the page.
    void showActive(const QString &host, bool multicast = false)
    {
        channel.setHost(host);
        channel.setMulticast(multicast);
        channel.setActive(true);
        widget.updateFromChannel();
    }

    /// Types \a text into the host field.
    void type(const QString &text) { typeInto(widget.lineEdit_host, text); }

    FakeIOManager manager;
    BackendVersions versions{{0, 0, 0}, 1, 9, 0};
    ChannelAsRouter channel{&manager, 2, &versions};
    ChannelWidget widget{&manager, &channel, &versions};
};

} // namespace

class TestChannelWidget : public QObject
{
    Q_OBJECT

private slots:
    void controlsFollowChannelAndVersion();
    void doubleClickTogglesOnlyEnabledIdentifiers();
    void boxesChangeTheHostField_data();
    void boxesChangeTheHostField();
    void hostFieldTakesOnlyAllowedCharacters();
    void cursorIsBusyDuringLookUps();
    void validateWarnsOnlyOfBadDestinations_data();
    void validateWarnsOnlyOfBadDestinations();
};

void TestChannelWidget::controlsFollowChannelAndVersion()
{
    Page page;
    QColor title;
    connect(&page.widget, &ChannelWidget::changeChannelTabTitleFontColor,
            [&title](int, const QColor &color) { title = color; });
    const QPalette palette = QGuiApplication::palette();
    for (const int minor : {5, 6}) {
        page.versions.minor = minor;
        for (const QString &host : {otherIp, monitorIp}) {
            page.showActive(host);
            for (const bool active : {false, true}) {
                clickBox(page.widget.checkBox_active_channel);
                QCOMPARE(page.channel.isActive(), active);
                QCOMPARE(title,
                         palette.color(active ? QPalette::Active : QPalette::Disabled, QPalette::Text));
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

/// A view reports no double click on a disabled cell, but any caller can reach the slot.
void TestChannelWidget::doubleClickTogglesOnlyEnabledIdentifiers()
{
    Page page;
    page.channel.setOutputTypes({{"fr", "", true}, {"6d", "", true}, {"3d", "", false}});
    const QStandardItemModel *types = page.channel.typeModel();
    for (const char *ticked : {"6d", ""}) {
        for (int row = 0; row < types->rowCount(); ++row) {
            for (const int column : {Channel::IdentifierColumn, Channel::DescriptionColumn})
                page.widget.tableViewItemDoubleClicked(types->index(row, column));
        }
        QCOMPARE(page.channel.tickedTypes().toList().join(), QByteArray(ticked));
    }
}

void TestChannelWidget::boxesChangeTheHostField_data()
{
    // The step "m" clicks the multicast box, "t" the box "this computer"; any other step is typed into the
    // field. The last three columns are the results: the text of the field, the state of the boxes and the
    // field, and the host of the channel. "mine" stands for the ticked box "this computer", "open" and
    // "closed" for the enabled and the disabled field.
    const Table<QString, QStringList, QString, QString, QString> row("host", "steps", "field", "state",
                                                                     "channelHost");
    const QString group("239.1.2.3");

    row("multicast on, name", otherName, {"m"}, "", "multicast open", otherName);
    row("multicast off, nothing typed", otherName, {"m", "m"}, otherName, "open", otherName);
    row("multicast off, group typed", otherName, {"m", group, "m"}, group, "open", group);
    row("multicast off, own host", hostName, {"m", "m"}, hostName, "mine open", hostName);
    row("this computer on", otherIp, {"t"}, monitorIp, "mine closed", otherIp);
    row("this computer off", otherIp, {"t", "t"}, monitorIp, "open", otherIp);
    row("this computer, then multicast", otherIp, {"t", "m"}, "", "multicast open", monitorIp);
    row("own name typed, this computer, then multicast", otherIp, {hostName, "t", "m"}, "", "multicast open",
        hostName);
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
            clickBox(page.widget.checkBox_multicast);
        else if (step == "t")
            clickBox(page.widget.checkBox_my_ip);
        else
            page.type(step);
    }
    const QString multicast = page.widget.checkBox_multicast->isChecked() ? "multicast " : "";
    const QString mine = page.widget.checkBox_my_ip->isChecked() ? "mine " : "";
    QTEST(multicast + mine + (page.widget.lineEdit_host->isEnabled() ? "open" : "closed"), "state");
    QTEST(page.widget.lineEdit_host->text(), "field");
    QTEST(page.channel.host(), "channelHost");
    // In the dialog, commit() first makes the page flush. The channel then has the text of the field,
    // whatever the boxes show.
    page.widget.flushChangesToChannel();
    QTEST(page.channel.host(), "field");
}

void TestChannelWidget::hostFieldTakesOnlyAllowedCharacters()
{
    Page page;
    const QLineEdit *field = page.widget.lineEdit_host;
    page.showActive(otherName, true); // a multicast host must be an address
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

void TestChannelWidget::validateWarnsOnlyOfBadDestinations_data()
{
    // The column "message" is the beginning of the message box's text, empty if no box opens.
    const Table<QString, bool, int, QString, int, int> row("field", "multicast", "model", "message",
                                                           "defaultButton", "answer");
    const int none = QMessageBox::NoButton;
    const int cancel = QMessageBox::Cancel;
    const QString loopback("If you intend this computer");
    const QString noGroup("Invalid multicast ip");
    const QString noHost("Invalid host");
    const QString unresolved("Cannot resolve host name '%1' for channel 3");
    const QString unresolvedGroup("Multicast ip cannot resolve host name '%1'");

    row("empty host", "", false, 1, "Invalid empty host for channel 3", cancel, cancel);
    row("localhost as a group, with capital letters", "LocalHost", true, 1, loopback, cancel, cancel);
    row("loopback address", "127.0.0.1", false, 1, loopback, cancel, cancel);
    row("loopback address, the model that allows it", "127.0.0.1", false, 100, "", none, none);
    row("unresolved host, ignored", badName, false, 1, unresolved.arg(badName), cancel, QMessageBox::Ignore);
    row("unresolved host, box closed", badName, false, 1, unresolved.arg(badName), cancel, none);
    row("unresolved group", badName, true, 1, unresolvedGroup.arg(badName) + " for channel 3", none, cancel);
    row("host with place markers", "%1%2", false, 1, unresolved.arg("%1%2"), cancel, cancel);
    row("group with markup", "<b>x</b>", true, 1, unresolvedGroup.arg("<b>x</b>"), none, cancel);
    row("address below the groups", "224.0.0.255", true, 1, noGroup, none, cancel);
    row("lowest group", "224.0.1.0", true, 1, "", none, none);
    row("highest group", "239.255.255.255", true, 1, "", none, none);
    row("address above the groups", "240.0.0.0", true, 1, noGroup, none, cancel);
    row("host below the multicast range", "223.255.255.255", false, 1, "", none, none);
    row("host at the lower end of the multicast range", "224.0.0.0", false, 1, noHost, none, cancel);
    row("host at the upper end of the multicast range", "239.255.255.255", false, 1, noHost, none, cancel);
    row("host above the multicast range", "240.0.0.0", false, 1, "", none, none);
}

void TestChannelWidget::validateWarnsOnlyOfBadDestinations()
{
    QFETCH(QString, field);
    QFETCH(bool, multicast);
    QFETCH(int, model);
    QFETCH(QString, message);
    QFETCH(int, defaultButton);
    QFETCH(int, answer);
    // The result must not depend on whether the channel already has the text of the field and its address.
    for (const bool flushed : {false, true}) {
        Page page;
        page.showActive(otherIp, multicast);
        page.manager.answers["system model"] = QByteArray::number(model);
        page.widget.lineEdit_host->setText(field);
        if (flushed)
            page.widget.flushChangesToChannel();

        MessageBoxes boxes;
        boxes.decide = [&](const QMessageBox *) { return QMessageBox::StandardButton(answer); };
        lookUps = 0;
        QCOMPARE(page.widget.validate(), message.isEmpty() || answer == QMessageBox::Ignore);
        QVERIFY(!flushed || lookUps == 0); // the channel has looked the host up
        QCOMPARE(boxes.texts.size(), message.isEmpty() ? 0 : 1);
        const QString text = boxes.texts.value(0, "");
        QVERIFY2(text.startsWith(message), qPrintable(text));
        QVERIFY(!boxes.anyRichText);
        QCOMPARE(int(boxes.defaults.value(0, QMessageBox::NoButton)), defaultButton);
        // Any text is valid on an inactive channel, and the Controller is not queried.
        page.channel.setActive(false);
        page.manager.takeJournal();
        QVERIFY(page.widget.validate());
        QCOMPARE(page.manager.takeJournal(), QStringList());
    }
}

QTEST_MAIN(TestChannelWidget)
#include "test_channelwidget.moc"
