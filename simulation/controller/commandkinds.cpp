#include "commandkinds.h"

#include <QCoreApplication>

#include <algorithm>

namespace simulation {

const std::array<CommandKind, commandKindCount> &commandKinds()
{
    // commandKindOf() returns the first match: "output net chmon" must stand before "output net ch".
    static const std::array<CommandKind, commandKindCount> all{{
        {false, "config is_changeable", QT_TRANSLATE_NOOP("CommandKinds", "Configuration lock")},
        {false, "output net_via_router", QT_TRANSLATE_NOOP("CommandKinds", "Router mode")},
        {false, "system model", QT_TRANSLATE_NOOP("CommandKinds", "System model")},
        {false, "output net chmon", QT_TRANSLATE_NOOP("CommandKinds", "Address of the frontend")},
        {false, "output number_of_types", QT_TRANSLATE_NOOP("CommandKinds", "Number of types")},
        {false, "output type ", QT_TRANSLATE_NOOP("CommandKinds", "Name of a type")},
        {false, "output type_desc ", QT_TRANSLATE_NOOP("CommandKinds", "Description of a type")},
        {false, "output available ", QT_TRANSLATE_NOOP("CommandKinds", "Availability of a type")},
        {false, "output net ch", QT_TRANSLATE_NOOP("CommandKinds", "Destination")},
        {false, "output net_active ", QT_TRANSLATE_NOOP("CommandKinds", "Channel active")},
        {false, "output active ", QT_TRANSLATE_NOOP("CommandKinds", "Type ticked")},
        {false, "output net_divisor ", QT_TRANSLATE_NOOP("CommandKinds", "Divisor")},
        {true, "output net_via_router ", QT_TRANSLATE_NOOP("CommandKinds", "Router mode")},
        {true, "output net ch", QT_TRANSLATE_NOOP("CommandKinds", "Destination")},
        {true, "output net_active ", QT_TRANSLATE_NOOP("CommandKinds", "Channel active")},
        {true, "output active ", QT_TRANSLATE_NOOP("CommandKinds", "Type ticked")},
        {true, "output net_divisor ", QT_TRANSLATE_NOOP("CommandKinds", "Divisor")},
    }};
    return all;
}

int commandKindOf(bool isCommand, const QByteArray &text)
{
    const auto &all = commandKinds();
    const auto found = std::find_if(all.cbegin(), all.cend(), [&](const CommandKind &kind) {
        return kind.isCommand == isCommand && text.startsWith(kind.opening);
    });
    return found == all.cend() ? -1 : int(found - all.cbegin());
}

} // namespace simulation
