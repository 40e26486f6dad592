#include "cataloguesets.h"

#include <QCoreApplication>

namespace simulation {

namespace {

QList<OutputType> only(const QList<OutputType> &types, bool (*wanted)(const OutputType &))
{
    QList<OutputType> kept;
    for (const OutputType &type : types) {
        if (wanted(type))
            kept.append(type);
    }
    return kept;
}

/// Returns \a types with the availability of every \a step-th type set to \a available.
QList<OutputType> withAvailability(QList<OutputType> types, bool available, int step)
{
    for (int i = step - 1; i < types.size(); i += step)
        types[i].available = available;
    return types;
}

QList<OutputType> withMore(QList<OutputType> types, int count)
{
    for (int i = 1; i <= count; ++i) {
        const QByteArray number = QByteArray::number(i).rightJustified(3, '0');
        types.append({"x" + number, "Additional data " + number, i % 10 != 0});
    }
    return types;
}

} // namespace

const QList<CatalogueSet> &catalogueSets()
{
    static const QList<OutputType> usual = defaultControllerState().catalogue;
    // The types that the module's dialog lists first, in a fixed order.
    static const QList<OutputType> known =
        only(usual, [](const OutputType &type) { return type.name != "2dmon" && type.name != "6dx"; });
    static const QList<OutputType> bodies = only(usual, [](const OutputType &type) {
        return type.name == "fr" || type.name == "6d" || type.name == "6di" || type.name == "3d";
    });
    static const QList<CatalogueSet> sets{
        {QT_TRANSLATE_NOOP("CatalogueSets", "Default (15)"), usual},
        {QT_TRANSLATE_NOOP("CatalogueSets", "Well-known only (13)"), withAvailability(known, true, 1)},
        {QT_TRANSLATE_NOOP("CatalogueSets", "Bodies and markers (4)"), bodies},
        {QT_TRANSLATE_NOOP("CatalogueSets", "Default and 100 more (115)"), withMore(usual, 100)},
        // Every third type is unavailable, and also "gl", as in the default catalogue.
        {QT_TRANSLATE_NOOP("CatalogueSets", "Well-known, five unavailable (13)"),
         withAvailability(known, false, 3)},
        {QT_TRANSLATE_NOOP("CatalogueSets", "All unavailable"), withAvailability(usual, false, 1)},
        {QT_TRANSLATE_NOOP("CatalogueSets", "No types"), {}},
    };
    return sets;
}

} // namespace simulation
