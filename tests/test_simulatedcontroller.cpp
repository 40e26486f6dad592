#include "controllerlink.h"
#include "recordingcontroller.h"
#include "requester.h"
#include "table.h"
#include "waiting.h"

#include <QSemaphore>
#include <QThread>
#include <QUdpSocket>

#include <thread>

using namespace simulation;

namespace {

using Texts = QList<QByteArray>;

/// Records what is delivered. The call with the line "slow" lasts until the requester is being removed, and a
/// moment longer.
class RecordingRequester final : public Requester
{
public:
    explicit RecordingRequester(const ControllerLink &link)
        : m_link(link)
    {
    }
    int onOutputData(const char *, const char *line) override
    {
        if (QByteArray(line) == "slow") {
            entered.release();
            comesTrue([this] { return m_link.registeredCount() == 0; });
            QThread::msleep(20);
        }
        calls.append(line);
        return 0;
    }
    void onOutputReset() override { calls.append("reset"); }
    void onOutputIdle() override { calls.append("idle"); }

    QSemaphore entered; ///< released by the call with the line "slow"
    Texts calls;

private:
    const ControllerLink &m_link;
};

/// Sends a command or a query. If it is accepted, returns "accepted" for a command and the answer to a query;
/// otherwise returns the result as text.
QByteArray send(SimulatedController &controller, bool isCommand, const QByteArray &text)
{
    QByteArray answer = "accepted";
    const int result = isCommand ? controller.command(text) : controller.query(text, &answer);
    return result == Accepted ? answer : QByteArray::number(result);
}

} // namespace

class TestSimulatedController : public QObject
{
    Q_OBJECT

private slots:
    void refusedTextsChangeNothing_data();
    void refusedTextsChangeNothing();
    void versionDeterminesTheFeatures();
    void faultAffectsOneKindOfText();
    void frontendHasAnAddressThatTheDialogAcceptsWithEveryModel();
    void linkTruncatesLongAnswersAndReadsNumbers();
    void requesterGetsOnlyRequestedTypesUntilItIsRemoved();
};

void TestSimulatedController::refusedTextsChangeNothing_data()
{
    const Table<bool, bool, int, Texts> row("isCommand", "isLocked", "result", "texts");
    row("unknown type or channel", false, false, OutOfRange,
        {"output type t16", "output available nothing", "output active ch01 nothing", "output net ch11"});
    row("malformed query", false, false, NotUnderstood,
        {"", "output net", "output net ch1", "output  net ch01", "output net ch01 ", "output active ch01"});
    row("value out of range", true, false, OutOfRange,
        {"output net ch01 udp 'other' 65536", "output net ch11 none", "output net_divisor ch01 0",
         "output active ch01 gl yes"});
    row("malformed command", true, false, NotUnderstood,
        {"output net ch1 none", "output net ch01 tcp 'other' 5000", "output net ch01 udp other 5000",
         "output net ch01 udp 'a b' 5000", "output net_active ch01 NO", "output net_via_router on"});
    row("locked configuration", true, true, Locked, {"output net ch01 none", "output net_via_router yes"});
}

void TestSimulatedController::refusedTextsChangeNothing()
{
    QFETCH(const bool, isCommand);
    QFETCH(const bool, isLocked);
    QFETCH(const int, result);
    QFETCH(const Texts, texts);
    SimulatedController controller;
    const OutputChannel before{{Destination::Kind::Udp, "somehost", 5001}, true, 4, {"fr", "6d"}};
    controller.change([&](ControllerState &state) {
        state.channels[0] = before;
        state.locked = isLocked;
    });
    for (const QByteArray &text : texts) {
        QVERIFY2(send(controller, isCommand, text) == QByteArray::number(result), text.constData());
        const ControllerState state = controller.state();
        const OutputChannel &channel = state.channels[0];
        QVERIFY2(channel.destination == before.destination && channel.active == before.active &&
                     channel.divisor == before.divisor && channel.types == before.types && !state.viaRouter,
                 text.constData());
    }
}

