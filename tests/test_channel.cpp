#include "backendversions.h"
#include "channel.h"
#include "fakeiomanager.h"

#include <QtTest>

#include <dlfcn.h>
#include <netdb.h>

namespace {

QHash<QByteArray, QByteArray> hostNames; // from a name to its dotted address
int lookUps = 0;

} // namespace

// Look-ups end here: the tests depend on no name service, and they count.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the declaration's names are reserved
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints, addrinfo **found)
{
    ++lookUps;
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const QByteArray address = hostNames.value(name);
    return address.isEmpty() ? EAI_NONAME : real(address.constData(), service, hints, found);
}

using namespace networksettings2g;

namespace {

QString latin(const QByteArray &text)
{
    return QString::fromLatin1(text);
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

/// A channel between its host and a Controller of version 1.6. It is active, sends every fourth frame to
/// "tracker", port 5100, and has the rows fr, 6d (ticked), 3d (not available) and 2dmon.
struct Bench
{
    Bench()
    {
        hostNames = {{"tracker", "10.0.0.7"}, {"alias", "10.0.0.7"}, {"tr\xe4ger", "10.0.0.8"}};
        run("net ch01=udp tracker 5100|net_active ch01=yes|net_divisor ch01=4|active ch01 fr=no|"
            "active ch01 6d=yes|active ch01 2dmon=no|number_of_types=1|type t01=6d|type_desc 6d=body|"
            "available 6d=yes|new=0|address=10.1.2.3|name=pc|domain=lab.org|types=2dmon 3d- 6d fr|load");
        manager.journal.clear();
        lookUps = 0;
    }

    /// Does the steps of \a script, which a stroke parts: a verb with its value, or else an answer of the
    /// Controller as "query=answer"; with "!" before it: answered, yet failed; without "=": not answered.
    void run(const QString &script)
    {
        const QStringList steps = script.split('|');
        for (const QString &step : steps) {
            const QString name = step.section('=', 0, 0), value = step.section('=', 1);
            if (verbs.contains(name)) {
                verbs[name](value);
                continue;
            }
            const QByteArray query = "output " + QString(name).remove('!').toLatin1();
            manager.answers.remove(query);
            if (step.contains('='))
                manager.answers.insert(query, value.toLatin1());
            if (name.startsWith('!'))
                manager.failing << query;
        }
    }

    /// What the host was asked and what the script shows, with "! " for a line in the log that begins as all
    /// do.
    QString transcript()
    {
        return QString(';' + manager.takeJournal().join(';'))
            .replace(";log standard ORVANE3 1 Error: Unable to ", ";! ")
            .replace(";output ", ";")
            .mid(1);
    }

    /// Which types the data threads want.
    QString wanted() const
    {
        QStringList wanted;
        for (const char *name : {"fr", "6d", "6di"}) {
            if (channel->tickedTypes().contains(name))
                wanted << name;
        }
        return wanted.join(' ');
    }

    void show(const QString &text) { manager.journal << text; }
    void tick(int row, Qt::CheckState state) { channel->typeModel()->item(row)->setCheckState(state); }

    void showState()
    {
        show(latin("'%1' %2:%3 /%4 %5 %6 %7")
                 .arg(channel->host(), QString::number(channel->ip(), 16))
                 .arg(channel->port())
                 .arg(channel->dataDivisor())
                 .arg(channel->isActive() ? "on" : "off", channel->isMulticast() ? "group" : "plain",
                      channel->hasChanges() ? "changed" : "clean"));
    }

    /// Rows as "name#description", with "!" for a tick out of reach and "-" for not available; behind the
    /// stroke the hidden ones.
    void showRows()
    {
        const QStandardItemModel &model = *channel->typeModel();
        QStringList rows, hidden;
        for (int row = 0; row < model.rowCount(); ++row) {
            const QStandardItem *name = model.item(row, Channel::IdentifierColumn);
            const QStandardItem *description = model.item(row, Channel::DescriptionColumn);
            rows << name->text() + '#' + description->text() + (name->isEnabled() ? "" : "!") +
                        (description->data(Qt::UserRole).toBool() ? "" : "-");
        }
        for (const int row : channel->hiddenRows())
            hidden << QString::number(row);
        show(rows.join(' ') + '|' + hidden.join(' '));
    }

    void showCatalogue()
    {
        QList<OutputTypeInfo> types = catalogue("of the catalogue before");
        queryOutputTypes(&manager, &types);
        for (const OutputTypeInfo &type : qAsConst(types))
            show(type.name + ',' + type.description + (type.available ? ",yes" : ",no"));
    }

    FakeIOManager manager;
    BackendVersions versions{{9, 9, 9}, 1, 6, 0};
    std::unique_ptr<Channel> channel;

    using Value = const QString &;
    const QHash<QString, std::function<void(Value)>> verbs{
        {"new", [this](Value v) { channel = std::make_unique<Channel>(&manager, v.toInt(), &versions); }},
        {"major", [this](Value v) { versions.major = v.toInt(); }},
        {"minor", [this](Value v) { versions.minor = v.toInt(); }},
        {"address", [this](Value v) { channel->setMonitorIp(v); }},
        {"name", [this](Value v) { channel->setHostName(v); }},
        {"domain", [this](Value v) { channel->setDomainName(v); }},
        {"types", [this](Value v) { channel->setOutputTypes(catalogue(v)); }},
        {"port", [this](Value v) { channel->setPort(v.toInt()); }},
        {"divisor", [this](Value v) { channel->setDataDivisor(v.toInt()); }},
        {"active", [this](Value v) { channel->setActive(v.toInt()); }},
        {"multicast", [this](Value v) { channel->setMulticast(v.toInt()); }},
        {"host", [this](Value v) { channel->setHost(v); }},
        {"tick", [this](Value v) { tick(v.toInt(), Qt::Checked); }},
        {"untick", [this](Value v) { tick(v.toInt(), Qt::Unchecked); }},
        {"load",
         [this](Value) {
             channel->load();
             manager.journal = manager.journal.filter("log ");
             showState();
         }},
        {"ask", [this](Value) { channel->load(); }},
        {"commit", [this](Value) { channel->commit(); }},
        {"updated", [this](Value v) { QObject::connect(channel.get(), &Channel::updated, [=] { run(v); }); }},
        {"committing",
         [this](Value v) { QObject::connect(channel.get(), &Channel::committingChanges, [=] { run(v); }); }},
        {"watch", [this](Value v) { manager.onCall = [=](const QByteArray &) { run(v); }; }},
        {"state", [this](Value) { showState(); }},
        {"wanted", [this](Value) { show(wanted()); }},
        {"rows", [this](Value) { showRows(); }},
        {"look-ups", [this](Value) { show(QString::number(lookUps)); }},
        {"mine", [this](Value v) { show(channel->isMyIp(v) ? "yes" : "no"); }},
        {"catalogue", [this](Value) { showCatalogue(); }},
        {"monitor", [this](Value) { show(queryMonitorIp(&manager)); }}};
};

} // namespace

class TestChannel : public QObject
{
    Q_OBJECT

private slots:
    void behaves_data();
    void behaves();
};

void TestChannel::behaves_data()
{
    QTest::addColumn<QString>("expected");
    const auto row = [](const QByteArray &script, const QByteArray &expected) {
        QTest::newRow(script.constData()) << latin(expected);
    };

    // The catalogue: quotes go, and no failure ends it.
    row(R"(type_desc 6d="6d "body" 'data'"|catalogue)",
        "number_of_types;type t01;type_desc 6d;available 6d;6d,6d body 'data',yes");
    row("number_of_types=3|!type t02=6d|type t03=6d|!type_desc 6d=lost|!available 6d=yes|catalogue",
        "number_of_types;type t01;type_desc 6d;! get type description;available 6d;"
        "! get output availability of 6d;type t02;! get output type t02;type t03;type_desc 6d;"
        "! get type description;available 6d;! get output availability of 6d;6d,,no;6d,,no");
    // The rows: their order, what is out of reach, what is hidden.
    row("types=new gl glcal 6dmtr 6dmt2 6df2 3d 6di 6d 6dcal st ts ts2 fr 2dmon 6D|rows",
        "fr#13! ts2#12 ts#11 st#10 6dcal#9 6d#8 6di#7 3d#6 6df2#5 6dmt2#4 6dmtr#3 glcal#2 gl#1 new#0 "
        "2dmon#14 6D#15|14");
    row("types=2dmon z - 2dmon fr- 6d-|rows", "fr#4!- 6d#5!- 2dmon#0 z#1 2dmon#3|2 4");

    // This computer.
    row("net chmon=udp 10.1.2.3 5000|monitor|net chmon|monitor", "net chmon;10.1.2.3;net chmon;");
    row("mine=10.1.2.3|mine=pc|mine=pc.lab.org|mine=PC|mine=", "yes;yes;yes;no;no");
    row("name=|mine=|mine=.lab.org|name=pc|domain=|mine=pc|mine=pc.", "no;no;yes;no");

    // Reading a channel.
    row("multicast=1|net ch01=none|load", "'' 0:5000 /4 on plain clean");
    row("!net ch01=multicast alias 6000|load", "'alias' a000007:6000 /4 on group clean");
    row("multicast=1|net ch01=Multicast tr\xe4ger 6000 7000|load",
        "'tr\xe4ger' a000008:6000 /4 on plain clean");
    row("net ch01=udp  65536|load", "'' 0:5100 /4 on plain clean");
    row("net_active ch01=yes |load", "'tracker' a000007:5100 /4 off plain clean");
    row("net_divisor ch01=0|load", "'tracker' a000007:5100 /1 on plain clean");
    row("!net_divisor ch01=7|load", "! get value send data divisor;'tracker' a000007:5100 /1 on plain clean");
    // A refresh tears no frame: the data threads see the ticks of before until all are read.
    row("types=6d 6di|active ch01 6d=no|active ch01 6di=yes|wanted|watch=wanted|updated=wanted|ask",
        "6d;net ch01;6d;net_active ch01;6d;net_divisor ch01;6d;active ch01 6d;6d;active ch01 6di;6d;6di");
    // What a page hands back is an edit, and a tick that was read counts as held by the Controller.
    row("new=9|types=\xe4%1%s 3d- 6d|net ch10=udp tracker 80|net_active ch10=yes|net_divisor ch10=4|"
        "!active ch10 6d=yes|active ch10 3d=yes|active ch10 \xe4%1%s=yes|updated=state|updated=port=1024|"
        "ask|commit",
        "net ch10;net_active ch10;net_divisor ch10;active ch10 6d;! get output active of channel 10 and 6d;"
        "active ch10 \xe4%1%s;'tracker' a000007:80 /4 on plain clean;net_active ch10 yes;"
        "net ch10 udp 'tracker' 1024;net_divisor ch10 4");

    // Edits.
    row("port=-1|port=65536|port=5100|divisor=0|divisor=4|active=1|multicast=0|host=tracker|state|look-ups",
        "'tracker' a000007:5100 /4 on plain clean;0");
    row("port=0|state|port=65535|divisor=1|active=0|multicast=1|state",
        "'tracker' a000007:0 /4 on plain changed;'tracker' a000007:65535 /1 off group changed");
    row("host=nowhere|host=nowhere|state|look-ups", "'nowhere' 0:5100 /4 on plain changed;2");
    row("major=2|minor=0|divisor=7|commit",
        "net_active ch01 yes;net ch01 udp 'tracker' 5100;net_divisor ch01 7");

    // Committing: all that is pending, once; an inactive channel keeps it.
    row("tick=3|untick=3|commit", "net_active ch01 yes");
    row("tick=3|tick=2|tick=0|untick=1|commit|commit",
        "net_active ch01 yes;active ch01 fr yes;active ch01 6d no;active ch01 3d yes;"
        "active ch01 2dmon yes;net ch01 udp 'tracker' 5100;net_divisor ch01 4;net_active ch01 yes");
    row("multicast=1|host=pc|commit", "net_active ch01 yes;net ch01 multicast 'pc' 5100;net_divisor ch01 4");
    row("committing=host=pc.lab.org|commit",
        "net_active ch01 yes;net ch01 udp my_ip 5100;net_divisor ch01 4");
    row("port=80|committing=active=0|commit", "net_active ch01 no");
    row("active=0|untick=1|commit|active=1|commit", "net_active ch01 no;net_active ch01 yes;active ch01 6d "
                                                    "no;net ch01 udp 'tracker' 5100;net_divisor ch01 4");
    // Refused counts as committed.
    row("!net_active ch01 yes|!active ch01 6d no|!net ch01 udp 'tracker' 80|"
        "!net_divisor ch01 4|port=80|untick=1|commit|state",
        "net_active ch01 yes;! activate channel;active ch01 6d no;net ch01 udp 'tracker' 80;"
        "net_divisor ch01 4;! set value send data divisor;'tracker' a000007:80 /4 on plain clean");
}

void TestChannel::behaves()
{
    Bench bench;
    bench.run(latin(QTest::currentDataTag()));
    QTEST(bench.transcript(), "expected");
}

QTEST_GUILESS_MAIN(TestChannel)
#include "test_channel.moc"
