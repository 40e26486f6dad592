// Answers of the Controller that are not what they should be: each has one settled reading, and the dialog
// can be used all the same.

#include "channelasrouter.h"
#include "dialogfixture.h"
#include "gestures.h"

namespace {

using Answers = QList<QPair<QByteArray, QByteArray>>;

const QByteArray destination("output net ch01");
const QByteArray activeState("output net_active ch01");
const QByteArray divisor("output net_divisor ch01");
const QByteArray thisComputer("output net chmon");
const QByteArray typeCount("output number_of_types");
const QByteArray firstType("output type t01");

/// Host, port, divisor and the boxes that are ticked.
QString shown(const ChannelWidget *page)
{
    QStringList parts = {page->lineEdit_host->text(), page->spinBox_port->text(),
                         page->spinBox_sendDataDivisor->text()};
    for (const QCheckBox *box :
         {page->checkBox_active_channel, page->checkBox_multicast, page->checkBox_my_ip}) {
        if (box->isChecked())
            parts << box->objectName().section('_', 1);
    }
    return parts.join('|');
}

/// What an active page, the only one, has to send if no tick has changed.
QList<QByteArray> commandsOf(const ChannelWidget *page)
{
    const QByteArray host = page->checkBox_my_ip->isChecked()
                                ? QByteArray("my_ip")
                                : '\'' + page->lineEdit_host->text().toLatin1() + '\'';
    const QByteArray kind = page->checkBox_multicast->isChecked() ? " multicast " : " udp ";
    return {activeState + " yes", destination + kind + host + ' ' + page->spinBox_port->text().toLatin1(),
            divisor + ' ' + page->spinBox_sendDataDivisor->text().toLatin1(),
            "output net_via_router no"}; // follows new tabs
}

/// Clicks E&xit; what the message boxes said. Names that nobody knows are kept.
QStringList leave(const DialogFixture &fixture)
{
    MessageBoxes boxes;
    boxes.decide = [](const QMessageBox *box) {
        return box->standardButtons() & QMessageBox::Ignore ? QMessageBox::Ignore : QMessageBox::Cancel;
    };
    QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
    return boxes.texts;
}

/// The row of the type \a name: identifier, description, and what its tick is.
QString rowOf(const ChannelWidget *page, const QString &name)
{
    const QList<QStandardItem *> found = page->channel()->typeModel()->findItems(name);
    if (found.size() != 1)
        return QString::fromLatin1("%1 rows").arg(found.size());
    const QStandardItem *item = found.first();
    const QString description =
        item->model()->index(item->row(), Channel::DescriptionColumn).data().toString();
    const bool ticked = item->checkState() == Qt::Checked;
    return description + '|' + (item->isEnabled() ? "" : "disabled ") + (ticked ? "ticked" : "unticked");
}

} // namespace

class TestBadAnswers : public QObject
{
    Q_OBJECT

private slots:
    void channel_data();
    void channel();
    void catalogue_data();
    void catalogue();
    void numberOfTypes_data();
    void numberOfTypes();
    void hostsInMessagesStandAsTheyAre();
};

