#include "controllerlanguage.h"

namespace simulation {

namespace {

using Words = QList<QByteArray>;

constexpr int maximumPort = 65535;
/// The port in the answer to "output net chmon".
constexpr int monitorPort = 5000;

QByteArray yesOrNo(bool value)
{
    return value ? "yes" : "no";
}

bool parseYesOrNo(const QByteArray &word, bool *value)
{
    *value = word == "yes";
    return *value || word == "no";
}

/// Accepts decimal digits only: a sign, blanks and other bases are refused.
bool parseNumber(const QByteArray &word, int *number)
{
    if (word.isEmpty())
        return false;
    for (const char digit : word) {
        if (digit < '0' || digit > '9')
            return false;
    }
    bool fits = false;
    *number = word.toInt(&fits);
    return fits;
}

/// Parses \a prefix followed by a number, such as "ch03" or "t12". A number below 10 must have one leading
/// zero, any other number none.
bool parseIndexed(const QByteArray &word, const QByteArray &prefix, int *number)
{
    if (!word.startsWith(prefix) || !parseNumber(word.mid(prefix.size()), number))
        return false;
    return word == prefix + QByteArray::number(*number).rightJustified(2, '0');
}

int findChannel(const QByteArray &word, int *index)
{
    int number = 0;
    if (!parseIndexed(word, "ch", &number))
        return NotUnderstood;
    *index = number - 1;
    return number >= 1 && number <= outputChannelCount ? Accepted : OutOfRange;
}

/// Returns the words from index \a first on, except the last \a omitted ones, joined by blanks: a type name
/// may contain blanks.
QByteArray joinedFrom(const Words &words, int first, int omitted = 0)
{
    return words.mid(first, words.size() - first - omitted).join(' ');
}

QByteArray describe(const Destination &destination)
{
    switch (destination.kind) {
    case Destination::Kind::Udp:
        return "udp " + destination.host + ' ' + QByteArray::number(destination.port);
    case Destination::Kind::Multicast:
        return "multicast " + destination.host + ' ' + QByteArray::number(destination.port);
    case Destination::Kind::None:
        break;
    }
    return "none";
}

/// Parses a host in single quotes. A host must not contain a blank, because blanks separate the fields of an
/// answer.
bool parseQuotedHost(const QByteArray &word, QByteArray *host)
{
    if (word.size() < 3 || !word.startsWith('\'') || !word.endsWith('\''))
        return false;
    *host = word.mid(1, word.size() - 2);
    for (const char letter : qAsConst(*host)) {
        if (letter == '\'' || static_cast<unsigned char>(letter) <= ' ')
            return false;
    }
    return true;
}

int answerChannelQuery(const ControllerState &state, const Words &words, QByteArray *answer)
{
    int index = 0;
    if (const int result = findChannel(words.at(2), &index))
        return result;
    const OutputChannel &channel = state.channels[size_t(index)];
    const QByteArray &keyword = words.at(1);
    if (keyword == "active" && words.size() > 3) {
        const QByteArray type = joinedFrom(words, 3);
        if (!findOutputType(state.catalogue, type))
            return OutOfRange;
        *answer = yesOrNo(channel.types.contains(type));
        return Accepted;
    }
    if (words.size() != 3)
        return NotUnderstood;
    if (keyword == "net")
        *answer = describe(channel.destination);
    else if (keyword == "net_active")
        *answer = yesOrNo(channel.active);
    else if (keyword == "net_divisor" && versionAtLeast(state.version, 1, 6))
        *answer = QByteArray::number(channel.divisor);
    else
        return NotUnderstood;
    return Accepted;
}

int answerTypeQuery(const ControllerState &state, const Words &words, QByteArray *answer)
{
    if (words.at(1) == "type") {
        int number = 0;
        if (words.size() != 3 || !parseIndexed(words.at(2), "t", &number))
            return NotUnderstood;
        if (number < 1 || number > state.catalogue.size())
            return OutOfRange;
        *answer = state.catalogue.at(number - 1).name;
        return Accepted;
    }
    const OutputType *type = findOutputType(state.catalogue, joinedFrom(words, 2));
    if (!type)
        return OutOfRange;
    *answer = words.at(1) == "available" ? yesOrNo(type->available) : '"' + type->description + '"';
    return Accepted;
}

int setRouter(ControllerState &state, const Words &words)
{
    bool on = false;
    if (words.size() != 3 || !versionAtLeast(state.version, 1, 4) || !parseYesOrNo(words.at(2), &on))
        return NotUnderstood;
    state.viaRouter = on;
    return Accepted;
}

int setActive(OutputChannel &channel, const Words &words)
{
    bool on = false;
    if (words.size() != 4 || !parseYesOrNo(words.at(3), &on))
        return NotUnderstood;
    channel.active = on;
    return Accepted;
}

int setDivisor(const ControllerState &state, OutputChannel &channel, const Words &words)
{
    int divisor = 0;
    if (words.size() != 4 || !versionAtLeast(state.version, 1, 6) || !parseNumber(words.at(3), &divisor))
        return NotUnderstood;
    if (divisor < 1)
        return OutOfRange;
    channel.divisor = divisor;
    return Accepted;
}

int setType(const ControllerState &state, OutputChannel &channel, const Words &words)
{
    bool on = false;
    if (words.size() < 5 || !parseYesOrNo(words.last(), &on))
        return NotUnderstood;
    const QByteArray name = joinedFrom(words, 3, 1);
    const OutputType *type = findOutputType(state.catalogue, name);
    if (!type || (on && !type->available))
        return OutOfRange;
    if (on)
        channel.types.insert(name);
    else
        channel.types.remove(name);
    return Accepted;
}

int setDestination(const ControllerState &state, OutputChannel &channel, const Words &words)
{
    if (words.size() == 4 && words.at(3) == "none") {
        channel.destination = Destination();
        return Accepted;
    }
    Destination destination;
    if (words.size() != 6 || !parseNumber(words.at(5), &destination.port))
        return NotUnderstood;
    if (words.at(3) == "multicast")
        destination.kind = Destination::Kind::Multicast;
    else if (words.at(3) == "udp")
        destination.kind = Destination::Kind::Udp;
    else
        return NotUnderstood;
    if (destination.kind == Destination::Kind::Udp && words.at(4) == "my_ip")
        destination.host = state.monitorAddress;
    else if (!parseQuotedHost(words.at(4), &destination.host))
        return NotUnderstood;
    if (destination.port > maximumPort)
        return OutOfRange;
    channel.destination = destination;
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
    else {
        const Words words = text.split(' ');
        if (words.size() < 3 || words.first() != "output")
            return NotUnderstood;
        const QByteArray &keyword = words.at(1);
        if (keyword == "type" || keyword == "type_desc" || keyword == "available")
            return answerTypeQuery(state, words, answer);
        return answerChannelQuery(state, words, answer);
    }
    return Accepted;
}

int executeCommand(ControllerState &state, const QByteArray &text)
{
    const Words words = text.split(' ');
    if (words.size() < 3 || words.first() != "output")
        return NotUnderstood;
    if (state.locked && versionAtLeast(state.version, 1, 9))
        return Locked;
    const QByteArray &keyword = words.at(1);
    if (keyword == "net_via_router")
        return setRouter(state, words);
    int index = 0;
    if (const int result = findChannel(words.at(2), &index))
        return result;
    OutputChannel &channel = state.channels[size_t(index)];
    if (keyword == "net")
        return setDestination(state, channel, words);
    if (keyword == "net_active")
        return setActive(channel, words);
    if (keyword == "net_divisor")
        return setDivisor(state, channel, words);
    if (keyword == "active")
        return setType(state, channel, words);
    return NotUnderstood;
}

} // namespace simulation
