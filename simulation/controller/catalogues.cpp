#include "catalogues.h"

#include <QCoreApplication>

namespace simulation {

QList<NamedCatalogue> catalogues()
{
    const QList<OutputType> usual = defaultControllerState().catalogue;
    QList<OutputType> few;
    for (const OutputType &type : usual) {
        if (type.name == "fr" || type.name == "6d" || type.name == "6di" || type.name == "3d")
            few.append(type);
    }
    QList<OutputType> many = usual;
    for (int i = 1; i <= 100; ++i) {
        const QByteArray number = QByteArray::number(i).rightJustified(3, '0');
        many.append({"x" + number, "Additional data " + number, i % 10 != 0});
    }
    return {{QT_TRANSLATE_NOOP("Catalogues", "Default (15)"), usual},
            {QT_TRANSLATE_NOOP("Catalogues", "Bodies and markers (4)"), few},
            {QT_TRANSLATE_NOOP("Catalogues", "Default and 100 more (115)"), many}};
}

} // namespace simulation
