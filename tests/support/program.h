#pragma once

#include <QProcess>

#include <csignal>

/// One of the project's programs as a process.
class Program : public QProcess
{
public:
    static constexpr int LimitMs = 30000;

    /// Starts the program. Its standard input is \a input.
    Program(const char *path, const QString &arguments, const QByteArray &input = {},
            const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
    {
        setProcessEnvironment(environment);
        start(QLatin1String(path), arguments.split(' ', Qt::SkipEmptyParts));
        write(input);
        closeWriteChannel();
    }

    /// Waits for the first line of standard output. Returns it without its end.
    QByteArray firstLine()
    {
        while (!canReadLine() && waitForReadyRead(LimitMs)) {
        }
        return readLine().trimmed();
    }

    void sendSignal(int signal) { ::kill(pid_t(processId()), signal); }

    /// Waits for the end. Returns the exit status, or -1 if the process did not start, crashed or did not
    /// end.
    int status(int limitMs = LimitMs)
    {
        const bool hasEnded = state() == QProcess::NotRunning || waitForFinished(limitMs);
        const bool hasRun = hasEnded && error() != QProcess::FailedToStart;
        return hasRun && exitStatus() == QProcess::NormalExit ? exitCode() : -1;
    }

    /// Waits for the end. Returns whether the program \a name refused its arguments: it ended with status 2
    /// after one message on standard error and none on standard output.
    bool hasRefusedArguments(const char *name)
    {
        return status() == 2 && readAllStandardError().count(name + QByteArray(": ")) == 1 &&
               readAllStandardOutput().isEmpty();
    }
};
