#include "backendversions.h"
#include "channel.h"
#include "fakeiomanager.h"

#include <QSignalSpy>
#include <QtTest>

#include <dlfcn.h>
#include <netdb.h>

namespace {

int lookUps = 0;

/// From a name to its dotted address.
QHash<QByteArray, QByteArray> &hostNames()
{
    static QHash<QByteArray, QByteArray> names;
    return names;
}

} // namespace

// Look-ups end here: the tests depend on no name service, and they count.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the declaration's names are reserved
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints, addrinfo **found)
{
    ++lookUps;
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const QByteArray address = hostNames().value(name);
    return address.isEmpty() ? EAI_NONAME : real(address.constData(), service, hints, found);
}

namespace {

QString latin(const char *text)
{
    return QString::fromLatin1(text);
}

using Row = std::pair<QByteArray, QByteArray>; // what is done or answered, and what is expected of it

/// The rows of a test, each named after what is done in it.
void table(std::initializer_list<Row> rows)
{
    QTest::addColumn<QString>("expected");
    for (const Row &row : rows)
        QTest::newRow(row.first.constData()) << QString::fromLatin1(row.second);
}

QString input()
{
    return latin(QTest::currentDataTag());
}

/// The types \a names, described by their position; a name with "-" behind it is not available.
QList<OutputTypeInfo> catalogue(const QString &names)
{
    QList<OutputTypeInfo> types;
    const QStringList parts = names.split(' ', Qt::SkipEmptyParts);
    for (const QString &name : parts)
        types << OutputTypeInfo{name.section('-', 0, 0), QString::number(types.size()), !name.contains('-')};
    return types;
}

/// A channel between its host and a Controller of version 1.6.
struct Bench
{
    explicit Bench(int index = 0, const QString &types = {})
        : channel(&manager, index, &versions)
    {
        channel.setMonitorIp("10.1.2.3");
        channel.setHostName("pc");
        channel.setDomainName("lab.org");
        channel.setOutputTypes(catalogue(types));
    }

    /// An active channel that sends every fourth frame to "tracker", port 5100, but for \a answers.
    void load(const QStringList &answers = {})
    {
        const QString number = latin("ch%1=").arg(channel.channelIndex() + 1, 2, 10, QLatin1Char('0'));
        answer("output net " + number + "udp tracker 5100");
        answer("output net_active " + number + "yes");
        answer("output net_divisor " + number + "4");
        for (const QString &other : answers)
            answer(other);
        channel.load();
        manager.journal.clear();
        lookUps = 0;
    }

    /// "query=answer"; a "!" before it: answered, yet failed; no "=": no answer, and failed.
    void answer(const QString &text)
    {
        const QByteArray query = text.section('=', 0, 0).remove('!').toLatin1();
        manager.answers.remove(query);
        if (text.contains('='))
            manager.answers.insert(query, text.section('=', 1).toLatin1());
        if (text.startsWith('!'))
            manager.failing << query;
    }

    /// Edits the channel, such as "port=80 tick=3:2" for the port and the tick of row 3.
    void edit(const QString &edits)
    {
        const QStringList parts = edits.split(' ', Qt::SkipEmptyParts);
        for (const QString &one : parts) {
            const QString value = one.section('=', 1);
            const int number = value.section(':', 0, 0).toInt();
            if (one.startsWith("port="))
                channel.setPort(number);
            else if (one.startsWith("divisor="))
                channel.setDataDivisor(number);
            else if (one.startsWith("active="))
                channel.setActive(number);
            else if (one.startsWith("multicast="))
                channel.setMulticast(number);
            else if (one.startsWith("host="))
                channel.setHost(value);
            else if (one.startsWith("ip="))
                channel.setIp(value.toUInt(nullptr, 16));
            else if (one.startsWith("tick="))
                channel.typeModel()->item(number)->setCheckState(
                    Qt::CheckState(value.section(':', 1).toInt()));
            else
                QFAIL("no such edit");
        }
    }

    QString state() const
    {
        return latin("'%1' %2:%3 /%4 %5 %6 %7")
            .arg(channel.host(), QString::number(channel.ip(), 16))
            .arg(channel.port())
            .arg(channel.dataDivisor())
            .arg(channel.isActive() ? "on" : "off", channel.isMulticast() ? "group" : "plain",
                 channel.hasChanges() ? "changed" : "clean");
    }

