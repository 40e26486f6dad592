#pragma once

#include "program.h"

#include <QtTest>

/// The program `controller`, which runs until the object is destroyed.
class RunningController : public Program
{
public:
    /// Without other arguments, the Controller has no channels and listens on ports that the system chooses.
    explicit RunningController(const QString &arguments = QLatin1String("--port 0 --channels 0 --rate 200"))
        : Program(CONTROLLER_PATH, arguments)
    {
        // The line is "controller: listening on ADDRESS:PORT, data on ADDRESS:PORT".
        const QList<QByteArray> parts = nextLine().replace(',', ':').split(':');
        commandPort = parts.value(2).toUShort();
        dataPort = parts.value(4).toUShort();
        if (dataPort == 0)
            qFatal("the Controller did not start: %s", readAllStandardError().constData());
    }

    ~RunningController() override
    {
        sendSignal(SIGTERM);
        if (status() != 0)
            qFatal("the Controller failed: %s", readAllStandardError().constData());
    }

    quint16 commandPort = 0;
    quint16 dataPort = 0;
};
