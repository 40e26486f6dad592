#pragma once

#include "channelasrouter.h"
#include "channelfanout.h"
#include "outputtypeinfo.h"

// Lines are written as words: "fr100" stands for the line "fr 100" of the type fr, "6d7" for the line "6d 7"
// of the type 6d.

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

/// A fan-out whose router mode is on.
inline std::shared_ptr<networksettings2g::ChannelFanOut> makeFanOut()
{
    static const std::atomic<bool> isRouterActive{true};
    return std::make_shared<networksettings2g::ChannelFanOut>(isRouterActive);
}

/// An active channel to a port of this computer, which ticks "fr", "6d" and "3d". By default it is the only
/// channel of its fan-out, which follows its ticks as the dialog's does. No tested function sends a command,
/// so there is no host.
class FedChannel : public ChannelAsRouter
{
public:
    static constexpr quint32 Loopback = 0x7f000001;

    explicit FedChannel(quint16 port)
        : FedChannel(port, makeFanOut(), 0)
    {
        connect(this, &Channel::tickedTypesChanged, this, [this] { m_fanOut->publish({this}); });
        m_fanOut->publish({this});
        m_isOnlyChannel = true;
    }

    /// A channel of several: whoever makes them publishes them, and takes them out before they are destroyed.
    FedChannel(quint16 port, std::shared_ptr<networksettings2g::ChannelFanOut> fanOut, int index)
        : ChannelAsRouter(nullptr, index, nullptr)
        , m_fanOut(std::move(fanOut))
    {
        setFanOut(m_fanOut);
        QList<OutputTypeInfo> types;
        for (const char *type : {"fr", "6d", "3d", "gl", "6dcal", "fr2"})
            types << OutputTypeInfo{QString::fromLatin1(type), QString(), true};
        setOutputTypes(types);
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