    /// What the host was asked since the last call, with "! " for a line in the log that begins as all do.
    QString journal()
    {
        return QString(';' + manager.takeJournal().join(';'))
            .replace(";log standard ORVANE3 1 Error: Unable to ", ";! ")
            .replace(";output ", ";")
            .mid(1);
    }

    /// Which types are ticked, and behind the stroke which of them the data threads want.
    QString ticks() const
    {
        QStringList active, wanted;
        const QStringList names = latin("fr,6d,6di,3d,z,\xe4,2dmon,6,").split(',');
        for (const QString &name : names) {
            if (channel.isTypeActive(name))
                active << name;
            if (channel.isTypeWanted(name.toLatin1().constData()))
                wanted << name;
        }
        return active.join(' ') + '|' + wanted.join(' ');
    }

    FakeIOManager manager;
    BackendVersions versions{{9, 9, 9}, 1, 6, 0};
    Channel channel;
};

/// A row as "name#description", with "!" for a tick out of reach, "-" for not available and "?" for a row
/// that is not as one that was just made.
QString rowText(const QStandardItemModel &model, int row)
{
    const QStandardItem *identifier = model.item(row, Channel::IdentifierColumn);
    const QStandardItem *description = model.item(row, Channel::DescriptionColumn);
    const bool fresh = identifier->isCheckable() && !identifier->isEditable() &&
                       identifier->checkState() == Qt::Unchecked &&
                       identifier->data(Qt::UserRole) == QVariant(false) && description->isEnabled() &&
                       !description->isEditable() && !description->isCheckable();
    return identifier->text() + '#' + description->text() + (identifier->isEnabled() ? "" : "!") +
           (description->data(Qt::UserRole).toBool() ? "" : "-") + (fresh ? "" : "?");
}

} // namespace

class TestChannel : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void readsCatalogue_data();
    void readsCatalogue();
    void readsMonitorIp_data();
    void readsMonitorIp();
    void needsNoManager();
    void gatesDivisorByVersion_data();
    void gatesDivisorByVersion();
    void buildsRows_data();
    void buildsRows();
    void edits_data();
    void edits();
    void looksUpOnlyWhatFailed();
    void knowsThisComputer_data();
    void knowsThisComputer();
    void comparesDestinations_data();
    void comparesDestinations();
    void keepsTicksThroughRefresh();
    void loads_data();
    void loads();
    void loadsInOrder();
    void commits_data();
    void commits();
    void keepsEditsWhileOff();
    void switchesControllerAlone();
};

void TestChannel::init()
{
    hostNames() = {{"tracker", "10.0.0.7"}, {"alias", "10.0.0.7"}, {"tr\xe4ger", "10.0.0.8"}};
    lookUps = 0;
}

void TestChannel::readsCatalogue_data()
{
    const QByteArray all = "number_of_types;type t01;type_desc 6d;available 6d";
    const QByteArray odd = "a\"%1\xe4" + QByteArray(195, 'n');
    table({{"output available 6d=Yes", "6d,body,no;" + all},
           {"output available 6d=yes ", "6d,body,no;" + all},
           {"!output available 6d=yes", "6d,body,no;" + all + ";! get output availability of 6d"},
           {R"(output type_desc 6d="6d "body" 'data'")", "6d,6d body 'data',yes;" + all},
           {"!output type_desc 6d=lost",
            "6d,,yes;number_of_types;type t01;type_desc 6d;! get type description;available 6d"},
           {"!output type t01=6d", ";number_of_types;type t01;! get output type t01"},
           {"output type t01=" + odd, odd + ",,no;number_of_types;type t01;type_desc " + odd +
                                          ";! get type description;available " + odd +
                                          ";! get output availability of " + odd},
           {"output number_of_types=0", ";number_of_types"},
           {"output number_of_types=-3", ";number_of_types"},
           {"!output number_of_types=1", ";number_of_types;! get number of output types"}});
}

