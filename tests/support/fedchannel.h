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

/// An active channel to a port of this computer, with a fan-out in front of it that follows its ticks, as the
/// dialog's does. No command is sent by what is tested with it, so there is no host.
class FedChannel : public ChannelAsRouter
{
public:
    static constexpr quint32 Loopback = 0x7f000001;

    explicit FedChannel(quint16 port)
        : ChannelAsRouter(nullptr, 0, nullptr)
    {
        setTickedTypesCallback([this] { m_fanOut.publish({this}); });
        QList<networksettings2g::OutputTypeInfo> types;
        for (const char *type : {"fr", "6d", "3d", "gl", "6dcal", "fr2"})
            types.append({QString::fromLatin1(type), QString(), true});
        setOutputTypes(types);
        for (const char *type : {"fr", "6d", "3d"})
            tick(type, true);
        setIp(Loopback);
        setPort(port);
        setActive(true);
    }

    void tick(const char *type, bool on)
    {
        for (QStandardItem *item : typeModel()->findItems(QLatin1String(type)))
            item->setCheckState(on ? Qt::Checked : Qt::Unchecked);
    }

    void feed(const char *type, const char *line) { m_fanOut.deliver(type, line); }

    void feed(const QByteArray &words)
    {
        for (const QByteArray &word : words.split(' '))
            feed(word.left(2).constData(), lineOf(word).constData());
    }

private:
    ChannelFanOut m_fanOut;
};
