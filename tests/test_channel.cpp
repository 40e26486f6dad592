#include "backendversions.h"
#include "channel.h"
#include "fakeiomanager.h"
#include "table.h"

#include <QHostAddress>

#include <dlfcn.h>
#include <functional>
#include <netdb.h>

namespace {

QHash<QByteArray, QByteArray> hostNames; // from a name to its dotted address
int lookUps = 0;

} // namespace

// Replaces the look-up of the C library, so that the tests need no name service and can count look-ups.
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

using Edit = std::function<void(Channel &)>;

QString latin(const char *text)
{
    return QString::fromLatin1(text);
}

/// Returns output types with the given names, which are separated by blanks. Their descriptions are their
/// positions, from 0 on. A type whose name is followed by "-" is not available.
QList<OutputTypeInfo> catalogue(const char *names)
{
    QList<OutputTypeInfo> types;
    const QStringList parts = latin(names).split(' ', Qt::SkipEmptyParts);
    for (const QString &name : parts)
        types << OutputTypeInfo{name.section('-', 0, 0), QString::number(types.size()), !name.contains('-')};
    return types;
}

/// A host with a Controller of version 1.6, and the first channel after load(): active, divisor 4, host
/// "tracker", port 5100. Its rows 0 to 3 are "fr", "6d" (ticked), "3d" (not available) and "2dmon" (hidden).
/// The journal is empty, and no look-up is counted yet.
struct Setup
{
    Setup()
    {
        hostNames = {{"tracker", "10.0.0.7"}, {"alias", "10.0.0.7"}, {"tr\xe4ger", "10.0.0.8"}};
        manager.answers = {{"output net ch01", "udp tracker 5100"}, {"output net_active ch01", "yes"},
                           {"output net_divisor ch01", "4"},        {"output active ch01 fr", "no"},
                           {"output active ch01 6d", "yes"},        {"output active ch01 2dmon", "no"}};
        channel.setMonitorIp("10.1.2.3");
        channel.setHostName("pc");
        channel.setDomainName("lab.org");
        channel.setOutputTypes(catalogue("2dmon 3d- 6d fr"));
        channel.load();
        manager.takeJournal();
        lookUps = 0;
    }

    FakeIOManager manager;
    BackendVersions versions{{9, 9, 9}, 1, 6, 0};
    Channel channel{&manager, 0, &versions};
};

void tick(Channel &channel, int row, bool on)
{
    channel.typeModel()->item(row)->setCheckState(on ? Qt::Checked : Qt::Unchecked);
}

QString describe(const Channel &channel)
{
    return latin("'%1' %2:%3 divisor %4 %5 %6 %7")
        .arg(channel.host(), QHostAddress(channel.ip()).toString())
        .arg(channel.port())
        .arg(channel.dataDivisor())
        .arg(channel.isActive() ? "on" : "off", channel.isMulticast() ? "multicast" : "unicast",
             channel.hasChanges() ? "changed" : "unchanged");
}

/// Returns the names of the rows, each followed by "(fixed)" if the user cannot change the tick, by
/// "(unavailable)" if the Controller reports the type as unavailable, and by "(hidden)" if the page does not
/// show the row.
QStringList describeRows(Channel &channel)
{
    QStringList rows;
    for (int row = 0; row < channel.typeModel()->rowCount(); ++row) {
        const QStandardItem *name = channel.typeModel()->item(row, Channel::IdentifierColumn);
        const QStandardItem *description = channel.typeModel()->item(row, Channel::DescriptionColumn);
        rows << name->text() + (name->isEnabled() ? "" : "(fixed)") +
                    (description->data(Qt::UserRole).toBool() ? "" : "(unavailable)") +
                    (channel.hiddenRows().contains(row) ? "(hidden)" : "");
    }
    return rows;
}

} // namespace

Q_DECLARE_METATYPE(Edit)

