#include "controllerlink.h"
#include "requester.h"
#include "simulatedcontroller.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <thread>

namespace {

constexpr int waitMs = 10000;

/// The answer, or the result of a query that fails.
QByteArray answerOf(SimulatedController &controller, const QByteArray &question)
{
    QByteArray answer;
    const int result = controller.query(question, &answer);
    return result == Taken ? answer : QByteArray::number(result);
}

/// All that the refused commands are about.
QList<QByteArray> answersOf(SimulatedController &controller)
{
    QList<QByteArray> answers;
    for (const char *question : {"output net ch01", "output net_active ch01", "output net_divisor ch01",
                                 "output active ch01 6d", "output active ch01 gl", "output net_via_router"})
        answers.append(answerOf(controller, question));
    return answers;
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
        calls.append(QByteArray(type) + ':' + line);
        return 0;
    }
    void onOutputReset() override { calls.append("reset"); }
    void onOutputIdle() override { calls.append("idle"); }

    bool holdsUp = false;
    QSemaphore entered;
    QSemaphore proceed;
    QList<QByteArray> calls;
};

} // namespace

/// What the commands that it takes change, TestEditing compares with the pages.
class TestSimulatedController : public QObject
{
    Q_OBJECT

private slots:
    void refusals();
    void versionGates();
    void faultsOverridesAndRecord();
    void linkCutsAnswersAndReadsNumbers();
    void deliveryFollowsRequests();
    void removalWaitsForCall();
};

void TestSimulatedController::refusals()
{
    SimulatedController controller;
    controller.change([](ControllerState &state) {
        state.channels[0] = {{Destination::Kind::Udp, "somehost", 5001}, true, 4, {"fr", "6d"}};
    });
    const QList<QByteArray> before = answersOf(controller);
    const auto refuse = [&](bool query, int result, std::initializer_list<const char *> texts) {
        for (const char *text : texts) {
            QByteArray answer = "untouched";
            const int given = query ? controller.query(text, &answer) : controller.command(text);
            QVERIFY2(given == result && answer == "untouched", text);
            QVERIFY2(answersOf(controller) == before, text);
        }
    };
    refuse(true, OutOfRange,
           {"output type t16", "output available nothing", "output active ch01 nothing", "output net ch00",
            "output net ch11"});
    refuse(true, NotUnderstood,
           {"", "output net", "output net ch1", "output net ch-1", "output  net ch01", "output net ch01 ",
            "output active ch01", "output type t1", "output net ch01 none"});
    refuse(false, OutOfRange,
           {"output net ch01 udp 'other' 65536", "output net ch11 none", "output net_divisor ch01 0",
            "output active ch01 gl yes"});
    refuse(false, NotUnderstood,
           {"output net ch01", "output net ch1 none", "output net ch01 tcp 'other' 5000",
            "output net ch01 udp other 5000", "output net ch01 udp '' 5000", "output net ch01 udp 'a'b' 5000",
            "output net ch01 udp 'a b' 5000", "output net ch01 udp 'other' -1", "output net_active ch01 NO",
            "output net_divisor ch01 99999999999", "output active ch01 6d", "output net_via_router on"});
    controller.change([](ControllerState &state) { state.locked = true; });
    refuse(false, Locked,
           {"output net ch01 none", "output net_active ch01 no", "output active ch01 6d no",
            "output net_divisor ch01 2", "output net_via_router yes"});
}

void TestSimulatedController::versionGates()
{
    SimulatedController controller;
    QByteArray answer;
    for (const int minor : {3, 4, 5, 6, 8, 9}) {
        controller.change([minor](ControllerState &state) { state.version.minor = minor; });
        QCOMPARE(controller.query("output net_via_router", &answer) == Taken, minor >= 4);
        QCOMPARE(controller.command("output net_divisor ch01 2") == Taken, minor >= 6);
        QCOMPARE(controller.query("config is_changeable", &answer) == Taken, minor >= 9);
    }
}