void TestBadAnswers::channel_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("expected"); // of the page, in Latin-1
    QTest::addColumn<QString>("message"); // the beginning of what keeps the dialog open at first, if anything
    const auto row = [](const char *name, const QByteArray &query, const QByteArray &answer,
                        const QByteArray &expected, const char *message = "") {
        QTest::newRow(name) << query << answer << QString::fromLatin1(expected) << message;
    };
    const QByteArray usual("127.0.0.1|5001|1|active_channel");
    const char noHost[] = "Invalid empty host for channel 1";
    const char unknown[] = "Cannot resolve host name";

    // The host field holds 100 letters. The port field starts at 1024, and a port that it does not show stays
    // the Controller's until edited.
    row("destination empty", destination, "", "|1024|1|active_channel", noHost);
    row("destination blank", destination, "  ", "|1024|1|active_channel", noHost);
    row("none in capitals", destination, "NONE", "|1024|1|active_channel", noHost);
    row("none and a blank", destination, "none ", "|1024|1|active_channel", noHost);
    row("two blanks", destination, "udp  127.0.0.1 5001", "|1024|1|active_channel", noHost);
    row("multicast in capitals", destination, "MULTICAST 239.1.2.3 5001", "239.1.2.3|5001|1|active_channel",
        "Invalid host '239.1.2.3'");
    row("multicast to a name", destination, "multicast name.invalid 5001", "|5001|1|active_channel|multicast",
        noHost);
    row("multicast to one host", destination, "multicast 127.0.0.1 5001",
        "127.0.0.1|5001|1|active_channel|multicast", "Invalid multicast ip address '127.0.0.1'");
    row("unknown kind and more fields", destination, "tcp 127.0.0.1 5001 x", usual);
    row("host in Latin-1", destination, "udp \xe4\xf6 5001", "\xe4\xf6|5001|1|active_channel", unknown);
    row("host of formats and quotes", destination, "udp %s%n'\" 5001", "%s%n'\"|5001|1|active_channel",
        unknown);
    row("host too long for a port behind it", destination, "udp " + QByteArray(300, 'x') + " 5001",
        QByteArray(100, 'x') + "|1024|1|active_channel", unknown);
    row("port too large", destination, "udp 127.0.0.1 65536", "127.0.0.1|1024|1|active_channel");
    row("port negative", destination, "udp 127.0.0.1 -5001", "127.0.0.1|1024|1|active_channel");
    row("port huge", destination, "udp 127.0.0.1 99999999999", "127.0.0.1|1024|1|active_channel");
    row("port below the field's", destination, "udp 127.0.0.1 80", "127.0.0.1|1024|1|active_channel");
    row("port is no number", destination, "udp 127.0.0.1 5001x", "127.0.0.1|1024|1|active_channel");
    row("port missing", destination, "udp 127.0.0.1", "127.0.0.1|1024|1|active_channel");

    for (const char *answer : {"", "YES", "yes ", " yes", "1", "yes\xe4"})
        row(QByteArray("active: ") + answer, activeState, answer, "127.0.0.1|5001|1");

    row("divisor zero", divisor, "0", usual);
    row("divisor negative", divisor, "-2147483648", usual);
    row("divisor above the field's", divisor, "2147483647", "127.0.0.1|5001|10000|active_channel");
    for (const char *answer : {"", "99999999999", "three", "3.5", "0x10"})
        row(QByteArray("divisor: ") + answer, divisor, answer, usual);

    for (const QByteArray &answer : {QByteArray(), QByteArray("127.0.0.1"), QByteArray("udp  127.0.0.1"),
                                     QByteArray(300, 'x'), QByteArray("\xe4 \xf6")})
        row("this computer: " + answer.left(20), thisComputer, answer, usual);
    row("this computer with more fields", thisComputer, "udp 127.0.0.1 5001 x", usual + "|my_ip");
}

void TestBadAnswers::channel()
{
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, answer);
    QFETCH(QString, message);
    DialogFixture fixture(withChannels(1));
    fixture.controller.overrideAnswer(query, answer);
    QStringList messages;
    const bool left = fixture.open([&] {
        const ChannelWidget *page = fixture.page(0);
        QTEST(shown(page), "expected");
        if (!page->checkBox_active_channel->isChecked())
            clickBox(page->checkBox_active_channel);
        typeInto(page->spinBox_port, "6001");
        QList<QByteArray> expected = commandsOf(page);
        messages = leave(fixture);
        if (fixture.dialog->isVisible()) {
            QVERIFY(fixture.controller.commands().isEmpty());
            typeInto(page->lineEdit_host, page->checkBox_multicast->isChecked() ? "239.1.2.3" : "127.0.0.5");
            expected = commandsOf(page);
            leave(fixture);
        }
        QCOMPARE(fixture.controller.commands(), expected);
    });
    QVERIFY(left);
    QCOMPARE(messages.size(), message.isEmpty() ? 0 : 1);
    QVERIFY2(message.isEmpty() || messages.first().startsWith(message), qPrintable(messages.value(0)));
}

