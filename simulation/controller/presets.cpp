#include "presets.h"

#include <QCoreApplication>

namespace simulation {

namespace {

struct Preset
{
    const char *group = nullptr; ///< multicast group; null: the frontend
    int divisor = 1;
    QSet<QByteArray> types;
};

} // namespace

OutputChannel presetChannel(int index, const ControllerState &state)
{
    static const std::array<Preset, outputChannelCount> presets{{
        {nullptr, 1, {"fr", "6d"}},
        {nullptr, 2, {"fr", "3d", "6df2"}},
        {"239.255.42.3", 5, {"fr", "6d", "3d"}},
        {nullptr, 1, {"fr", "6di"}},
        {nullptr, 3, {"fr", "ts", "6d"}},
        {nullptr, 2, {"fr", "6dmt2", "6dmtr"}},
        {nullptr, 4, {"fr", "st", "3d"}},
        {"239.255.42.8", 1, {"fr", "6dcal", "6d"}},
        {nullptr, 10, {"fr", "ts2", "6d", "3d"}},
        {nullptr, 1, {"fr", "ts2", "ts", "st", "6dcal", "6d", "6di", "3d", "6df2", "6dmt2", "6dmtr", "6dx"}},
    }};
    constexpr int firstPort = 5001;
    const Preset &preset = presets[size_t(index)];
    Destination destination{Destination::Kind::Udp, state.monitorAddress, firstPort + index};
    if (preset.group)
        destination = {Destination::Kind::Multicast, preset.group, firstPort + index};
    return {destination, true, versionAtLeast(state.version, 1, 6) ? preset.divisor : 1, preset.types};
}

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
