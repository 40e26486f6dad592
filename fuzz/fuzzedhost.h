#pragma once

#include "channel.h"
#include "require.h"
#include "textiomanager.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>

/// A host whose answers and results come from the input. Checks every call of the module.
class FuzzedHost : public TextIOManager
{
public:
    explicit FuzzedHost(FuzzedDataProvider &input)
        : m_input(input)
    {
    }

    /// Called while the module waits for the answer to some of its queries.
    std::function<void()> reenter;

    int log(const char *level, const char *component, int number, const char *message) override
    {
        require(number == 1 && std::strcmp(level, "standard") == 0 && *component != '\0',
                "a log line has the number 1, the level standard and a component");
        return TextIOManager::log(level, component, number, message);
    }

    /// Checks that the module has unregistered itself, and makes every later call by the module a fault.
    /// Called after teardownRequests(), which shuts the module down.
    void shut()
    {
        require(m_registered.isEmpty(), "requester and message receiver are removed at the shut-down");
        m_shut = true;
    }

private:
    static constexpr int AnswerBytes =
        208; // size of the module's answer buffer, including the terminating zero
    static constexpr int LongestText = 4000;
    static constexpr int MostTypes = 40;

    /// The kinds of answers.
    enum Kind : quint8
    {
        Failing,
        Steady,          // a correct answer that depends on the query only
        Fitting,         // a random answer of the right form
        Chosen,          // one of a list, or the longest answer; for a number, a special one
        Raw,             // random bytes; for a number, as for Chosen
        FailingWithText, // an answer as for Raw, but with a nonzero result
        Reentered,       // as Steady, or as Fitting for a number, after a call of reenter()
        LastKind = Reentered
    };

    int query(const QByteArray &text, char *answer) override
    {
        checkText(text);
        require(std::all_of(answer, answer + AnswerBytes, [](char byte) { return byte == '\0'; }),
                "the buffer for an answer is zeroed");
        const Kind kind = takeKind(Steady);
        if (kind == Failing)
            return 1;
        const QByteArray given = answerTo(text, kind);
        std::memcpy(answer, given.constData(), static_cast<std::size_t>(given.size()) + 1);
        return kind == FailingWithText ? 1 : 0;
    }

    int query(const QByteArray &text, int *answer) override
    {
        checkText(text);
        const Kind kind = takeKind(Fitting);
        if (kind == Failing)
            return 1;
        *answer = kind == Steady ? 6 : m_input.ConsumeIntegralInRange(0, 12);
        if (kind != Steady && kind != Fitting) // 100 is the system model that permits loopback destinations
            *answer = m_input.PickValueInArray({-1, 100, 10001, 65536, INT_MIN, INT_MAX});
        if (text == "output number_of_types") // limits the duration of a run
            *answer = qMin(*answer, qMin(MostTypes, 6 + static_cast<int>(m_input.remaining_bytes())));
        return kind == FailingWithText ? 1 : 0;
    }

    int command(const QByteArray &text) override
    {
        checkText(text);
        int channel = 0;
        int number = 0;
        if (std::sscanf(text.constData(), "output net_divisor ch%d %d", &channel, &number) == 2)
            require(number >= 1, "divisors are positive");
        if (text.startsWith("output net ch") && !text.contains(" none")) {
            bool isNumber = false;
            text.mid(text.lastIndexOf(' ') + 1).toUShort(&isNumber);
            require(isNumber, "ports are from 0 to 65535");
        }
        return result();
    }

    int note(const QByteArray &line) override
    {
        require(!m_shut, "no call after the shut-down");
        require(line.size() < LongestText,
                "type names, log messages and receiver names are shorter than 4000 bytes");
        if (line.startsWith("add "))
            m_registered.insert(line.mid(4));
        if (line.startsWith("remove "))
            m_registered.remove(line.mid(7));
        return result();
    }