/// Tests the catalogue, the model of one channel, and the queries and commands that they send.
class TestChannel : public QObject
{
    Q_OBJECT

private slots:
    void catalogueHasTheTypesThatTheControllerNames();
    void monitorIpIsTheSecondFieldOfTheAnswer();
    void rowsFollowTheFixedOrder_data();
    void rowsFollowTheFixedOrder();
    void thisComputerIsKnownByAddressNameAndFullName_data();
    void thisComputerIsKnownByAddressNameAndFullName();
    void unknownAddressesAreTheSameDestination();
    void loadReadsTheState_data();
    void loadReadsTheState();
    void loadQueriesNoUnavailableTypeAndNoUnknownDivisor();
    void failedQueriesOfDivisorAndTicksAreLogged();
    void twoDigitChannelAndSpecialTypeNameAreSentUnchanged();
    void loadPublishesTicksOnceAtItsEnd();
    void valuesClampedByThePageAreEdits();
    void onlyValidChangesAreStored_data();
    void onlyValidChangesAreStored();
    void failedLookUpIsRepeated();
    void commitSendsPendingEditsOnlyIfActive_data();
    void commitSendsPendingEditsOnlyIfActive();
    void commitSendsEachEditOnce();
    void refusedCommandsCountAsCommitted();
};

void TestChannel::catalogueHasTheTypesThatTheControllerNames()
{
    FakeIOManager manager;
    manager.answers = {{"output number_of_types", "4"}, {"output type t01", "6d"},
                       {"output type t02", "ts"},       {"output type t03", "3d"},
                       {"output type t04", "gl"},       {"output type_desc 6d", R"("6d "body" 'data'")"},
                       {"output type_desc 3d", ""},     {"output type_desc gl", "unused"},
                       {"output available 6d", "yes"},  {"output available 3d", "yes "},
                       {"output available gl", "yes"}};
    manager.failing = {"output type t02", "output type_desc gl", "output available gl"};
    QList<OutputTypeInfo> types = catalogue("of the previous catalogue");
    QCOMPARE(queryOutputTypes(&manager, &types), 0);
    QStringList described;
    for (const OutputTypeInfo &type : qAsConst(types))
        described << type.name + ": " + type.description + (type.available ? ", available" : "");
    QCOMPARE(described, QStringList({"6d: 6d body 'data', available", "3d: ", "gl: "}));
    manager.answers.clear();
    QCOMPARE(queryOutputTypes(&manager, &types), 0);
    QVERIFY(types.isEmpty());
    QCOMPARE(manager.journal.filter("log "),
             QStringList({"log standard ORVANE3 1 Error: Unable to get output type t02",
                          "log standard ORVANE3 1 Error: Unable to get type description",
                          "log standard ORVANE3 1 Error: Unable to get output availability of gl",
                          "log standard ORVANE3 1 Error: Unable to get number of output types"}));
    // A Controller without types is no failure.
    manager.journal.clear();
    for (const char *count : {"0", "-1"}) {
        manager.answers["output number_of_types"] = count;
        QCOMPARE(queryOutputTypes(&manager, &types), 0);
    }
    QCOMPARE(manager.journal.filter("log "), QStringList());
}

void TestChannel::monitorIpIsTheSecondFieldOfTheAnswer()
{
    FakeIOManager manager;
    QCOMPARE(queryMonitorIp(&manager), QString()); // the query fails and writes nothing
    manager.answers["output net chmon"] = "udp 10.1.2.3 5000";
    QCOMPARE(queryMonitorIp(&manager), latin("10.1.2.3"));
}

void TestChannel::rowsFollowTheFixedOrder_data()
{
    const Table<QByteArray, QString> row("types", "rows");
    row("known types first, others in the order of the catalogue",
        "new gl glcal 6dmtr 6dmt2 6df2 3d 6di 6d 6dcal st ts ts2 fr 2dmon 6D",
        "fr(fixed) ts2 ts st 6dcal 6d 6di 3d 6df2 6dmt2 6dmtr glcal gl new 2dmon(hidden) 6D");
    row("unavailable types, a type without a name, a type listed twice", "2dmon z - 2dmon fr- 6d-",
        "fr(fixed)(unavailable) 6d(fixed)(unavailable) 2dmon(hidden) z 2dmon(hidden)");
}

