#pragma once

#include <QProcess>

#include <csignal>

/// One of the programs as a process.
class Program : public QProcess
{
public:
    static constexpr int LimitMs = 20000;

    Program(const char *path, const QString &arguments)
    {
        start(QLatin1String(path), arguments.split(' ', Qt::SkipEmptyParts));
    }

    /// Waits for the first line of standard output.
    QByteArray firstLine()
    {
        while (!canReadLine() && waitForReadyRead(LimitMs)) {
        }
        return readLine().trimmed();
    }

    void interrupt() { ::kill(pid_t(processId()), SIGINT); }

    /// Waits for the end. Returns the exit status, or -1 if the process crashed or did not end.
    int status()
    {
        const bool hasEnded = state() == QProcess::NotRunning || waitForFinished(LimitMs);
        return hasEnded && exitStatus() == QProcess::NormalExit ? exitCode() : -1;
    }
};
