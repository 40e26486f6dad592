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

    enum class Kind
    {
        None,
        Correct,
        Arbitrary
    };

    int query(const QByteArray &text, char *answer) override
    {
        check(text);
        require(std::all_of(answer, answer + AnswerBytes, [](char byte) { return byte == '\0'; }),
                "the buffer for an answer is zeroed");
        const Kind kind = takeKind();
        if (kind == Kind::None)
            return 1;
        const QByteArray given = kind == Kind::Correct ? correctText(text) : arbitraryText();
        std::memcpy(answer, given.constData(), static_cast<std::size_t>(given.size()) + 1);
        return kind == Kind::Correct ? 0 : result();
    }

    int query(const QByteArray &text, int *answer) override
    {
        check(text);
        const Kind kind = takeKind();
        if (kind == Kind::None)
            return 1;
        *answer = 6;
        if (kind == Kind::Arbitrary) // 100 is the system model that permits loopback destinations
            *answer = m_input.PickValueInArray({-1, 0, 1, 9, 100, 10001, 65536, INT_MIN, INT_MAX});
        if (text == "output number_of_types") // limits the duration of a run
            *answer = qMin(*answer, qMin(MostTypes, 6 + static_cast<int>(m_input.remaining_bytes())));
        return kind == Kind::Correct ? 0 : result();
    }

    int command(const QByteArray &text) override { return note(text); }

    int note(const QByteArray &line) override
    {
        check(line);
        if (line.startsWith("add "))
            m_registered.insert(line.mid(4));
        if (line.startsWith("remove "))
            m_registered.remove(line.mid(7));
        return result();
    }

    void check(const QByteArray &text) const
    {
        require(!m_shut, "no call after the shut-down");
        require(!text.isEmpty() && text.size() < LongestText, "texts have 1 to 3999 bytes");
    }

    /// Returns the kind of the next answer, after the call of reenter() that it may ask for. An exhausted
    /// input gives zeros: all further answers are then Correct or None, depending on m_usual.
    Kind takeKind()
    {
        const int choice = m_input.ConsumeIntegralInRange(0, 15);
        if (choice == 15)
            reenter();
        return choice < 10 || choice == 15 ? m_usual : choice == 10 ? Kind::None : Kind::Arbitrary;
    }

    /// Returns the result of a call: failure with a probability of one in four.
    int result() { return m_input.ConsumeIntegral<quint8>() % 4 == 1 ? 1 : 0; }

    /// Returns the answer of a Controller with six types and three channels, whose hosts have different
    /// addresses.
    static QByteArray correctText(const QByteArray &query)
    {
        static const QByteArrayList names{"fr", "6d", "3d", "6df2", "gl", "2dmon", "ts2", "st", "mine", "6d"};
        const int number = query.right(2).toInt();
        if (query.startsWith("output type t"))
            return names[number % names.size()];
        if (query.startsWith("output type_desc"))
            return "\"a description\"";
        if (query.startsWith("output net chmon"))
            return "udp 127.0.0.9 5000";
        if (query.startsWith("output net ch"))
            return number > 3 ? "none" : "udp host" + QByteArray(number, 'x') + " 5001";
        return "yes";
    }

    /// Returns one of a list of texts, the longest answer, or random bytes.
    QByteArray arbitraryText()
    {
        static const QByteArrayList texts =
            QByteArray(
                "|yes|no|none|Yes|NONE|no | yes|none |udp|udp |udp  5001|udp unknown 5001|udp myself 5001|"
                "udp group 70000|UDP 127.0.0.1 5001|udp 127.0.0.1 -1|udp 127.0.0.1 99999999999|"
                "multicast 10.0.0.1 5001|multicast myself 5001|udp 224.0.0.1 80|udp 255.255.255.255 5001|"
                "udp 'quoted' 5001|udp %s%n%d 5001|udp \xe4\xf6\xfc.de 5001|\"\"|+|\t\r\n|fr|6d|2dmon")
                .split('|');
        const int choice = m_input.ConsumeIntegralInRange(0, texts.size() + 1);
        if (choice < texts.size())
            return texts[choice];
        if (choice == texts.size())
            return QByteArray(AnswerBytes - 1, m_input.PickValueInArray({'9', ' ', '\xff'}));
        return QByteArray::fromStdString(m_input.ConsumeRandomLengthString(AnswerBytes - 1));
    }

    FuzzedDataProvider &m_input;
    const Kind m_usual = m_input.ConsumeBool() ? Kind::Correct : Kind::None; // of most answers
    QSet<QByteArray> m_registered; // the requester and the message receiver
    bool m_shut = false;
};