void TestChannel::readsCatalogue()
{
    Bench bench;
    for (const char *answer : {"output number_of_types=1", "output type t01=6d", "output type_desc 6d=body",
                               "output available 6d=yes"})
        bench.answer(answer);
    bench.answer(input());
    QList<OutputTypeInfo> types = catalogue("of the catalogue before");

    QCOMPARE(queryOutputTypes(&bench.manager, &types), 0);

    QString entries;
    for (const OutputTypeInfo &type : qAsConst(types))
        entries += type.name + ',' + type.description + (type.available ? ",yes" : ",no");
    QTEST(entries + ';' + bench.journal(), "expected");

    // A gap moves the others up and ends nothing.
    bench.manager.failing.clear();
    for (const char *answer : {"output number_of_types=11", "output type t01=6d", "output type t11=3d"})
        bench.answer(answer);
    QCOMPARE(queryOutputTypes(&bench.manager, &types), 0);
    QCOMPARE(types.size(), 2);
    QCOMPARE(types[1].name, latin("3d"));
    QVERIFY(bench.journal().contains(
        ";type t09;! get output type t09;type t10;! get output type t010;type t11;"));
}

void TestChannel::readsMonitorIp_data()
{
    table({{"output net chmon=udp 10.1.2.3 5000", "10.1.2.3"},
           {"output net chmon= pc 5000", "pc"},
           {"output net chmon=udp  10.1.2.3", ""},
           {"output net chmon=none", ""},
           {"!output net chmon=udp 10.1.2.3 5000", "10.1.2.3"},
           {"output net chmon", ""}});
}

void TestChannel::readsMonitorIp()
{
    Bench bench;
    bench.answer("output net chmon=udp 192.168.77.88 5000");
    QCOMPARE(queryMonitorIp(&bench.manager), latin("192.168.77.88")); // its answer may stay on the stack
    bench.answer(input());
    QTEST(queryMonitorIp(&bench.manager), "expected");
}

void TestChannel::needsNoManager()
{
    QList<OutputTypeInfo> types = catalogue("of the catalogue before");
    QCOMPARE(queryOutputTypes(nullptr, &types), -1);
    QVERIFY(types.isEmpty());
    QCOMPARE(queryMonitorIp(nullptr), QString());
}

void TestChannel::gatesDivisorByVersion_data()
{
    const QByteArray passes = "4;net ch01;net_active ch01;net_divisor ch01;"
                              "net_active ch01 yes;net ch01 udp 'tracker' 5100;net_divisor ch01 7";
    const QByteArray fails = "1;net ch01;net_active ch01;net_active ch01 yes;net ch01 udp 'tracker' 5100";
    table({{"1.6.0", passes},
           {"1.6.-1", passes},
           {"1.6.-2", fails},
           {"1.5.9", fails},
           {"1.7.-2", passes},
           {"2.0.-2", passes},
           {"0.9.9", fails}});
}

void TestChannel::gatesDivisorByVersion()
{
    const QStringList numbers = input().split('.');
    Bench bench;
    bench.versions = {{9, 9, 9}, numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt()};
    bench.load();
    bench.channel.load();
    const QString divisor = QString::number(bench.channel.dataDivisor());
    bench.edit("divisor=7");
    bench.channel.commit();
    QTEST(divisor + ';' + bench.journal(), "expected");
    QVERIFY(!bench.channel.hasChanges());
}

void TestChannel::buildsRows_data()
{
    // Behind the stroke the hidden rows.
    table({{"", "|"},
           {"6d fr 2dmon 3d", "fr#1! 6d#0 3d#3 2dmon#2|3"},
           {"new gl glcal 6dmtr 6dmt2 6df2 3d 6di 6d 6dcal st ts ts2 fr 2dmon",
            "fr#13! ts2#12 ts#11 st#10 6dcal#9 6d#8 6di#7 3d#6 6df2#5 6dmt2#4 6dmtr#3 glcal#2 gl#1 new#0 "
            "2dmon#14|14"},
           {"z 2dmon 6D a", "z#0 2dmon#1 6D#2 a#3|1"},
           {"z - 2dmon", "z#0 2dmon#2|1"},
           {"2dmon z 2dmon z", "2dmon#0 z#1 2dmon#2 z#3|0 2"},
           {"3d 3d-", "3d#1!-|"},
           {"fr- 6d- z-", "fr#0!- 6d#1!- z#2!-|"}});
}