void TestChannel::rowsFollowTheFixedOrder()
{
    QFETCH(QByteArray, types);
    Setup setup;
    setup.channel.setOutputTypes(catalogue(types));
    QTEST(describeRows(setup.channel).join(' '), "rows");
}

void TestChannel::thisComputerIsKnownByAddressNameAndFullName_data()
{
    const Table<QString, QString, QString, QString, bool> row("address", "hostName", "domain", "candidate",
                                                              "isMine");
    const QString address = "10.1.2.3";
    row("address", address, "pc", "lab.org", address, true);
    row("name", address, "pc", "lab.org", "pc", true);
    row("name and domain", address, "pc", "lab.org", "pc.lab.org", true);
    row("empty, name unknown", address, "", "lab.org", "", false);
    row("empty, address unknown", "", "pc", "lab.org", "", true);
    row("domain only, name unknown", address, "", "lab.org", ".lab.org", false);
    row("name with a dot, domain unknown", address, "pc", "", "pc.", false);
}

void TestChannel::thisComputerIsKnownByAddressNameAndFullName()
{
    QFETCH(QString, address);
    QFETCH(QString, hostName);
    QFETCH(QString, domain);
    QFETCH(QString, candidate);
    Setup setup;
    setup.channel.setMonitorIp(address);
    setup.channel.setHostName(hostName);
    setup.channel.setDomainName(domain);
    QTEST(setup.channel.isMyIp(candidate), "isMine");
}

void TestChannel::unknownAddressesAreTheSameDestination()
{
    Setup setup;
    Channel other(&setup.manager, 1, &setup.versions);
    other.setActive(true);
    other.setPort(5100);
    other.setHost("nowhere");
    QVERIFY(!setup.channel.hasSameDestination(other));
    setup.channel.setHost("nobody");
    QVERIFY(setup.channel.hasSameDestination(other));
}

void TestChannel::loadReadsTheState_data()
{
    const Table<QByteArray, QByteArray, bool, QString> row("query", "answer", "fails", "state");
    const char *destination = "output net ch01";
    row("no destination", destination, "none", false, "'' 0.0.0.0:5000 divisor 4 on unicast unchanged");
    row("multicast, query fails but writes an answer", destination, "multicast alias 6000", true,
        "'alias' 10.0.0.7:6000 divisor 4 on multicast unchanged");
    row("kind with a capital letter, Latin-1 host, fourth field", destination,
        "Multicast tr\xe4ger 6000 7000", false,
        latin("'tr\xe4ger' 10.0.0.8:6000 divisor 4 on unicast unchanged"));
    row("empty host, port too large", destination, "udp  65536", false,
        "'' 0.0.0.0:5100 divisor 4 on unicast unchanged");
    row("active, but with a trailing blank", "output net_active ch01", "yes ", false,
        "'tracker' 10.0.0.7:5100 divisor 4 off multicast unchanged");
    row("divisor 0", "output net_divisor ch01", "0", false,
        "'tracker' 10.0.0.7:5100 divisor 1 on multicast unchanged");
}

void TestChannel::loadReadsTheState()
{
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, answer);
    QFETCH(bool, fails);
    Setup setup;
    setup.manager.answers["output net ch01"] = "multicast tracker 5100";
    setup.manager.answers[query] = answer;
    if (fails)
        setup.manager.failing << query;
    setup.channel.load();
    QTEST(describe(setup.channel), "state");
}

void TestChannel::loadQueriesNoUnavailableTypeAndNoUnknownDivisor()
{
    Setup setup;
    const QString divisor = "output net_divisor ch01";
    QStringList queries{"output net ch01",       "output net_active ch01", divisor,
                        "output active ch01 fr", "output active ch01 6d",  "output active ch01 2dmon"};
    setup.channel.load();
    QCOMPARE(setup.manager.takeJournal(), queries);
    setup.versions.minor = 5;
    queries.removeAll(divisor);
    setup.channel.load();
    QCOMPARE(setup.manager.takeJournal(), queries);
    QCOMPARE(setup.channel.dataDivisor(), 1);
}