void TestSimulatedController::faultsOverridesAndRecord()
{
    SimulatedController controller;
    const QByteArray activate = "output net_active ch01 yes";
    QSignalSpy changes(&controller, &SimulatedController::stateChanged);
    controller.fail(activate, SimulatedController::Match::Exact, SimulatedController::Times::Once, 7);
    QCOMPARE(controller.command(activate), 7);
    QCOMPARE(answerOf(controller, "output net_active ch01"), QByteArray("no"));
    QCOMPARE(controller.command(activate), int(Taken));
    QCOMPARE(answerOf(controller, "output net_active ch01"), QByteArray("yes"));
    QCOMPARE(changes.count(), 1);
    controller.fail("output net_active", SimulatedController::Match::Prefix);
    QCOMPARE(controller.command(activate), -1);
    QCOMPARE(controller.command(activate), -1);

    controller.overrideAnswer("output net ch01", "multicast");
    QCOMPARE(answerOf(controller, "output net ch01"), QByteArray("multicast"));
    controller.fail("output net ch01");
    QByteArray answer;
    QCOMPARE(controller.query("output net ch01", &answer), -1);
    QCOMPARE(answer, QByteArray("multicast"));
    controller.behave();
    QCOMPARE(answerOf(controller, "output net ch01"), QByteArray("none"));

    controller.clearRecord();
    controller.command("nonsense");
    controller.query("system model", &answer);
    controller.command(activate);
    QCOMPARE(controller.commands(), QList<QByteArray>({"nonsense", activate}));
    QCOMPARE(controller.record().value(0).result, int(NotUnderstood));
    QCOMPARE(controller.record().value(1).answer, QByteArray("100"));
}

void TestSimulatedController::linkCutsAnswersAndReadsNumbers()
{
    SimulatedController controller;
    ControllerLink link(controller);
    const QByteArray longHost(1000, 'h');
    QCOMPARE(link.setValue("output net ch%02d udp '%s' %d", 3, longHost.constData(), 5000), 0);
    QCOMPARE(controller.state().channels[2].destination.host, longHost);
    char answer[ControllerLink::answerSize + 1];
    std::fill_n(answer, sizeof answer, '#');
    QCOMPARE(link.getValue(answer, "output net ch%02d", 3), 0);
    QCOMPARE(qstrlen(answer), uint(ControllerLink::answerSize - 1));
    QCOMPARE(answer[ControllerLink::answerSize], '#');

    int number = -5;
    QCOMPARE(link.getIntValue(&number, "output %s", "number_of_types"), 0);
    controller.overrideAnswer("system model", "many");
    QVERIFY(link.getIntValue(&number, "system model") != 0);
    QCOMPARE(number, 15);
}

void TestSimulatedController::deliveryFollowsRequests()
{
    SimulatedController controller;
    ControllerLink link(controller);
    KeepingRequester requester;
    link.requestOutputType("6d", &requester);
    link.deliver("6d", "before it is registered");
    link.addRequester(&requester);
    link.deliver("3d", "3d 0\r\n");
    link.deliver("6d", "6d 0\r\n");
    link.releaseOutputType("6d", &requester);
    link.deliver("6d", "6d 1\r\n");
    link.deliverReset();
    link.deliverIdle();
    link.requestOutputType("6d", &requester);
    QCOMPARE(link.removeRequester(&requester), 0);
    link.deliver("6d", "6d 2\r\n");
    link.deliverReset();
    QCOMPARE(requester.calls, QList<QByteArray>({"6d:6d 0\r\n", "reset", "idle"}));
    QVERIFY(link.removeRequester(&requester) != 0);
}

void TestSimulatedController::removalWaitsForCall()
{
    SimulatedController controller;
    ControllerLink link(controller);
    KeepingRequester requester;
    requester.holdsUp = true;
    link.addRequester(&requester);
    link.requestOutputType("fr", &requester);
    std::thread data([&] { link.deliver("fr", "fr 1\r\n"); });
    const bool entered = requester.entered.tryAcquire(1, waitMs);
    QSemaphore removed;
    std::thread remover([&] {
        link.removeRequester(&requester);
        removed.release();
    });
    QTRY_COMPARE_WITH_TIMEOUT(link.registeredCount(), 0, waitMs);
    const bool tooEarly = removed.tryAcquire();
    requester.proceed.release();
    data.join();
    remover.join();
    QVERIFY(entered && !tooEarly);
}

QTEST_GUILESS_MAIN(TestSimulatedController)
#include "test_simulatedcontroller.moc"
