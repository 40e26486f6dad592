// Life cycles with tracking data and messages.

#include "cycles.h"
#include "datathread.h"
#include "observation.h"

#include <networksettings2g/messagereceiver.h>

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

constexpr int requestLimitMilliseconds = 10000;

/// Runs the event loop until \a type is requested. Returns false if it is not requested within 10 s.
bool isRequestedSoon(Life &life, const char *type)
{
    QElapsedTimer timer;
    timer.start();
    while (!life.host.isRequested(type) && !timer.hasExpired(requestLimitMilliseconds))
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    return life.host.isRequested(type);
}

} // namespace

void messageOnAnotherThread(Life &life)
{
    life.begin();
    life.host.addType();
    int result = -1;
    // join() blocks the event loop of the GUI thread, so if onMessage() waited for the event loop, it would
    // never return.
    MessageReceiver *receiver = life.host.messageReceiver();
    std::thread([&] { result = receiver->onMessage(0, 0, "OutputTypesChanged"); }).join();
    life.step(
        "Pass \"OutputTypesChanged\" to onMessage() on another thread: it does not wait for the GUI thread.",
        result == 0);
    life.step("Run the event loop of the GUI thread: only then is the message handled.",
              isRequestedSoon(life, "mk"));
    // A tick whose query fails counts as not set.
    life.host.answers.erase("output active ch01 mk");
    receiver->onMessage(0, 0, "OutputTypesChanged");
    life.step(
        "Call onMessage() on the GUI thread without a lock: onMessage() calls IOManager before it returns.",
        !life.host.isRequested("mk"));
    life.end();
}

void dataOnFourThreads(Life &life)
{
    // Channel 1 gets its frames from one thread, channel 2 lines and resets from three.
    const DataThread frames(life.host, {"fr", "6d", "mk"});
    const DataThread lines(life.host, {"3d"});
    const DataThread moreLines(life.host, {"3d", "3d"});
    std::atomic<bool> stopping{false};
    std::thread resets([&] {
        while (!stopping) {
            life.host.deliver("3d", "3d 0");
            life.host.reset();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    });
    life.begin();
    life.step("Deliver the lines of a frame in order on one thread: they leave as one datagram.",
              frameArrives(life.receiver, {"fr", "6d"}));
    life.host.addType();
    life.host.messageReceiver()->onMessage(0, 0, "OutputTypesChanged");
    life.step("Report a changed catalogue while data arrives: the frames then contain the new type.",
              frameArrives(life.receiver, {"fr", "6d", "mk"}));
    life.step("Do not stop the data threads before the following steps.", true);
    life.end();
    stopping = true;
    resets.join();
}
