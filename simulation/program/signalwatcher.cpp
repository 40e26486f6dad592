#include "signalwatcher.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace simulation {

namespace {

constexpr int watchedSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

int selfPipe[2] = {-1, -1};
QSocketNotifier *notifier = nullptr;

void onSignal(int)
{
    const int before = errno;
    const char mark = 1;
    const ssize_t written = ::write(selfPipe[1], &mark, sizeof mark);
    // A write fails only if the pipe is full, and then it holds enough marks.
    static_cast<void>(written);
    errno = before;
}

void takeSignal()
{
    char mark = 0;
    if (::read(selfPipe[0], &mark, sizeof mark) == sizeof mark)
        QCoreApplication::quit();
}

void install(int signal)
{
    struct sigaction action = {};
    // A program that was started with nohup ignores SIGHUP.
    if (signal == SIGHUP && sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    // SA_RESETHAND restores the default action when the signal arrives. The same signal, sent again,
    // therefore ends a program whose shutdown hangs. SIGPIPE comes again with every further write.
    if (signal != SIGPIPE)
        action.sa_flags |= int(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
}

} // namespace

SignalWatcher::SignalWatcher()
{
    if (::pipe2(selfPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("cannot create a pipe for signals");
    notifier = new QSocketNotifier(selfPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, takeSignal);
    for (const int signal : watchedSignals)
        install(signal);
}

SignalWatcher::~SignalWatcher()
{
    for (const int signal : watchedSignals)
        std::signal(signal, SIG_DFL);
    delete notifier;
    ::close(selfPipe[0]);
    ::close(selfPipe[1]);
}

} // namespace simulation