void TestBadAnswers::catalogue_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<Answers>("answers");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const QByteArray &type, const Answers &answers,
                        const QByteArray &expected) {
        QTest::newRow(name) << type << answers << QString::fromLatin1(expected);
    };
    // A type that the Controller does not know otherwise, in the place of its first.
    const auto named = [&row](const char *name, const QByteArray &type) {
        row(name, type,
            {{firstType, type},
             {"output available " + type, "yes"},
             {"output type_desc " + type, "\"New\""},
             {"output active ch01 " + type, "no"}},
            "New|unticked");
    };
    named("name with blanks", " 6d  x ");
    named("name with quotes", "'6d' \"x\"");
    named("name of formats", "%s%n%d%1%2");
    named("name in Latin-1", "\xe4\xff");
    named("name in capitals", "6D");
    named("long name", QByteArray(200, 'x'));
    row("name empty", "", {{firstType, ""}}, "0 rows");
    row("name twice", "3d", {{firstType, "3d"}, {"output type t02", "3d"}},
        "Position of single markers|unticked");

    const QByteArray description("output type_desc 3d");
    row("description empty", "3d", {{description, ""}}, "|unticked");
    row("description of quotes", "3d", {{description, R"("""a"'b'")"}}, "a'b'|unticked");
    row("description of formats", "3d", {{description, "%s%n%1 <b>\xe4</b>"}}, "%s%n%1 <b>\xe4</b>|unticked");
    row("long description", "3d", {{description, QByteArray(300, 'x')}}, QByteArray(207, 'x') + "|unticked");
    for (const char *answer : {"", "YES", "yes ", "1"}) {
        row(QByteArray("available: ") + answer, "3d", {{"output available 3d", answer}},
            "Position of single markers|disabled unticked");
        row(QByteArray("tick: ") + answer, "3d", {{"output active ch01 3d", answer}},
            "Position of single markers|unticked");
    }
}

void TestBadAnswers::catalogue()
{
    QFETCH(QByteArray, type);
    QFETCH(Answers, answers);
    QFETCH(QString, expected);
    DialogFixture fixture(withChannels(1));
    for (const auto &answer : answers)
        fixture.controller.overrideAnswer(answer.first, answer.second);
    QVERIFY(fixture.open([&] {
        const ChannelWidget *page = fixture.page(0);
        QCOMPARE(rowOf(page, QString::fromLatin1(type)), expected);
        const bool tickable = expected.endsWith(QLatin1String("|unticked"));
        clickTick(page, tickable ? type : QByteArray("6di"));
        QList<QByteArray> commands = commandsOf(page);
        commands.insert(1, "output active ch01 " + (tickable ? type : QByteArray("6di")) + " yes");
        QCOMPARE(leave(fixture), QStringList());
        QCOMPARE(fixture.controller.commands(), commands);
    }));
}

void TestBadAnswers::numberOfTypes_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("failures");

    const int known = defaultControllerState().catalogue.size();
    QTest::newRow("one") << QByteArray("1") << 1 << 0;
    QTest::newRow("too many") << QByteArray("300") << 300 << 300 - known;
    QTest::newRow("zero") << QByteArray("0") << 0 << 0;
    QTest::newRow("negative") << QByteArray("-5") << 0 << 0;
    for (const char *answer : {"", "many", "99999999999", "1.5"})
        QTest::newRow(QByteArray("no number: ") + answer) << QByteArray(answer) << 0 << 1;
}

void TestBadAnswers::numberOfTypes()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, asked);
    DialogFixture fixture(withChannels(1));
    fixture.controller.overrideAnswer(typeCount, answer);
    QVERIFY(fixture.open([&] {
        const ChannelWidget *page = fixture.page(0);
        const QList<QByteArray> sent = fixture.sent();
        QCOMPARE(int(std::count_if(sent.cbegin(), sent.cend(),
                                   [](const QByteArray &text) { return text.startsWith("output type t"); })),
                 asked);
        QTEST(fixture.logged().size(), "failures");
        QCOMPARE(page->tableView->model()->rowCount(),
                 asked - fixture.logged().size() > 0 ? asked - fixture.logged().size() : 0);
        typeInto(page->spinBox_port, "6001");
        const QList<QByteArray> commands = commandsOf(page);
        QCOMPARE(leave(fixture), QStringList());
        QCOMPARE(fixture.controller.commands(), commands);
    }));
}

void TestBadAnswers::hostsInMessagesStandAsTheyAre()
{
    DialogFixture fixture(withChannels(1));
    fixture.controller.overrideAnswer(destination, "udp %1%2 5001");
    QVERIFY(fixture.open([&] {
        QCOMPARE(leave(fixture), QStringList(QLatin1String("Cannot resolve host name '%1%2' for channel 1")));
    }));
}

QTEST_MAIN(TestBadAnswers)
#include "test_badanswers.moc"