void TestChannel::failedQueriesOfDivisorAndTicksAreLogged()
{
    Setup setup;
    setup.manager.failing = {"output net_divisor ch01", "output active ch01 6d"};
    setup.channel.setOutputTypes(catalogue("6d"));
    setup.channel.load();
    QCOMPARE(setup.manager.journal.filter("log "),
             QStringList({"log standard ORVANE3 1 Error: Unable to get value send data divisor",
                          "log standard ORVANE3 1 Error: Unable to get output active of channel 1 and 6d"}));
    QVERIFY(!setup.channel.isTypeActive("6d"));
    QCOMPARE(setup.channel.dataDivisor(), 1); // not the 4 that the failed query has written
}

void TestChannel::twoDigitChannelAndSpecialTypeNameAreSentUnchanged()
{
    Setup setup;
    Channel tenth(&setup.manager, 9, &setup.versions);
    setup.manager.answers["output net_active ch10"] = "yes";
    setup.manager.answers["output active ch10 \xe4%1%s"] = "yes";
    tenth.setOutputTypes(catalogue("\xe4%1%s"));
    tenth.load();
    QVERIFY(!tenth.hasChanges());
    tick(tenth, 0, false);
    setup.manager.journal.clear();
    tenth.commit();
    QCOMPARE(setup.manager.takeJournal().mid(0, 2),
             QStringList({"output net_active ch10 yes", latin("output active ch10 \xe4%1%s no")}));
}

/// During a refresh all ticks of the rows are off until they have been read. If each change were published,
/// frames that arrive meanwhile would lack lines.
void TestChannel::loadPublishesTicksOnceAtItsEnd()
{
    Setup setup;
    setup.manager.answers["output active ch01 6d"] = "no";
    setup.manager.answers["output active ch01 6di"] = "yes";
    setup.manager.answers["output active ch01 3d"] = "yes";
    QList<QVector<QByteArray>> published;
    setup.channel.setTickedTypesCallback([&] { published << setup.channel.tickedTypes(); });
    setup.manager.onCall = [&](const QByteArray &) {
        QCOMPARE(setup.channel.tickedTypes(), QVector<QByteArray>({"6d"}));
    };
    setup.channel.setOutputTypes(catalogue("6d 6di 3d fr-"));
    setup.channel.load();
    QCOMPARE(published, QList<QVector<QByteArray>>({{"3d", "6di"}}));
}

void TestChannel::valuesClampedByThePageAreEdits()
{
    Setup setup;
    setup.manager.answers["output net ch01"] = "udp tracker 80";
    QString loaded;
    connect(&setup.channel, &Channel::updated, this, [&] {
        loaded = describe(setup.channel);
        setup.channel.setPort(1024);
    });
    setup.channel.load();
    QCOMPARE(loaded, latin("'tracker' 10.0.0.7:80 divisor 4 on unicast unchanged"));
    QCOMPARE(describe(setup.channel), latin("'tracker' 10.0.0.7:1024 divisor 4 on unicast changed"));
}

void TestChannel::onlyValidChangesAreStored_data()
{
    const Table<QString, Edit> row("state", "edit");
    const char *unchanged = "'tracker' 10.0.0.7:5100 divisor 4 on unicast unchanged";
    row("values out of range", unchanged, [](Channel &channel) {
        channel.setPort(-1);
        channel.setPort(65536);
        channel.setDataDivisor(0);
    });
    row("all values as they are", unchanged, [](Channel &channel) {
        channel.setPort(5100);
        channel.setDataDivisor(4);
        channel.setActive(true);
        channel.setMulticast(false);
        channel.setHost("tracker");
    });
    row("all values", "'10.0.0.7' 10.0.0.7:65535 divisor 1 off multicast changed", [](Channel &channel) {
        channel.setPort(65535);
        channel.setDataDivisor(1);
        channel.setActive(false);
        channel.setMulticast(true);
        channel.setIp(0x0a000007);
    });
    row("tick", "'tracker' 10.0.0.7:5100 divisor 4 on unicast changed",
        [](Channel &channel) { tick(channel, 3, true); });
}

