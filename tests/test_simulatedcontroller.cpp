#include "controllerlink.h"
#include "messagereceiver.h"
#include "requester.h"
#include "simulatedcontroller.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <thread>

namespace {

constexpr int WaitMs = 10000;

/// A Controller with something on its first channels.
void setUpChannels(ControllerState &state)
{
    state.monitorAddress = "10.1.2.3";
    state.channels[0] = {{Destination::Kind::Udp, "somehost", 5001}, true, 4, {"fr", "6d"}};
    state.channels[2] = {{Destination::Kind::Multicast, "239.255.1.2", 65535}, false, 1, {}};
}

/// Keeps what is delivered. Each line may be held up until the test lets it go on.
class KeepingRequester final : public Requester
{
public:
    int onOutputData(const char *type, const char *line) override
    {
        entered.release();
        if (holdsUp)
            proceed.acquire();
        lines.append(QByteArray(type) + ':' + line);
        return 0;
    }
    void onOutputReset() override { ++resets; }
    void onOutputIdle() override { ++idles; }

    bool holdsUp = false;
    QSemaphore entered;
    QSemaphore proceed;
    QList<QByteArray> lines;
    int resets = 0;
    int idles = 0;
};

class KeepingReceiver final : public MessageReceiver
{
public:
    int onMessage(int, int, const char *text) override
    {
        texts.append(text);
        return 0;
    }

    QList<QByteArray> texts;
};

} // namespace

class TestSimulatedController : public QObject
{
    Q_OBJECT

private slots:
    void queries_data();
    void queries();
    void commands_data();
    void commands();
    void versionGates_data();
    void versionGates();
    void lockRefusesChanges();
    void faultsAndOverrides();
    void recordKeepsOrder();
    void linkFormatsAndCuts();
    void linkReadsNumbers();
    void deliveryFollowsRequests();
    void removalWaitsForCall();
    void messagesReachReceivers();
};

void TestSimulatedController::queries_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("answer");

    const auto row = [](const char *text, int result, const char *answer = "") {
        QTest::newRow(text) << QByteArray(text) << result << QByteArray(answer);
    };
    row("config is_changeable", Taken, "yes");
    row("system model", Taken, "100");
    row("output net_via_router", Taken, "no");
    row("output net chmon", Taken, "udp 10.1.2.3 5000");
    row("output number_of_types", Taken, "15");
    row("output type t01", Taken, "fr");
    row("output type t10", Taken, "6dmt2");
    row("output type_desc 6d", Taken, "\"Position and orientation of bodies\"");
    row("output available 6d", Taken, "yes");
    row("output available gl", Taken, "no");
    row("output net ch01", Taken, "udp somehost 5001");
    row("output net ch02", Taken, "none");
    row("output net ch03", Taken, "multicast 239.255.1.2 65535");
    row("output net_active ch01", Taken, "yes");
    row("output net_active ch03", Taken, "no");
    row("output net_divisor ch01", Taken, "4");
    row("output active ch01 6d", Taken, "yes");
    row("output active ch01 3d", Taken, "no");

    row("output type t00", OutOfRange);
    row("output type t16", OutOfRange);
    row("output type_desc nothing", OutOfRange);
    row("output available nothing", OutOfRange);
    row("output active ch01 nothing", OutOfRange);
    row("output net ch00", OutOfRange);
    row("output net ch11", OutOfRange);

    row("", NotUnderstood);
    row("output", NotUnderstood);
    row("output net", NotUnderstood);
    row("output net ch1", NotUnderstood);
    row("output net ch001", NotUnderstood);
    row("output net ch-1", NotUnderstood);
    row("output net CH01", NotUnderstood);
    row("output  net ch01", NotUnderstood);
    row("output net ch01 ", NotUnderstood);
    row("output active ch01", NotUnderstood);
    row("output type t1", NotUnderstood);
    row("system model now", NotUnderstood);
    row("output net ch01 none", NotUnderstood);
}

void TestSimulatedController::queries()
{
    QFETCH(QByteArray, text);
    SimulatedController controller;
    controller.change(setUpChannels);
    QByteArray answer = "untouched";
    QTEST(controller.query(text, &answer), "result");
    QFETCH(int, result);
    if (result == Taken)
        QTEST(answer, "answer");
    else
        QCOMPARE(answer, QByteArray("untouched"));
}

