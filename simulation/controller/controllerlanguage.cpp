#include "controllerlanguage.h"

#include <QRegularExpression>

namespace simulation {

namespace {

using Parts = QList<QByteArray>;

constexpr int maximumPort = 65535;
/// The port in the answer to "output net chmon".
constexpr int monitorPort = 5000;

/// The number of a channel or of a type: below 10 it has one leading zero, otherwise none.
#define INDEX "(0[0-9]|[1-9][0-9]{1,8})"
#define SWITCH "(yes|no)"
#define NUMBER "([0-9]{1,9})"

/// The form of a text.
class Form
{
public:
    /// \a pattern describes the whole text.
    explicit Form(const char *pattern)
        : m_expression(QRegularExpression::anchoredPattern(QLatin1String(pattern)))
    {
    }

    /// Returns whether \a text has this form, and sets \a parts to the texts of the groups.
    bool fits(const QByteArray &text, Parts *parts) const
    {
        const QRegularExpressionMatch match = m_expression.match(QString::fromLatin1(text));
        parts->clear();
        for (int group = 1; group <= match.lastCapturedIndex(); ++group)
            parts->append(match.captured(group).toLatin1());
        return match.hasMatch();
    }

private:
    const QRegularExpression m_expression;
};

QByteArray yesOrNo(bool value)
{
    return value ? "yes" : "no";
}

QByteArray describe(const Destination &destination)
{
    if (destination.kind == Destination::Kind::None)
        return "none";
    const char *kind = destination.kind == Destination::Kind::Udp ? "udp " : "multicast ";
    return kind + destination.host + ' ' + QByteArray::number(destination.port);
}

/// Returns the entry of \a list with the number \a part, counted from 1, or null if there is none.
template <typename List>
auto entry(List &list, const QByteArray &part) -> decltype(&list[0])
{
    const int number = part.toInt();
    return number >= 1 && number <= int(list.size()) ? &list[decltype(list.size())(number - 1)] : nullptr;
}

int answerTypeQuery(const ControllerState &state, const QByteArray &text, QByteArray *answer)
{
    static const Form name("output type t" INDEX);
    static const Form about("output (type_desc|available) (.*)");
    Parts parts;
    const OutputType *type = nullptr;
    if (name.fits(text, &parts))
        type = entry(state.catalogue, parts[0]);
    else if (about.fits(text, &parts))
        type = findOutputType(state.catalogue, parts[1]);
    else
        return NotUnderstood;
    if (!type)
        return OutOfRange;
    if (parts.size() == 1)
        *answer = type->name;
    else
        *answer = parts[0] == "available" ? yesOrNo(type->available) : '"' + type->description + '"';
    return Accepted;
}

int answerChannelQuery(const ControllerState &state, const QByteArray &text, QByteArray *answer)
{
    static const Form setting("output (net|net_active|net_divisor) ch" INDEX);
    static const Form tick("output (active) ch" INDEX " (.*)");
    Parts parts;
    const bool isTick = tick.fits(text, &parts);
    if (!isTick && !setting.fits(text, &parts))
        return NotUnderstood;
    if (parts[0] == "net_divisor" && !versionAtLeast(state.version, 1, 6))
        return NotUnderstood;
    const OutputChannel *channel = entry(state.channels, parts[1]);
    if (!channel || (isTick && !findOutputType(state.catalogue, parts[2])))
        return OutOfRange;
    if (isTick)
        *answer = yesOrNo(channel->types.contains(parts[2]));
    else if (parts[0] == "net")
        *answer = describe(channel->destination);
    else
        *answer = parts[0] == "net_active" ? yesOrNo(channel->active) : QByteArray::number(channel->divisor);
    return Accepted;
}

int setDestination(const ControllerState &state, OutputChannel *channel, const Parts &parts)
{
    if (!channel)
        return OutOfRange;
    Destination destination;
    if (parts.size() > 1) {
        const bool isGroup = parts[1] == "multicast";
        destination = {isGroup ? Destination::Kind::Multicast : Destination::Kind::Udp,
                       parts[2].mid(1, parts[2].size() - 2), parts[3].toInt()};
        if (parts[2] == "my_ip") {
            if (isGroup)
                return NotUnderstood;
            destination.host = state.monitorAddress;
        }
    }
    if (destination.port > maximumPort)
        return OutOfRange;
    channel->destination = destination;
    return Accepted;
}

int setDivisor(OutputChannel *channel, int divisor)
{
    if (!channel || divisor < 1)
        return OutOfRange;
    channel->divisor = divisor;
    return Accepted;
}

int setType(const ControllerState &state, OutputChannel *channel, const QByteArray &name, bool on)
{
    const OutputType *type = findOutputType(state.catalogue, name);
    if (!channel || !type || (on && !type->available))
        return OutOfRange;
    if (on)
        channel->types.insert(name);
    else
        channel->types.remove(name);
    return Accepted;
}

int setActive(OutputChannel *channel, bool on)
{
    if (!channel)
        return OutOfRange;
    channel->active = on;
    return Accepted;
}

} // namespace

int answerQuery(const ControllerState &state, const QByteArray &text, QByteArray *answer)
{
    if (text == "config is_changeable" && versionAtLeast(state.version, 1, 9))
        *answer = yesOrNo(!state.locked);
    else if (text == "system model")
        *answer = QByteArray::number(state.systemModel);
    else if (text == "output net_via_router" && versionAtLeast(state.version, 1, 4))
        *answer = yesOrNo(state.viaRouter);
    else if (text == "output net chmon")
        *answer = describe({Destination::Kind::Udp, state.monitorAddress, monitorPort});
    else if (text == "output number_of_types")
        *answer = QByteArray::number(state.catalogue.size());
    else if (const int result = answerTypeQuery(state, text, answer); result != NotUnderstood)
        return result;
    else
        return answerChannelQuery(state, text, answer);
    return Accepted;
}

int executeCommand(ControllerState &state, const QByteArray &text)
{
    static const Form any("output [^ ]* .*");
    static const Form router("output net_via_router " SWITCH);
    static const Form none("output net ch" INDEX " none");
    // A host must not contain a blank, because blanks separate the fields of an answer.
    static const Form destination("output net ch" INDEX " (udp|multicast) (my_ip|'[^'\\x00- ]+') " NUMBER);
    static const Form active("output net_active ch" INDEX " " SWITCH);
    static const Form divisor("output net_divisor ch" INDEX " " NUMBER);
    static const Form type("output active ch" INDEX " (.*) " SWITCH);
    Parts parts;
    if (!any.fits(text, &parts))
        return NotUnderstood;
    if (state.locked && versionAtLeast(state.version, 1, 9))
        return Locked;
    if (none.fits(text, &parts) || destination.fits(text, &parts))
        return setDestination(state, entry(state.channels, parts[0]), parts);
    if (active.fits(text, &parts))
        return setActive(entry(state.channels, parts[0]), parts[1] == "yes");
    if (divisor.fits(text, &parts) && versionAtLeast(state.version, 1, 6))
        return setDivisor(entry(state.channels, parts[0]), parts[1].toInt());
    if (type.fits(text, &parts))
        return setType(state, entry(state.channels, parts[0]), parts[1], parts[2] == "yes");
    if (!router.fits(text, &parts) || !versionAtLeast(state.version, 1, 4))
        return NotUnderstood;
    state.viaRouter = parts[0] == "yes";
    return Accepted;
}

} // namespace simulation
