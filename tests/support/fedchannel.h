#pragma once

#include "channelasrouter.h"
#include "channelfanout.h"
#include "outputtypeinfo.h"

#include <memory>
#include <vector>

// In test data a word stands for a line, whose type is the word's first two characters: "fr100" is the line
// "fr 100" of type fr, "6d7" is the line "6d 7" of type 6d. Words are separated by blanks.

/// Returns the line for which \a word stands, with CR LF.
inline QByteArray lineOf(const QByteArray &word)
{
    return word.left(2) + ' ' + word.mid(2) + "\r\n";
}

/// Returns the datagram that consists of the lines of \a words.
inline QByteArray bytesOf(const QByteArray &words)
{
    QByteArray bytes;
    for (const QByteArray &word : words.split(' '))
        bytes += lineOf(word);
    return bytes;
}

/// Returns the words of frame \a number, which has two lines.
inline QByteArray frameOf(int number)
{
    const QByteArray digits = QByteArray::number(number);
    return "fr" + digits + " 6d" + digits;
}

/// Returns a fan-out that always passes lines on, as in router mode.
inline std::shared_ptr<networksettings2g::ChannelFanOut> makeFanOut()
{
    static const std::atomic<bool> isRouterActive{true};
    return std::make_shared<networksettings2g::ChannelFanOut>(isRouterActive);
}

/// An active channel whose destination is a port of this computer and whose ticked types are fr, 6d and 3d.
/// updateRouterActiveState() starts it. It has no IOManager, because the tests call no function that needs
/// one.
class FedChannel : public ChannelAsRouter
{
public:
    static constexpr quint32 Loopback = 0x7f000001;

    /// Creates the only channel of a new fan-out, and publishes it again after each change of its ticks, as
    /// the dialog does.
    explicit FedChannel(quint16 port)
        : FedChannel(port, makeFanOut(), 0)
    {
        setTickedTypesCallback([this] { m_fanOut->publish({this}); });
        m_fanOut->publish({this});
        m_isOnlyChannel = true;
    }

    /// Creates one of several channels of \a fanOut. The caller publishes the channels, again after each
    /// change of their ticks, and removes them from the fan-out before it destroys them.
    FedChannel(quint16 port, std::shared_ptr<networksettings2g::ChannelFanOut> fanOut, int index)
        : ChannelAsRouter(nullptr, index, nullptr)
        , m_fanOut(std::move(fanOut))
    {
        setFanOut(m_fanOut);
        QList<OutputTypeInfo> catalogue;
        for (const char *type :
             {"fr", "6d", "3d", "gl", "6dcal", "fr2", "FR", "\xfc-12345678a", "\xfc-12345678b"})
            catalogue.append({QString::fromLatin1(type), QString(), true});
        setOutputTypes(catalogue);
        for (const char *type : {"fr", "6d", "3d"})
            tick(type, true);
        setIp(Loopback);
        setPort(port);
        setActive(true);
    }
    ~FedChannel() override
    {
        if (m_isOnlyChannel)
            m_fanOut->publish({});
    }

    void tick(const char *type, bool on)
    {
        for (QStandardItem *item : typeModel()->findItems(QLatin1String(type)))
            item->setCheckState(on ? Qt::Checked : Qt::Unchecked);
    }

    /// Delivers one line on the calling thread.
    void feed(const char *type, const char *line) { m_fanOut->deliver(type, line); }

    /// Delivers the lines of \a words on the calling thread.
    void feed(const QByteArray &words)
    {
        for (const QByteArray &word : words.split(' '))
            feed(word.left(2).constData(), lineOf(word).constData());
    }

private:
    std::shared_ptr<networksettings2g::ChannelFanOut> m_fanOut;
    bool m_isOnlyChannel = false;
};

/// Several channels of one fan-out. Channel i, counted from 0, sends to port i of the list.
class FedChannels
{
public:
    explicit FedChannels(const std::vector<quint16> &ports)
    {
        for (const quint16 port : ports)
            m_channels.push_back(std::make_unique<FedChannel>(port, m_fanOut, int(m_channels.size())));
        publish();
    }
    ~FedChannels() { m_fanOut->publish({}); }
    FedChannels(const FedChannels &) = delete;
    FedChannels &operator=(const FedChannels &) = delete;

    FedChannel &at(int index) { return *m_channels[std::size_t(index)]; }

    void start()
    {
        for (const auto &channel : m_channels)
            channel->updateRouterActiveState(true);
    }

    /// Replaces a channel with a new one, which is not started: publishes the new list of channels, then
    /// destroys the old channel, whose worker may still run.
    void replace(int index, quint16 port)
    {
        auto next = std::make_unique<FedChannel>(port, m_fanOut, index);
        std::swap(m_channels[std::size_t(index)], next);
        publish();
    }

    /// Delivers one line on the calling thread.
    void feed(const char *type, const char *line) { m_fanOut->deliver(type, line); }

    /// Delivers the lines of frameOf(number) on the calling thread. Each line ends with \a lineEnds CR LF,
    /// of which the datagram contains one.
    void feedFrame(int number, int lineEnds = 1)
    {
        const QByteArray text = ' ' + QByteArray::number(number) + QByteArray("\r\n").repeated(lineEnds);
        for (const char *type : {"fr", "6d"})
            feed(type, (type + text).constData());
    }

private:
    void publish()
    {
        QList<ChannelAsRouter *> channels;
        for (const auto &channel : m_channels)
            channels << channel.get();
        m_fanOut->publish(channels);
    }

    std::shared_ptr<networksettings2g::ChannelFanOut> m_fanOut = makeFanOut();
    std::vector<std::unique_ptr<FedChannel>> m_channels;
};
