#include "windowicon.h"

#include <QString>

QIcon windowIcon()
{
    QIcon icon;
    for (const int size : {16, 32, 48, 128})
        icon.addFile(QString::fromLatin1(":/frontend/icon-%1.png").arg(size));
    return icon;
}