void TestChannel::buildsRows()
{
    Bench bench(0, "2dmon 6d 3d-"); // nothing of these stays
    bench.load({"output active ch01 6d=yes"});

    bench.channel.setOutputTypes(catalogue(input()));

    const QStandardItemModel &model = *bench.channel.typeModel();
    QCOMPARE(model.columnCount(), 2);
    QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), latin("Identifier"));
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), latin("Description"));
    QStringList rows, hidden;
    for (int row = 0; row < model.rowCount(); ++row)
        rows << rowText(model, row);
    for (int row : bench.channel.hiddenRows())
        hidden << QString::number(row);
    QTEST(rows.join(' ') + '|' + hidden.join(' '), "expected");
    QVERIFY(!bench.channel.hasChanges());
}

void TestChannel::edits_data()
{
    table({{"port=-1 port=65536 port=5100 divisor=0 divisor=-3 divisor=4 active=1 multicast=0 host=tracker",
            "'tracker' a000007:5100 /4 on plain clean 0"},
           {"port=0", "'tracker' a000007:0 /4 on plain changed 0"},
           {"port=65535", "'tracker' a000007:65535 /4 on plain changed 0"},
           {"port=1 port=5100", "'tracker' a000007:5100 /4 on plain changed 0"},
           {"divisor=1", "'tracker' a000007:5100 /1 on plain changed 0"},
           {"active=0", "'tracker' a000007:5100 /4 off plain changed 0"},
           {"multicast=1", "'tracker' a000007:5100 /4 on group changed 0"},
           {"host=alias", "'alias' a000007:5100 /4 on plain changed 1"},
           {"host=tr\xe4ger", "'tr\xe4ger' a000008:5100 /4 on plain changed 1"},
           {"host=239.1.2.3", "'239.1.2.3' ef010203:5100 /4 on plain changed 0"},
           {"host=nowhere", "'nowhere' 0:5100 /4 on plain changed 1"},
           {"host=", "'' 0:5100 /4 on plain changed 0"},
           {"ip=a000007", "'10.0.0.7' a000007:5100 /4 on plain changed 0"},
           {"ip=ff010080", "'255.1.0.128' ff010080:5100 /4 on plain changed 0"}});
}

void TestChannel::edits()
{
    Bench bench;
    QCOMPARE(bench.state(), latin("'' 0:0 /1 off plain clean"));
    bench.load();
    bench.edit(input());
    QTEST(bench.state() + ' ' + QString::number(lookUps), "expected");
    QCOMPARE(bench.journal(), QString());
}

void TestChannel::looksUpOnlyWhatFailed()
{
    Bench bench;
    bench.load({"output net ch01=udp nowhere 5100"});
    QCOMPARE(bench.state(), latin("'nowhere' 0:5100 /4 on plain clean"));
    bench.edit("host=nowhere"); // fails again
    QCOMPARE(lookUps, 1);
    QCOMPARE(bench.state(), latin("'nowhere' 0:5100 /4 on plain changed"));

    hostNames()["nowhere"] = "10.0.0.9";
    bench.channel.load();
    QCOMPARE(lookUps, 2);
    hostNames().clear(); // what once resolved is kept
    bench.edit("host=nowhere");
    bench.channel.load();
    QCOMPARE(lookUps, 2);
    QCOMPARE(bench.state(), latin("'nowhere' a000009:5100 /4 on plain clean"));
}

void TestChannel::knowsThisComputer_data()
{
    // address|name|domain|candidate
    table({{"10.1.2.3|pc|lab.org|10.1.2.3", "mine"},
           {"10.1.2.3|pc|lab.org|pc", "mine"},
           {"10.1.2.3|pc|lab.org|pc.lab.org", "mine"},
           {"10.1.2.3|pc|lab.org|PC", "foreign"},
           {"10.1.2.3|pc|lab.org|", "foreign"},
           {"|pc|lab.org|", "mine"},
           {"10.1.2.3||lab.org|", "foreign"},
           {"10.1.2.3||lab.org|.lab.org", "foreign"},
           {"10.1.2.3|pc||pc", "mine"},
           {"10.1.2.3|pc||pc.", "foreign"}});
}