void TestSimulatedController::commands_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("question");
    QTest::addColumn<QByteArray>("answer");

    const auto row = [](const char *text, int result, const char *question, const char *answer) {
        QTest::newRow(text) << QByteArray(text) << result << QByteArray(question) << QByteArray(answer);
    };
    const char *net = "output net ch01";
    row("output net ch01 none", Taken, net, "none");
    row("output net ch10 udp my_ip 5010", Taken, "output net ch10", "udp 10.1.2.3 5010");
    row("output net ch01 udp 'other.example' 0", Taken, net, "udp other.example 0");
    row("output net ch01 udp 'my_ip' 5010", Taken, net, "udp my_ip 5010");
    row("output net ch01 multicast '239.1.1.1' 65535", Taken, net, "multicast 239.1.1.1 65535");
    row("output net_active ch03 yes", Taken, "output net_active ch03", "yes");
    row("output net_active ch01 no", Taken, "output net_active ch01", "no");
    row("output net_divisor ch01 10000", Taken, "output net_divisor ch01", "10000");
    row("output active ch01 3d yes", Taken, "output active ch01 3d", "yes");
    row("output active ch01 6d no", Taken, "output active ch01 6d", "no");
    row("output active ch01 gl no", Taken, "output active ch01 gl", "no");
    row("output net_via_router yes", Taken, "output net_via_router", "yes");

    const char *before = "udp somehost 5001";
    row("output net ch01 udp 'other' 65536", OutOfRange, net, before);
    row("output net ch11 none", OutOfRange, net, before);
    row("output net_divisor ch01 0", OutOfRange, "output net_divisor ch01", "4");
    row("output active ch01 nothing yes", OutOfRange, net, before);
    row("output active ch01 gl yes", OutOfRange, "output active ch01 gl", "no");

    row("output net ch01", NotUnderstood, net, before);
    row("output net ch1 none", NotUnderstood, net, before);
    row("output net ch01 nothing", NotUnderstood, net, before);
    row("output net ch01 tcp 'other' 5000", NotUnderstood, net, before);
    row("output net ch01 udp other 5000", NotUnderstood, net, before);
    row("output net ch01 udp '' 5000", NotUnderstood, net, before);
    row("output net ch01 udp 'a b' 5000", NotUnderstood, net, before);
    row("output net ch01 udp 'a'b' 5000", NotUnderstood, net, before);
    row("output net ch01 udp 'other'", NotUnderstood, net, before);
    row("output net ch01 udp 'other' -1", NotUnderstood, net, before);
    row("output net ch01 udp 'other' 5000 ", NotUnderstood, net, before);
    row("output net ch01 multicast my_ip 5000", NotUnderstood, net, before);
    row("output net_active ch01 maybe", NotUnderstood, "output net_active ch01", "yes");
    row("output net_active ch01 NO", NotUnderstood, "output net_active ch01", "yes");
    row("output net_divisor ch01 2x", NotUnderstood, "output net_divisor ch01", "4");
    row("output net_divisor ch01 99999999999", NotUnderstood, "output net_divisor ch01", "4");
    row("output active ch01 6d", NotUnderstood, "output active ch01 6d", "yes");
    row("output net_via_router", NotUnderstood, "output net_via_router", "no");
    row("output net_via_router on", NotUnderstood, "output net_via_router", "no");
}

void TestSimulatedController::commands()
{
    QFETCH(QByteArray, text);
    QFETCH(int, result);
    QFETCH(QByteArray, question);
    SimulatedController controller;
    controller.change(setUpChannels);
    QSignalSpy changes(&controller, &SimulatedController::stateChanged);
    QCOMPARE(controller.command(text), result);
    QCOMPARE(changes.count(), result == Taken ? 1 : 0);
    QByteArray answer;
    QCOMPARE(controller.query(question, &answer), int(Taken));
    QTEST(answer, "answer");
}

