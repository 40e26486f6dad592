#include "signalwatcher.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace simulation {

namespace {

int selfPipe[2] = {-1, -1};

void onSignal(int)
{
    const int before = errno;
    const char mark = 1;
    const ssize_t written = ::write(selfPipe[1], &mark, sizeof mark);
    // A handler could do nothing about a failed write. The pipe cannot be full: because of SA_RESETHAND, each
    // of the two signals writes at most one byte.
    static_cast<void>(written);
    errno = before;
}

void install(int signal)
{
    struct sigaction action = {};
    action.sa_handler = onSignal;
    // SA_RESETHAND restores the default action when the signal arrives. The same signal, sent again,
    // therefore ends a program whose shutdown hangs.
    action.sa_flags = int(SA_RESTART | SA_RESETHAND);
    sigaction(signal, &action, nullptr);
}

} // namespace

SignalWatcher::SignalWatcher(QObject *parent)
    : QObject(parent)
{
    if (::pipe2(selfPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("cannot create a pipe for signals");
    m_notifier = new QSocketNotifier(selfPipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SignalWatcher::takeSignal);
    install(SIGINT);
    install(SIGTERM);
}

SignalWatcher::~SignalWatcher()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    delete m_notifier;
    ::close(selfPipe[0]);
    ::close(selfPipe[1]);
}

void SignalWatcher::takeSignal()
{
    char mark = 0;
    if (::read(selfPipe[0], &mark, sizeof mark) == sizeof mark)
        emit interrupted();
}

} // namespace simulation