void TestChannel::knowsThisComputer()
{
    const QStringList texts = input().split('|');
    Bench bench;
    bench.channel.setMonitorIp(texts[0]);
    bench.channel.setHostName(texts[1]);
    bench.channel.setDomainName(texts[2]);
    QTEST(latin(bench.channel.isMyIp(texts[3]) ? "mine" : "foreign"), "expected");
    bench.channel.setHost(texts[3]);
    QTEST(latin(bench.channel.isMyIp() ? "mine" : "foreign"), "expected");
}

void TestChannel::comparesDestinations_data()
{
    // destination of the first, destination of the second, state of the second
    table({
        {"udp tracker 5100|udp tracker 5100|yes", "same"},
        {"udp tracker 5100|udp tracker 5100|no", "other"},
        {"udp tracker 5100|udp alias 5100|yes", "same"},
        {"udp tracker 5100|multicast 10.0.0.7 5100|yes", "same"},
        {"udp tracker 5100|udp tracker 5101|yes", "other"},
        {"udp tracker 5100|udp 10.0.0.6 5100|yes", "other"},
        {"udp nowhere 5100|udp elsewhere 5100|yes", "same"},
    });
}

void TestChannel::comparesDestinations()
{
    const QStringList texts = input().split('|');
    Bench one;
    Bench two(1);
    one.load({"output net ch01=" + texts[0]});
    two.load({"output net ch02=" + texts[1], "output net_active ch02=" + texts[2]});
    QTEST(latin(one.channel.hasSameDestination(two.channel) ? "same" : "other"), "expected");
    QTEST(latin(two.channel.hasSameDestination(one.channel) ? "same" : "other"), "expected");
}

void TestChannel::keepsTicksThroughRefresh()
{
    const QString types = latin("fr 6d 6di 3d- z \xe4 z 2dmon");
    Bench bench(0, types);
    bench.load({"output active ch01 fr=yes", "output active ch01 6d=yes", "output active ch01 3d=yes",
                latin("output active ch01 \xe4=yes"), "output active ch01 2dmon=yes"});
    QCOMPARE(bench.ticks(), latin("fr 6d \xe4 2dmon|fr 6d \xe4 2dmon"));
    bench.channel.setOutputTypes(catalogue(types));
    QCOMPARE(bench.ticks(), latin("|fr 6d \xe4 2dmon"));

    bench.answer("output active ch01 6d=no");
    bench.answer("output active ch01 6di=yes");
    QStringList wanted;
    const auto look = [&] { wanted << bench.ticks().section('|', 1); };
    bench.manager.onCommand = [&](const QByteArray &) { look(); };
    connect(&bench.channel, &Channel::updated, &bench.channel, look);
    bench.channel.load();
    QCOMPARE(wanted.takeLast(), latin("fr 6di \xe4 2dmon"));
    QCOMPARE(wanted.size(), 10); // the queries of this load
    QCOMPARE(wanted.count(latin("fr 6d \xe4 2dmon")), 10);

    // A tick of the user's counts at once, a half one does not; of the two rows z the first counts.
    bench.edit("tick=1:2 tick=2:1 tick=6:2");
    QCOMPARE(bench.ticks(), latin("fr 6d \xe4 2dmon|fr 6d \xe4 2dmon"));
    bench.edit("tick=4:2");
    QCOMPARE(bench.ticks(), latin("fr 6d z \xe4 2dmon|fr 6d z \xe4 2dmon"));
}