    /// Checks a query or a command.
    void checkText(const QByteArray &text) const
    {
        require(!m_shut, "no query or command after the shut-down");
        require(!text.isEmpty() && text.size() < LongestText,
                "queries and commands are neither empty nor longer than 4000 bytes");
        const int channel = text.indexOf(" ch");
        if (channel < 0 || text.indexOf(" chmon") == channel || text.startsWith("output type") ||
            text.startsWith("output available"))
            return;
        const int number = std::atoi(text.constData() + channel + 3);
        require(number >= 1 && number <= Channel::MaximumCount, "channels are numbered from 1 to 10");
    }

    /// Returns the kind of the next answer, after the call of reenter() that it may ask for: then the kind is
    /// \a reentered. An exhausted input gives zeros: all further answers are then Steady or Failing,
    /// depending on m_steady.
    Kind takeKind(Kind reentered)
    {
        const int choice = m_input.ConsumeIntegralInRange(0, 9 + LastKind);
        if (choice < 10)
            return m_steady ? Steady : Failing;
        if (choice - 9 != Reentered)
            return static_cast<Kind>(choice - 9);
        reenter();
        return reentered;
    }

    /// Returns the result of a call other than a query: failure with a probability of one in four.
    int result() { return m_input.ConsumeIntegral<quint8>() % 4 == 1 ? 1 : 0; }

    /// Returns a text that is shorter than AnswerBytes.
    QByteArray answerTo(const QByteArray &query, Kind kind)
    {
        switch (kind) {
        case Steady:
            return steadyText(query);
        case Fitting:
            return fittingText(query);
        case Chosen:
            return chosenText();
        default:
            return QByteArray::fromStdString(m_input.ConsumeRandomLengthString(AnswerBytes - 1));
        }
    }

    static QByteArray steadyText(const QByteArray &query)
    {
        const int number = query.right(2).toInt();
        if (query.startsWith("output type t"))
            return typeName(number);
        if (query.startsWith("output type_desc"))
            return "\"a description\"";
        if (query.startsWith("output net chmon"))
            return "udp 127.0.0.9 5000";
        if (query.startsWith("output net ch"))
            return number > 3 ? "none" : "udp host" + QByteArray(number, 'x') + " 5001";
        return "yes";
    }

    QByteArray fittingText(const QByteArray &query)
    {
        const auto choice = m_input.ConsumeIntegral<quint8>();
        if (query.startsWith("output type t"))
            return typeName(choice);
        if (query.startsWith("output type_desc"))
            return "\"a description\"";
        if (!query.startsWith("output net ch"))
            return choice % 4 == 1 ? "no" : "yes";
        const QByteArray port = QByteArray::number(5000 + choice % 4);
        if (choice % 8 < 2)
            return choice % 8 == 0 ? "none" : "multicast 239.1.2.3 " + port;
        return "udp 127.0.0." + QByteArray::number(choice % 16) + ' ' + port;
    }

    static QByteArray typeName(int choice)
    {
        const QByteArrayList names{"fr", "6d", "3d", "6df2", "gl", "2dmon", "ts2", "st", "mine", "6d"};
        return names[choice % names.size()];
    }

    QByteArray chosenText()
    {
        if (m_input.ConsumeBool())
            return QByteArray(AnswerBytes - 1, m_input.PickValueInArray({'9', ' ', '\xff'}));
        static const QByteArrayList texts =
            QByteArray(
                "|yes|no|none|Yes|NONE|no | yes|none |udp|udp |udp  5001|udp unknown 5001|udp myself 5001|"
                "udp group 70000|UDP 127.0.0.1 5001|udp 127.0.0.1 -1|udp 127.0.0.1 99999999999|"
                "multicast 10.0.0.1 5001|multicast myself 5001|udp 224.0.0.1 80|udp 255.255.255.255 5001|"
                "udp 'quoted' 5001|udp %s%n%d 5001|udp \xe4\xf6\xfc.de 5001|\"\"|+|\t\r\n")
                .split('|');
        return texts[m_input.ConsumeIntegralInRange(0, texts.size() - 1)];
    }

    FuzzedDataProvider &m_input;
    const bool m_steady = m_input.ConsumeBool(); // true: most answers are Steady; false: most are Failing
    QSet<QByteArray> m_registered;               // the requester and the message receiver
    bool m_shut = false;
};
