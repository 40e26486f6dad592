#include "controllerlink.h"
#include "requester.h"
#include "simulatedcontroller.h"

#include <QSemaphore>
#include <QTest>

#include <thread>

namespace {

constexpr int waitMs = 10000;

using Texts = QList<QByteArray>;

/// Keeps what is delivered. A line "held" is held up until the test lets it go on.
class KeepingRequester final : public Requester
{
public:
    int onOutputData(const char *, const char *line) override
    {
        calls.append(line);
        entered.release();
        if (calls.last() == "held")
            proceed.acquire();
        return 0;
    }
    void onOutputReset() override { calls.append("reset"); }
    void onOutputIdle() override { calls.append("idle"); }

    QSemaphore entered, proceed;
    Texts calls;
};

/// The answer, "taken" for a command, or the result of a refusal.
QByteArray say(SimulatedController &controller, bool isCommand, const QByteArray &text)
{
    QByteArray answer = "taken";
    const int result = isCommand ? controller.command(text) : controller.query(text, &answer);
    return result == Taken ? answer : QByteArray::number(result);
}

} // namespace

/// What a command that is taken changes is seen in TestAccept and TestReentrancy; fail() and
/// overrideAnswer() are used, and so tested, in TestDialog and TestAccept.
class TestSimulatedController : public QObject
{
    Q_OBJECT

private slots:
    void refusalsChangeNothing();
    void treatmentOfPhrases();
    void linkCutsAnswersAndReadsNumbers();
    void deliveryFollowsRequests();
};

void TestSimulatedController::refusalsChangeNothing()
{
    SimulatedController controller;
    controller.change([](ControllerState &state) {
        state.channels[0] = {{Destination::Kind::Udp, "somehost", 5001}, true, 4, {"fr", "6d"}};
    });
    const auto refuse = [&](bool isCommand, int result, const QByteArray &texts) {
        const Texts all = texts.split('|');
        for (const QByteArray &text : all)
            QVERIFY2(say(controller, isCommand, text) == QByteArray::number(result), text.constData());
        const ControllerState state = controller.state();
        const auto &[destination, active, divisor, types] = state.channels[0];
        QVERIFY(destination == (Destination{Destination::Kind::Udp, "somehost", 5001}) && active &&
                divisor == 4);
        QVERIFY(types == QSet<QByteArray>({"fr", "6d"}) && !state.viaRouter);
    };
    refuse(false, OutOfRange,
           "output type t16|output available nothing|output active ch01 nothing|output net ch00|output net "
           "ch11");
    refuse(false, NotUnderstood,
           "|output net|output net ch1|output net ch-1|output  net ch01|output net ch01 |output active "
           "ch01|output type t1|output net ch01 none");
    refuse(true, OutOfRange,
           "output net ch01 udp 'other' 65536|output net ch11 none|output net_divisor ch01 0|output active "
           "ch01 gl yes");
    refuse(true, NotUnderstood,
           "output net ch01|output net ch1 none|output net ch01 tcp 'other' 5000|output net ch01 udp other "
           "5000|output net ch01 udp '' 5000|output net ch01 udp 'a'b' 5000|output net ch01 udp 'a b' "
           "5000|output net ch01 udp 'other' -1|output net_active ch01 NO|output net_divisor ch01 "
           "99999999999|output active ch01 6d|output net_via_router on");
    controller.change([](ControllerState &state) { state.locked = true; });
    refuse(true, Locked,
           "output net ch01 none|output net_active ch01 no|output active ch01 6d no|output net_divisor ch01 "
           "2|output net_via_router yes");
    for (const int minor : {3, 4, 5, 6, 8, 9}) {
        controller.change(
            [minor](ControllerState &state) { state.locked = false, state.version.minor = minor; });
        QCOMPARE(say(controller, false, "output net_via_router") == "no", minor >= 4);
        QCOMPARE(say(controller, true, "output net_divisor ch01 2") == "taken", minor >= 6);
        QCOMPARE(say(controller, false, "config is_changeable") == "yes", minor >= 9);
    }
}

void TestSimulatedController::treatmentOfPhrases()
{
    // What is said, and what begins alike and is not treated.
    const std::tuple<bool, QByteArray, QByteArray> cases[] = {
        {false, "output net ch02", "output net chmon"},
        {false, "output type t01", "output type_desc fr"},
        {true, "output net ch02 none", "output net_active ch02 no"}};
    for (const auto &[isCommand, text, alike] : cases) {
        SimulatedController controller;
        const QByteArray usual = say(controller, isCommand, text);
        const auto answersTo = [&, isCommand = isCommand, text = text](Treatment treatment) {
            controller.setTreatment(phraseOf(isCommand, text), treatment);
            return Texts{say(controller, isCommand, text), say(controller, isCommand, text)};
        };
        QCOMPARE(answersTo(Treatment::FailNext), Texts({"-1", usual}));
        QCOMPARE(answersTo(Treatment::FailEvery), Texts({"-1", "-1"}));
        QVERIFY(say(controller, isCommand, alike) != "-1");
        QCOMPARE(answersTo(Treatment::AnswerEmpty).last(), isCommand ? usual : QByteArray());
        QCOMPARE(answersTo(Treatment::AnswerGarbage).last().contains("%n"), !isCommand);
        controller.behave();
        QCOMPARE(say(controller, isCommand, text), usual);
    }
}

void TestSimulatedController::linkCutsAnswersAndReadsNumbers()
{
    SimulatedController controller;
    ControllerLink link(controller);
    int number = -5;
    QVERIFY(link.getIntValue(&number, "output %s", "number_of_types") == 0 && number == 15);
    controller.overrideAnswer("system model", QByteArray(1000, 'h'));
    QVERIFY(link.getIntValue(&number, "system model") != 0 && number == 15);
    QByteArray answer(ControllerLink::AnswerSize + 1, '#');
    QVERIFY(link.getValue(answer.data(), "system %s", "model") == 0 &&
            answer.endsWith(QByteArray("h\0#", 3)));
}

void TestSimulatedController::deliveryFollowsRequests()
{
    SimulatedController controller;
    ControllerLink link(controller);
    KeepingRequester requester;
    link.requestOutputType("6d", &requester);
    link.deliver("6d", "before it is registered");
    link.addRequester(&requester);
    link.deliver("3d", "not requested");
    link.deliver("6d", "6d 0");
    link.releaseOutputType("6d", &requester);
    link.deliver("6d", "released");
    link.deliverReset();
    link.deliverIdle();
    link.requestOutputType("6d", &requester);
    QVERIFY(requester.entered.tryAcquire());

    // Its removal waits for the call that is under way.
    std::thread data([&] { link.deliver("6d", "held"); });
    const bool entered = requester.entered.tryAcquire(1, waitMs);
    QSemaphore removed;
    std::thread remover([&] { removed.release(link.removeRequester(&requester) + 1); });
    QTRY_COMPARE_WITH_TIMEOUT(link.registeredCount(), 0, waitMs);
    const bool tooEarly = removed.tryAcquire();
    requester.proceed.release();
    data.join();
    remover.join();
    QVERIFY(entered && !tooEarly && removed.available() == 1);
    link.deliver("6d", "removed");
    link.deliverReset();
    QCOMPARE(requester.calls, Texts({"6d 0", "reset", "idle", "held"}));
    QVERIFY(link.removeRequester(&requester) != 0);
}

QTEST_GUILESS_MAIN(TestSimulatedController)
#include "test_simulatedcontroller.moc"