void TestSimulatedController::versionDeterminesTheFeatures()
{
    SimulatedController controller;
    for (const int minor : {3, 4, 5, 6, 8, 9}) {
        controller.change([minor](ControllerState &state) { state.version.minor = minor; });
        QCOMPARE(send(controller, false, "output net_via_router") == "no", minor >= 4);
        QCOMPARE(send(controller, true, "output net_divisor ch01 2") == "accepted", minor >= 6);
        QCOMPARE(send(controller, false, "config is_changeable") == "yes", minor >= 9);
        controller.change([](ControllerState &state) { state.locked = true; });
        QCOMPARE(send(controller, true, "output net ch01 none") == "accepted", minor < 9);
        controller.change([](ControllerState &state) { state.locked = false; });
    }
}

void TestSimulatedController::faultAffectsOneKindOfText()
{
    // Each case consists of isCommand, the text with the fault, and a text of another kind that begins
    // similarly.
    const std::tuple<bool, QByteArray, QByteArray> cases[] = {
        {false, "output net ch02", "output net chmon"},
        {false, "output type t01", "output type_desc fr"},
        {true, "output net ch02 none", "output net_active ch02 no"}};
    for (const auto &[isCommand, text, similar] : cases) {
        SimulatedController controller;
        const QByteArray usual = send(controller, isCommand, text);
        const auto answersTo = [&, isCommand = isCommand, text = text](Fault fault) {
            controller.setFault(commandKindOf(isCommand, text), fault);
            return Texts{send(controller, isCommand, text), send(controller, isCommand, text)};
        };
        QCOMPARE(answersTo(Fault::FailNext), Texts({"-1", usual}));
        QCOMPARE(answersTo(Fault::FailEvery), Texts({"-1", "-1"}));
        QVERIFY(send(controller, isCommand, similar) != "-1");
        QCOMPARE(answersTo(Fault::AnswerEmpty).last(), isCommand ? usual : QByteArray());
        QCOMPARE(answersTo(Fault::AnswerGarbage).last().contains("%n"), !isCommand);
        controller.clearFaults();
        QCOMPARE(send(controller, isCommand, text), usual);
    }
}

void TestSimulatedController::frontendHasAnAddressThatTheDialogAcceptsWithEveryModel()
{
    SimulatedController controller;
    const QList<QByteArray> words = send(controller, false, "output net chmon").split(' ');
    const QHostAddress address(QString::fromLatin1(words.value(1)));
    QVERIFY(!address.isNull() && address != QHostAddress::LocalHost);
    QVERIFY(QUdpSocket().bind(address)); // it is an address of this computer
}

void TestSimulatedController::linkTruncatesLongAnswersAndReadsNumbers()
{
    RecordingController controller;
    ControllerLink link(controller);
    int number = -5;
    QVERIFY(link.getIntValue(&number, "output %s", "number_of_types") == 0 && number == 15);
    controller.overrideAnswer("system model", QByteArray(1000, 'h'));
    QVERIFY(link.getIntValue(&number, "system model") != 0 && number == 15);
    QByteArray answer(ControllerLink::AnswerSize + 1, '#');
    QVERIFY(link.getValue(answer.data(), "system %s", "model") == 0 &&
            answer.endsWith(QByteArray("h\0#", 3)));
}

void TestSimulatedController::requesterGetsOnlyRequestedTypesUntilItIsRemoved()
{
    SimulatedController controller;
    ControllerLink link(controller);
    RecordingRequester requester(link);
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

    std::thread data([&] { link.deliver("6d", "slow"); });
    requester.entered.acquire();
    const int result = link.removeRequester(&requester); // waits for the call in progress
    const Texts calls = requester.calls;
    data.join();
    QCOMPARE(result, 0);
    link.deliver("6d", "removed");
    link.deliverReset();
    QCOMPARE(calls, Texts({"6d 0", "reset", "idle", "slow"}));
    QCOMPARE(requester.calls, calls);
    QVERIFY(link.removeRequester(&requester) != 0);
}

QTEST_GUILESS_MAIN(TestSimulatedController)
#include "test_simulatedcontroller.moc"
