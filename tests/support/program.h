#pragma once

#include <QProcess>

#include <csignal>

/// One of the project's programs as a process.
class Program : public QProcess
{
public:
    static constexpr int LimitMs = 30000;

    /// Starts the program \a path with \a arguments, which are separated by blanks. Its standard input is
    /// \a input.
    Program(const char *path, const QString &arguments, const QByteArray &input = {})
    {
        start(QLatin1String(path), arguments.split(' ', Qt::SkipEmptyParts));
        write(input);
        closeWriteChannel();
    }

    /// Waits for the next line of standard output and returns it without surrounding white space. If the
    /// program ends, or prints nothing for LimitMs, returns the part of the line that has come until then.
    QByteArray nextLine()
    {
        while (!canReadLine() && waitForReadyRead(LimitMs)) {
        }
        return readLine().trimmed();
    }

#ifndef Q_OS_WIN
    void sendSignal(int signal)
    {
        ::kill(pid_t(processId()), signal);
    }
#endif

    /// Waits for the end of the process. Returns the exit status, or -1 if the process did not start, crashed
    /// or did not end within \a limitMs.
    int status(int limitMs = LimitMs)
    {
        const bool hasEnded = state() == QProcess::NotRunning || waitForFinished(limitMs);
        const bool hasRun = hasEnded && error() != QProcess::FailedToStart;
        return hasRun && exitStatus() == QProcess::NormalExit ? exitCode() : -1;
    }

    /// Waits for the end of the process. Returns whether the program \a name refused its arguments, that is,
    /// ended with status 2, wrote one message "NAME: ..." to standard error and nothing to standard output.
    bool hasRefusedArguments(const char *name)
    {
        return status() == 2 && readAllStandardError().count(name + QByteArray(": ")) == 1 &&
               readAllStandardOutput().isEmpty();
    }
};
