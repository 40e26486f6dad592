#pragma once

#include "channelasrouter.h"
#include "channelfanout.h"
#include "outputtypeinfo.h"

#include <memory>
#include <vector>

// In test data, a word means a line: "fr100" is the line "fr 100" of type fr, "6d7" the line "6d 7" of type
// 6d.

inline QByteArray lineOf(const QByteArray &word)
{
    return word.left(2) + ' ' + word.mid(2) + "\r\n";
}

inline QByteArray bytesOf(const QByteArray &words)
{
    QByteArray bytes;
    for (const QByteArray &word : words.split(' '))
        bytes += lineOf(word);
    return bytes;
}

/// Returns the words of a frame.
inline QByteArray frameOf(int number)
{
    const QByteArray digits = QByteArray::number(number);
    return "fr" + digits + " 6d" + digits;
}

/// Returns a fan-out whose router mode is on.
inline std::shared_ptr<networksettings2g::ChannelFanOut> makeFanOut()
{
    static const std::atomic<bool> isRouterActive{true};
    return std::make_shared<networksettings2g::ChannelFanOut>(isRouterActive);
}

/// An active channel that sends to a port of this computer and ticks "fr", "6d" and "3d". By default it is
/// the only channel of its fan-out, which it updates when its ticks change, as the dialog does. There is no
/// host, because no tested function sends a command.
class FedChannel : public ChannelAsRouter
{
public:
    static constexpr quint32 Loopback = 0x7f000001;

    explicit FedChannel(quint16 port)
        : FedChannel(port, makeFanOut(), 0)
    {
        setTickedTypesCallback([this] { m_fanOut->publish({this}); });
        m_fanOut->publish({this});
        m_isOnlyChannel = true;
    }

    /// One of several channels. The caller publishes them, and removes them from the fan-out before
    /// destroying them.
    FedChannel(quint16 port, std::shared_ptr<networksettings2g::ChannelFanOut> fanOut, int index)
        : ChannelAsRouter(nullptr, index, nullptr)
        , m_fanOut(std::move(fanOut))
    {
        setFanOut(m_fanOut);
        setCatalogue({"fr", "6d", "3d", "gl", "6dcal", "fr2"});
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

    void setCatalogue(const QByteArrayList &names)
    {
        QList<networksettings2g::OutputTypeInfo> types;
        for (const QByteArray &name : names)
            types.append({QString::fromLatin1(name), QString(), true});
        setOutputTypes(types);
    }

    void tick(const char *type, bool on)
    {
        for (QStandardItem *item : typeModel()->findItems(QLatin1String(type)))
            item->setCheckState(on ? Qt::Checked : Qt::Unchecked);
    }

    void feed(const char *type, const char *line) { m_fanOut->deliver(type, line); }

    void feed(const QByteArray &words)
    {
        for (const QByteArray &word : words.split(' '))
            feed(word.left(2).constData(), lineOf(word).constData());
    }

private:
    std::shared_ptr<networksettings2g::ChannelFanOut> m_fanOut;
    bool m_isOnlyChannel = false;
};

/// Several channels of one fan-out.
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

    /// Destroys a channel like closing its tab does, and replaces it with a new one, which is not started.
    void replace(int index, quint16 port)
    {
        auto next = std::make_unique<FedChannel>(port, m_fanOut, index);
        std::swap(m_channels[std::size_t(index)], next);
        publish();
    }

    void feedFrame(int number)
    {
        const QByteArray digits = QByteArray::number(number);
        for (const char *type : {"fr", "6d"})
            m_fanOut->deliver(type, (type + (' ' + digits) + "\r\n").constData());
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