void TestChannel::loads_data()
{
    const QByteArray longest(200, 'h');
    const QByteArray off = "'tracker' a000007:5100 /4 off plain clean";
    const QByteArray all = "'tracker' a000007:5100 /1 on plain clean";
    table({{"output net ch01=none", "'' 0:5000 /4 on plain clean"},
           {"output net ch01=none ", "'' 0:0 /4 on plain clean"},
           {"output net ch01=", "'' 0:0 /4 on plain clean"},
           {"output net ch01", "'' 0:0 /4 on plain clean"},
           {"!output net ch01=multicast alias 6000", "'alias' a000007:6000 /4 on group clean"},
           {"output net ch01=Multicast 224.1.2.3 6000", "'224.1.2.3' e0010203:6000 /4 on plain clean"},
           {"output net ch01=tcp alias 6000", "'alias' a000007:6000 /4 on plain clean"},
           {"output net ch01=udp  6000", "'' 0:6000 /4 on plain clean"},
           {"output net ch01=udp alias  6000", "'alias' a000007:0 /4 on plain clean"},
           {"output net ch01=udp alias 6000 7000", "'alias' a000007:6000 /4 on plain clean"},
           {"output net ch01=udp alias 6000x", "'alias' a000007:0 /4 on plain clean"},
           {"output net ch01=udp alias 65535", "'alias' a000007:65535 /4 on plain clean"},
           {"output net ch01=udp alias 65536", "'alias' a000007:5100 /4 on plain clean"},
           {"output net ch01=udp alias -1", "'alias' a000007:5100 /4 on plain clean"},
           {"output net ch01=udp nowhere 6000", "'nowhere' 0:6000 /4 on plain clean"},
           {"output net ch01=udp tr\xe4ger 6000", "'tr\xe4ger' a000008:6000 /4 on plain clean"},
           {"output net ch01=udp " + longest + " 60", "'" + longest + "' 0:60 /4 on plain clean"},
           {"output net_active ch01=no", off},
           {"output net_active ch01=Yes", off},
           {"output net_active ch01=yes ", off},
           {"output net_active ch01", off},
           {"!output net_active ch01=yes", "'tracker' a000007:5100 /4 on plain clean"},
           {"output net_divisor ch01=0", all},
           {"output net_divisor ch01=-3", all},
           {"!output net_divisor ch01=7", all + ";! get value send data divisor"},
           {"output net_divisor ch01=20000", "'tracker' a000007:5100 /20000 on plain clean"}});
}

void TestChannel::loads()
{
    QFETCH(QString, expected);
    Bench bench;
    bench.load();
    bench.edit("multicast=1");
    bench.answer(input());
    bench.channel.load();
    QCOMPARE(bench.state(), expected.section(';', 0, 0));
    QString journal = "net ch01;net_active ch01;net_divisor ch01";
    if (expected.contains(';'))
        journal += ';' + expected.section(';', 1);
    QCOMPARE(bench.journal(), journal);
}

void TestChannel::loadsInOrder()
{
    Bench bench(9, latin("\xe4%1%s 2dmon 3d- 6d fr"));
    QStringList states;
    connect(&bench.channel, &Channel::updated, &bench.channel, [&] {
        states << bench.state();
        bench.edit("port=1024"); // what a page hands back is an edit
    });
    for (const char *answer :
         {"output net ch10=udp tracker 80", "output net_divisor ch10=4", "output net_active ch10=yes",
          "output active ch10 fr=yes", "!output active ch10 6d=yes", "output active ch10 3d=yes",
          "output active ch10 2dmon=yes "})
        bench.answer(answer);
    bench.channel.load();
    QCOMPARE(bench.journal(), latin("net ch10;net_active ch10;net_divisor ch10;active ch10 fr;active ch10 6d;"
                                    "! get output active of channel 10 and 6d;active ch10 \xe4%1%s;"
                                    "! get output active of channel 10 and \xe4%1%s;active ch10 2dmon"));
    QCOMPARE(bench.ticks(), latin("fr|fr"));
    bench.channel.load();
    const QString clean = "'tracker' a000007:80 /4 on plain clean";
    QCOMPARE(states, (QStringList{clean, clean}));
    bench.journal();
    bench.channel.commit(); // the tick that was read counts as held by the Controller
    QCOMPARE(bench.journal(), latin("net_active ch10 yes;net ch10 udp 'tracker' 1024;net_divisor ch10 4"));
}