void TestChannel::onlyValidChangesAreStored()
{
    QFETCH(Edit, edit);
    Setup setup;
    edit(setup.channel);
    QTEST(describe(setup.channel), "state");
    QCOMPARE(lookUps, 0);
}

void TestChannel::failedLookUpIsRepeated()
{
    Setup setup;
    for (const int expected : {1, 2}) {
        setup.channel.setHost("nowhere");
        QCOMPARE(lookUps, expected);
        QCOMPARE(describe(setup.channel), latin("'nowhere' 0.0.0.0:5100 divisor 4 on unicast changed"));
    }
}

void TestChannel::commitSendsPendingEditsOnlyIfActive_data()
{
    const Table<QStringList, Edit> row("commands", "edit");
    const QString on = "output net_active ch01 yes";
    const QString off = "output net_active ch01 no";
    const QString destination = "output net ch01 udp 'tracker' 5100";
    const QString divisor = "output net_divisor ch01 4";
    row("tick set and cleared again", {on}, [](Channel &channel) {
        tick(channel, 3, true);
        tick(channel, 3, false);
    });
    row("ticks, also of fixed, unavailable and hidden rows",
        {on, "output active ch01 fr yes", "output active ch01 6d no", "output active ch01 3d yes",
         "output active ch01 2dmon yes", destination, divisor},
        [](Channel &channel) {
            tick(channel, 3, true);
            tick(channel, 2, true);
            tick(channel, 0, true);
            tick(channel, 1, false);
        });
    row("multicast with the name of this computer", {on, "output net ch01 multicast 'pc' 5100", divisor},
        [](Channel &channel) {
            channel.setMulticast(true);
            channel.setHost("pc");
        });
    row("inactive with a pending port", {off}, [](Channel &channel) {
        channel.setPort(80);
        channel.setActive(false);
    });
    row("made inactive, committed, made active again",
        {off, on, "output active ch01 6d no", destination, divisor}, [](Channel &channel) {
            channel.setActive(false);
            tick(channel, 1, false);
            channel.commit();
            channel.setActive(true);
        });
}

void TestChannel::commitSendsPendingEditsOnlyIfActive()
{
    QFETCH(Edit, edit);
    Setup setup;
    edit(setup.channel);
    setup.channel.commit();
    QTEST(setup.manager.takeJournal(), "commands");
}

void TestChannel::commitSendsEachEditOnce()
{
    Setup setup;
    setup.versions.major = 2; // 2.0 is later than 1.6 although its minor number is smaller
    setup.versions.minor = 0;
    setup.channel.setDataDivisor(7);
    setup.channel.commit();
    setup.channel.commit();
    QCOMPARE(setup.manager.takeJournal(),
             QStringList({"output net_active ch01 yes", "output net ch01 udp 'tracker' 5100",
                          "output net_divisor ch01 7", "output net_active ch01 yes"}));
}

void TestChannel::refusedCommandsCountAsCommitted()
{
    Setup setup;
    setup.manager.failing = {"output net_active ch01 yes", "output active ch01 6d no",
                             "output net ch01 udp 'tracker' 80", "output net_divisor ch01 4"};
    setup.channel.setPort(80);
    tick(setup.channel, 1, false);
    setup.channel.commit();
    QCOMPARE(setup.manager.takeJournal(),
             QStringList(
                 {"output net_active ch01 yes", "log standard ORVANE3 1 Error: Unable to activate channel",
                  "output active ch01 6d no", "output net ch01 udp 'tracker' 80", "output net_divisor ch01 4",
                  "log standard ORVANE3 1 Error: Unable to set value send data divisor"}));
    QVERIFY(!setup.channel.hasChanges());
    setup.manager.failing = {"output net_active ch01 no"};
    setup.channel.setActive(false);
    setup.channel.commit();
    QCOMPARE(setup.manager.takeJournal(),
             QStringList({"output net_active ch01 no",
                          "log standard ORVANE3 1 Error: Unable to deactivate channel"}));
}

QTEST_GUILESS_MAIN(TestChannel)
#include "test_channel.moc"
