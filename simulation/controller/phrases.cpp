#include "phrases.h"

#include <QCoreApplication>

#include <algorithm>

const std::array<Phrase, phraseCount> &phrases()
{
    // The first opening that fits counts: one channel's destination is behind the longer "chmon".
    static const std::array<Phrase, phraseCount> all{{
        {false, "config is_changeable", QT_TRANSLATE_NOOP("Phrases", "Configuration lock")},
        {false, "output net_via_router", QT_TRANSLATE_NOOP("Phrases", "Router mode")},
        {false, "system model", QT_TRANSLATE_NOOP("Phrases", "System model")},
        {false, "output net chmon", QT_TRANSLATE_NOOP("Phrases", "This computer's address")},
        {false, "output number_of_types", QT_TRANSLATE_NOOP("Phrases", "Number of types")},
        {false, "output type ", QT_TRANSLATE_NOOP("Phrases", "Name of a type")},
        {false, "output type_desc ", QT_TRANSLATE_NOOP("Phrases", "Description of a type")},
        {false, "output available ", QT_TRANSLATE_NOOP("Phrases", "Availability of a type")},
        {false, "output net ch", QT_TRANSLATE_NOOP("Phrases", "Destination")},
        {false, "output net_active ", QT_TRANSLATE_NOOP("Phrases", "Channel active")},
        {false, "output active ", QT_TRANSLATE_NOOP("Phrases", "Type ticked")},
        {false, "output net_divisor ", QT_TRANSLATE_NOOP("Phrases", "Divisor")},
        {true, "output net_via_router ", QT_TRANSLATE_NOOP("Phrases", "Router mode")},
        {true, "output net ch", QT_TRANSLATE_NOOP("Phrases", "Destination")},
        {true, "output net_active ", QT_TRANSLATE_NOOP("Phrases", "Channel active")},
        {true, "output active ", QT_TRANSLATE_NOOP("Phrases", "Type ticked")},
        {true, "output net_divisor ", QT_TRANSLATE_NOOP("Phrases", "Divisor")},
    }};
    return all;
}

int phraseOf(bool isCommand, const QByteArray &text)
{
    const auto &all = phrases();
    const auto found = std::find_if(all.cbegin(), all.cend(), [&](const Phrase &phrase) {
        return phrase.isCommand == isCommand && text.startsWith(phrase.opening);
    });
    return found == all.cend() ? -1 : int(found - all.cbegin());
}