void TestSimulatedController::versionGates_data()
{
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("third");
    QTest::addColumn<bool>("router");
    QTest::addColumn<bool>("divisor");
    QTest::addColumn<bool>("lock");

    QTest::newRow("1.3") << 3 << 9 << false << false << false;
    QTest::newRow("1.4.-2") << 4 << -2 << false << false << false;
    QTest::newRow("1.4.-1") << 4 << -1 << true << false << false;
    QTest::newRow("1.6") << 6 << 0 << true << true << false;
    QTest::newRow("1.9.-2") << 9 << -2 << true << true << false;
    QTest::newRow("1.9") << 9 << 0 << true << true << true;
}

void TestSimulatedController::versionGates()
{
    QFETCH(int, minor);
    QFETCH(int, third);
    SimulatedController controller;
    controller.change([=](ControllerState &state) { state.version = {{0, 0, 0}, 1, minor, third}; });
    QByteArray answer;
    QTEST(controller.query("output net_via_router", &answer) == Taken, "router");
    QTEST(controller.command("output net_via_router yes") == Taken, "router");
    QTEST(controller.query("output net_divisor ch01", &answer) == Taken, "divisor");
    QTEST(controller.command("output net_divisor ch01 2") == Taken, "divisor");
    QTEST(controller.query("config is_changeable", &answer) == Taken, "lock");
}

void TestSimulatedController::lockRefusesChanges()
{
    SimulatedController controller;
    controller.change([](ControllerState &state) { state.locked = true; });
    QByteArray answer;
    QCOMPARE(controller.query("config is_changeable", &answer), int(Taken));
    QCOMPARE(answer, QByteArray("no"));
    for (const char *text :
         {"output net ch01 udp 'h' 5000", "output net ch01 none", "output net_active ch01 yes",
          "output active ch01 6d yes", "output net_divisor ch01 2", "output net_via_router yes"})
        QCOMPARE(controller.command(text), int(Locked));
    const ControllerState state = controller.state();
    QCOMPARE(state.channels[0].destination.kind, Destination::Kind::None);
    QVERIFY(!state.channels[0].active && state.channels[0].types == QSet<QByteArray>({"fr"}) &&
            !state.viaRouter);
}

void TestSimulatedController::faultsAndOverrides()
{
    SimulatedController controller;
    controller.fail("output net_active ch01 yes", SimulatedController::Match::Exact,
                    SimulatedController::Times::Once, 7);
    QCOMPARE(controller.command("output net_active ch01 yes"), 7);
    QVERIFY(!controller.state().channels[0].active);
    QCOMPARE(controller.command("output net_active ch01 yes"), int(Taken));
    QVERIFY(controller.state().channels[0].active);

    controller.fail("output net_active", SimulatedController::Match::Prefix);
    QCOMPARE(controller.command("output net_active ch01 no"), -1);
    QCOMPARE(controller.command("output net_active ch02 yes"), -1);

    controller.overrideAnswer("output net ch01", "multicast");
    QByteArray answer;
    QCOMPARE(controller.query("output net ch01", &answer), int(Taken));
    QCOMPARE(answer, QByteArray("multicast"));
    controller.fail("output net ch01");
    answer.clear();
    QCOMPARE(controller.query("output net ch01", &answer), -1);
    QCOMPARE(answer, QByteArray("multicast"));

    controller.behave();
    QCOMPARE(controller.query("output net ch01", &answer), int(Taken));
    QCOMPARE(answer, QByteArray("none"));
    QCOMPARE(controller.command("output net_active ch02 yes"), int(Taken));
}

void TestSimulatedController::recordKeepsOrder()
{
    SimulatedController controller;
    QByteArray answer;
    controller.command("output net_active ch01 yes");
    controller.query("system model", &answer);
    controller.command("nonsense");
    const QList<Exchange> record = controller.record();
    QCOMPARE(record.size(), 3);
    QCOMPARE(record.at(1).kind, Exchange::Kind::Query);
    QCOMPARE(record.at(1).answer, QByteArray("100"));
    QCOMPARE(record.at(2).result, int(NotUnderstood));
    QCOMPARE(controller.commands(), QList<QByteArray>({"output net_active ch01 yes", "nonsense"}));
    controller.clearRecord();
    QVERIFY(controller.record().isEmpty());
}

