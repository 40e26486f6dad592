#include "observation.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QUdpSocket>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <dlfcn.h>
#endif

bool frameArrives(QUdpSocket &receiver, const QList<QByteArray> &types)
{
    constexpr int limitMilliseconds = 20000;
    QElapsedTimer timer;
    timer.start();
    while (!timer.hasExpired(limitMilliseconds)) {
        if (!receiver.hasPendingDatagrams() && !receiver.waitForReadyRead(100))
            continue;
        QByteArray datagram(int(receiver.pendingDatagramSize()), '\0');
        receiver.readDatagram(datagram.data(), datagram.size());
        const QByteArray number = datagram.mid(3, datagram.indexOf('\r') - 3);
        QByteArray expected;
        for (const QByteArray &type : types)
            expected += type + ' ' + number + "\r\n";
        if (datagram == expected)
            return true;
    }
    return false;
}

bool isInMemory(const QString &file)
{
#ifdef Q_OS_WIN
    const QString path = QDir::toNativeSeparators(file);
    return GetModuleHandleW(reinterpret_cast<const wchar_t *>(path.utf16())) != nullptr;
#else
    void *handle = dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
#endif
}
