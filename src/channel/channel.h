#pragma once

#include "outputtypeinfo.h"

#include <QByteArray>
#include <QObject>
#include <QStandardItemModel>
#include <QStringList>
#include <QVector>

#include <atomic>
#include <functional>

struct BackendVersions;
class IOManager;

namespace networksettings2g {

/// Where the datagrams of a channel go: an IPv4 address in host byte order, 0 meaning none, and a UDP port.
struct UdpDestination
{
    quint32 address = 0;
    quint16 port = 0;
};

} // namespace networksettings2g

/// The model of one output channel of the Controller: whether it is on, where its data goes, how often it
/// sends and which output types it sends. load() reads it from the Controller, commit() writes it back.
///
/// It lives on the GUI thread, where everything happens that is not marked otherwise. Pending edits are known
/// in two ways: a slot that stores something new raises a flag, and a type row remembers beside its tick what
/// the Controller holds. hasChanges() joins both.
class Channel : public QObject
{
    Q_OBJECT

public:
    /// The columns of typeModel(). Under Qt::UserRole the first holds the state of the tick that the
    /// Controller is known to have, the second whether the Controller offers the type; both are bool.
    enum Column
    {
        IdentifierColumn,
        DescriptionColumn
    };

    /// The most channels that a Controller has.
    static constexpr int MaximumCount = 10;

    /// \a ioManager and \a versions stay the host's. \a channelIndex counts from 0; the user and the
    /// Controller see it one higher.
    Channel(IOManager *ioManager, int channelIndex, BackendVersions *versions);
    ~Channel() override;

    /// Takes on the Controller's state, one command after the other. Afterwards there are no pending edits.
    /// setOutputTypes() and the identities come first. Failures go to the host's log. Ends with updated().
    void load();

    /// Writes the active state and, on an active channel with pending edits, those and the destination and
    /// the divisor to the Controller. Failures go to the host's log and end nothing.
    void commit();

    /// Tells the Controller \a on or off and changes nothing here.
    void setActiveOnController(bool on);

    /// Rebuilds the rows from \a types: well-known identifiers first, in their fixed order, then the others
    /// in the order of the catalogue. All ticks are off until load() has read them; tickedTypes() stays as
    /// it was until then, so that a refresh does not break up a frame.
    void setOutputTypes(const QList<networksettings2g::OutputTypeInfo> &types);

    /// The three identities of this computer, by which isMyIp() knows it: its address as the Controller sees
    /// it, its name, and its domain. Empty if unknown.
    void setMonitorIp(QString monitorIp);
    void setHostName(QString hostName);
    void setDomainName(QString domainName);

    /// 0 to MaximumCount - 1.
    int channelIndex() const { return m_channelIndex; }

    /// The channel's number for the user and the Controller, counted from 1.
    int number() const { return m_channelIndex + 1; }

    /// The destination as the user or the Controller wrote it, a name or a dotted address; may be empty.
    QString host() const { return m_host; }

    QString monitorIp() const { return m_monitorIp; }
    bool isMulticast() const { return m_multicast; }

    /// The output types, a row each, with the columns of Column. The user's ticks are its check states.
    QStandardItemModel *typeModel() { return &m_typeModel; }

    /// The rows of typeModel() that the page does not show.
    const QList<int> &hiddenRows() const { return m_hiddenRows; }

    /// Whether the channel is switched on here; the Controller may not know of it yet. Any thread.
    bool isActive() const { return m_active; }

    /// Only every n-th frame is sent; at least 1. Any thread.
    int dataDivisor() const { return m_dataDivisor; }

    /// Address and port as they stood together at one moment. Any thread.
    networksettings2g::UdpDestination destination() const
    {
        const quint64 both = m_destination;
        return {static_cast<quint32>(both >> PortBits), static_cast<quint16>(both)};
    }

    quint32 ip() const { return destination().address; }
    int port() const { return destination().port; }

    /// Whether anything waits for commit().
    bool hasChanges() const;

    /// Whether both channels are active and send to one address and port. Names are not compared.
    bool hasSameDestination(const Channel &other) const;

    /// Whether the row of \a name is ticked; false without such a row.
    bool isTypeActive(const QString &name) const;

    /// The names of the ticked rows, in Latin-1 and sorted. Unchanged from setOutputTypes() to the end of
    /// load().
    const QVector<QByteArray> &tickedTypes() const { return m_tickedTypes; }

    /// Calls \a callback after each change of tickedTypes(); for a refresh once, at the end of load(). It is
    /// a callback because the signals of this class are fixed.
    void setTickedTypesCallback(std::function<void()> callback);

    /// The address of \a host, a dotted address or a name; 0 if there is none. A name is looked up: blocks.
    static quint32 lookUp(const QString &host);

    /// Whether \a candidate names this computer. Exact and case-sensitive.
    bool isMyIp(const QString &candidate) const;
    bool isMyIp() const { return isMyIp(m_host); }

signals:
    /// load() has ended.
    void updated();

    /// commit() begins: whoever holds an edit back hands it over before this returns.
    void committingChanges();

public slots:
    // Each is an edit that waits for commit(), unless it changes nothing.

    /// \a p is 0 to 65535; anything else is ignored.
    void setPort(int p);

    /// Switches the channel on or off, which every thread sees at once.
    void setActive(bool b);

    /// Whether the destination is a multicast group.
    void setMulticast(bool b);

    /// \a dataDiv is at least 1; anything less is ignored.
    void setDataDivisor(int dataDiv);

    /// Takes \a ip and, as the host, its dotted form. Reachable through the meta-object alone.
    void setIp(uint ip);

    /// Takes \a h and looks it up, unless it is the host already and its address is known. Blocks for the
    /// length of the look-up; one that fails leaves the address 0.
    void setHost(const QString &h);

private:
    void loadDestination();
    void loadActive();
    void loadDataDivisor();
    void loadTicks();
    void loadTick(int row);
    void commitTicks();
    void commitDestination();
    void commitDataDivisor();
    QVector<networksettings2g::OutputTypeInfo>
    inDisplayOrder(const QList<networksettings2g::OutputTypeInfo> &types) const;
    void fillRows(const QVector<networksettings2g::OutputTypeInfo> &types);
    void findHiddenRows();
    void updateTickedTypes();
    bool hasPendingTick() const;
    static bool isTickPending(const QStandardItem &identifier);
    void setHostAndPort(const QString &host, int port);
    void setDestination(quint32 address, int port);
    static bool isPort(int number);

    static constexpr int PortBits = 16;

    IOManager *m_ioManager;
    BackendVersions *m_versions;
    const int m_channelIndex;
    std::atomic<quint64> m_destination{0}; // address above port, so that both change at once
    std::atomic<int> m_dataDivisor{1};
    std::atomic<bool> m_active{false};
    bool m_changed = false;
    bool m_multicast = false;
    QStringList m_hiddenTypes;
    QList<int> m_hiddenRows;
    QStringList m_typeOrder; // the position in this list is the row
    QStandardItemModel m_typeModel;
    QString m_monitorIp;
    QString m_hostName;
    QString m_domainName;
    QString m_host;
    QVector<QByteArray> m_tickedTypes;
    std::function<void()> m_tickedTypesCallback = [] {};
    bool m_holdTicks = false; // true while rows are rebuilt or read: m_tickedTypes stays until the end
};