void TestSimulatedController::linkFormatsAndCuts()
{
    SimulatedController controller;
    ControllerLink link(controller);
    const QByteArray longHost(1000, 'h');
    QCOMPARE(link.setValue("output net ch%02d udp '%s' %d", 3, longHost.constData(), 5000), 0);
    QCOMPARE(controller.state().channels[2].destination.host, longHost);

    char answer[ControllerLink::AnswerSize + 1];
    std::fill_n(answer, sizeof answer, '#');
    QCOMPARE(link.getValue(answer, "output net ch%02d", 3), 0);
    QCOMPARE(qstrlen(answer), uint(ControllerLink::AnswerSize - 1));
    QCOMPARE(answer[ControllerLink::AnswerSize], '#');

    QCOMPARE(link.log("standard", "NAME", 1, "text"), 0);
    QCOMPARE(link.logLines().value(0).message, QByteArray("text"));
}

void TestSimulatedController::linkReadsNumbers()
{
    SimulatedController controller;
    ControllerLink link(controller);
    int number = -5;
    QCOMPARE(link.getIntValue(&number, "output number_of_types"), 0);
    QCOMPARE(number, 15);
    controller.overrideAnswer("system model", "many");
    QVERIFY(link.getIntValue(&number, "system %s", "model") != 0);
    QVERIFY(link.getIntValue(&number, "system size") != 0);
    QCOMPARE(number, 15);
}

void TestSimulatedController::deliveryFollowsRequests()
{
    SimulatedController controller;
    ControllerLink link(controller);
    KeepingRequester requester;
    link.requestOutputType("6d", &requester);
    link.deliver("6d", "before it is registered");
    QCOMPARE(link.addRequester(&requester), 0);
    link.requestOutputType("6d", &requester);
    link.requestOutputType("fr", &requester);
    QCOMPARE(link.releaseOutputType("3d", &requester), 0);
    link.deliver("fr", "fr 1\r\n");
    link.deliver("3d", "3d 0\r\n");
    link.deliver("6d", "6d 0\r\n");
    link.releaseOutputType("6d", &requester);
    link.deliver("6d", "6d 1\r\n");
    link.deliverReset();
    link.deliverIdle();
    QCOMPARE(requester.lines, QList<QByteArray>({"fr:fr 1\r\n", "6d:6d 0\r\n"}));
    QCOMPARE(requester.resets, 1);
    QCOMPARE(requester.idles, 1);

    QCOMPARE(link.removeRequester(&requester), 0);
    link.deliver("fr", "fr 2\r\n");
    link.deliverReset();
    QCOMPARE(requester.lines.size(), 2);
    QCOMPARE(requester.resets, 1);
    QVERIFY(link.removeRequester(&requester) != 0);
    QCOMPARE(link.registeredCount(), 0);
}

void TestSimulatedController::removalWaitsForCall()
{
    SimulatedController controller;
    ControllerLink link(controller);
    KeepingRequester requester;
    requester.holdsUp = true;
    link.addRequester(&requester);
    link.requestOutputType("fr", &requester);
    std::thread data([&link] { link.deliver("fr", "fr 1\r\n"); });
    const bool entered = requester.entered.tryAcquire(1, WaitMs);

    QSemaphore removed;
    std::thread remover([&] {
        link.removeRequester(&requester);
        removed.release();
    });
    QTRY_COMPARE_WITH_TIMEOUT(link.registeredCount(), 0, WaitMs);
    const bool tooEarly = removed.tryAcquire();
    requester.proceed.release();
    data.join();
    remover.join();
    QVERIFY(entered);
    QVERIFY(!tooEarly);
    QVERIFY(removed.tryAcquire());
    QCOMPARE(requester.lines.size(), 1);
}

void TestSimulatedController::messagesReachReceivers()
{
    SimulatedController controller;
    ControllerLink link(controller);
    KeepingReceiver receiver;
    QCOMPARE(link.addMessageReceiver("name", &receiver), 0);
    link.sendMessage("OutputTypesChanged");
    QVERIFY(link.removeMessageReceiver("other name", &receiver) != 0);
    QCOMPARE(link.removeMessageReceiver("name", &receiver), 0);
    link.sendMessage("OutputTypesChanged");
    QCOMPARE(receiver.texts, QList<QByteArray>({"OutputTypesChanged"}));
}

QTEST_GUILESS_MAIN(TestSimulatedController)
#include "test_simulatedcontroller.moc"