void TestChannel::commits_data()
{
    // Edits of a channel with the rows fr, 6d (ticked), 3d (not available), 2dmon; behind the stroke those
    // that are handed over.
    const QByteArray rest = "net ch01 udp 'tracker' 5100;net_divisor ch01 4";
    const QByteArray mine = "net_active ch01 yes;net ch01 udp my_ip 5100;net_divisor ch01 4";
    table({{"|", "net_active ch01 yes"},
           {"tick=3:2|", "net_active ch01 yes;active ch01 2dmon yes;" + rest},
           {"tick=1:0|", "net_active ch01 yes;active ch01 6d no;" + rest},
           {"tick=3:2 tick=3:0|", "net_active ch01 yes"},
           {"tick=3:2 tick=2:2 tick=0:2 tick=1:0|", "net_active ch01 yes;active ch01 fr yes;active ch01 6d "
                                                    "no;active ch01 3d yes;active ch01 2dmon yes;" +
                                                        rest},
           {"host=tr\xe4ger|", "net_active ch01 yes;net ch01 udp 'tr\xe4ger' 5100;net_divisor ch01 4"},
           {"port=0|", "net_active ch01 yes;net ch01 udp 'tracker' 0;net_divisor ch01 4"},
           {"divisor=10|", "net_active ch01 yes;net ch01 udp 'tracker' 5100;net_divisor ch01 10"},
           {"multicast=1 host=pc|", "net_active ch01 yes;net ch01 multicast 'pc' 5100;net_divisor ch01 4"},
           {"host=10.1.2.3|", mine},
           {"host=pc|", mine},
           {"host=pc.lab.org|", mine},
           {"active=0 port=80 divisor=2 tick=1:0|", "net_active ch01 no"},
           {"|host=alias", "net_active ch01 yes;net ch01 udp 'alias' 5100;net_divisor ch01 4"},
           {"port=80|active=0", "net_active ch01 no"}});
}

void TestChannel::commits()
{
    QFETCH(QString, expected);
    const QStringList commands = expected.split(';');
    // Taken or refused, the same goes out and counts as committed; an inactive channel keeps its edits.
    for (bool refused : {false, true}) {
        Bench bench(0, "2dmon 3d- 6d fr");
        bench.load({"output active ch01 6d=yes"});
        bench.edit(input().section('|', 0, 0));
        connect(&bench.channel, &Channel::committingChanges, this,
                [&] { bench.edit(input().section('|', 1)); });
        QStringList journal;
        for (const QString &command : commands) {
            journal << command;
            if (!refused)
                continue;
            bench.manager.failing << "output " + command.toLatin1();
            if (command.startsWith("net_active"))
                journal << (command.endsWith("yes") ? "! activate channel" : "! deactivate channel");
            else if (command.startsWith("net_divisor"))
                journal << "! set value send data divisor";
        }
        bench.channel.commit();
        QCOMPARE(bench.journal(), journal.join(';'));
        QCOMPARE(bench.channel.hasChanges(), !bench.channel.isActive());

        bench.manager.failing.clear();
        bench.channel.commit();
        QCOMPARE(bench.journal(), journal[0]);
    }
}

void TestChannel::keepsEditsWhileOff()
{
    Bench bench(9, "6d 3d");
    bench.load({"output net_active ch10=no", "output active ch10 6d=yes"});
    bench.edit("tick=0:0 tick=1:2");
    bench.channel.commit();
    QCOMPARE(bench.journal(), latin("net_active ch10 no"));
    QVERIFY(bench.channel.hasChanges());
    bench.edit("active=1");
    bench.channel.commit();
    QCOMPARE(bench.journal(), latin("net_active ch10 yes;active ch10 6d no;active ch10 3d yes;"
                                    "net ch10 udp 'tracker' 5100;net_divisor ch10 4"));
}

void TestChannel::switchesControllerAlone()
{
    Bench bench(Channel::MaximumCount); // commit() writes no such channel
    bench.load();
    bench.edit("port=80");
    const QString before = bench.state();
    QSignalSpy handOver(&bench.channel, &Channel::committingChanges);
    bench.channel.commit();
    QCOMPARE(handOver.count(), 0);
    QCOMPARE(bench.journal(), QString());

    bench.channel.setActiveOnController(false);
    bench.channel.setActiveOnController(true);
    QCOMPARE(bench.journal(), latin("net_active ch11 no;net_active ch11 yes"));
    bench.manager.failing = {"output net_active ch11 no", "output net_active ch11 yes"};
    bench.channel.setActiveOnController(false);
    bench.channel.setActiveOnController(true);
    QCOMPARE(bench.journal(),
             latin("net_active ch11 no;! deactivate channel;net_active ch11 yes;! activate channel"));
    QCOMPARE(bench.state(), before);
}

QTEST_GUILESS_MAIN(TestChannel)
#include "test_channel.moc"
