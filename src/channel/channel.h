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

/// The destination of a channel's datagrams: an IPv4 address in host byte order, 0 meaning none, and a UDP
/// port.
struct UdpDestination
{
    quint32 address = 0;
    quint16 port = 0;
};

} // namespace networksettings2g

/// The model of one output channel: whether it is on, its destination, its divisor and its output types.
/// load() reads this state from the Controller, commit() writes it back.
///
/// Thread safety: functions marked "any thread" may be called on any thread, all others on the GUI thread
/// only.
///
/// Pending edits are tracked in two ways: a slot that stores a new value sets m_changed, and each type row
/// stores the last loaded or committed state beside its tick. hasChanges() combines both.
class Channel : public QObject
{
    Q_OBJECT

public:
    /// The columns of typeModel(). Each has a bool under Qt::UserRole.
    enum Column
    {
        IdentifierColumn, ///< name and tick; Qt::UserRole: the last loaded or committed state of the tick
        DescriptionColumn ///< text for the user; Qt::UserRole: whether the Controller can send the type now
    };

    /// The largest number of channels that a Controller has.
    static constexpr int MaximumCount = 10;

    /// The caller keeps ownership of \a ioManager and \a versions. Neither may be null, and both must exist
    /// whenever load(), commit() or setActiveOnController() is called. \a channelIndex counts from 0.
    Channel(IOManager *ioManager, int channelIndex, BackendVersions *versions);
    ~Channel() override;

    /// Reads the channel's state from the Controller, drops all pending edits, and emits updated(). Before
    /// each call, call the setters of the identities and setOutputTypes(), which clears the ticks. May block
    /// for a look-up of the host.
    /// Note: Failed queries give an empty host and port 0, an inactive channel, the divisor 1, or a type
    /// without a tick. Only failures of the queries for the divisor and for ticks are logged.
    void load();

    /// Emits committingChanges(), then writes the active state to the Controller. If the channel is active
    /// and has pending edits, also writes the changed ticks, the destination and, from version 1.6, the
    /// divisor.
    /// Note: Continues after a refused command. Only refusals of the active state and of the divisor are
    /// logged. Does nothing if the index is MaximumCount or above.
    void commit();

    /// Switches the channel on or off on the Controller, but not in this object. A refusal is logged.
    void setActiveOnController(bool on);

    /// Rebuilds the rows from \a types: well-known identifiers first, in their fixed order, then the others
    /// in the order of the catalogue. All ticks are off until load() has read them.
    /// Note: A type without a name gets no row. tickedTypes() does not change, so that a refresh does not
    /// break up a frame.
    void setOutputTypes(const QList<OutputTypeInfo> &types);

    /// Set the identities of this computer that isMyIp() compares with: its address as the Controller sees
    /// it, its name, and its domain. Empty if unknown.
    void setMonitorIp(QString monitorIp);
    void setHostName(QString hostName);
    void setDomainName(QString domainName);

    /// Returns the channel's index, counted from 0.
    int channelIndex() const { return m_channelIndex; }

    /// Returns the channel's number for the user and the Controller, counted from 1.
    int number() const { return m_channelIndex + 1; }

    /// Returns the destination as the user or the Controller wrote it, a name or a dotted address; may be
    /// empty.
    QString host() const { return m_host; }

    QString monitorIp() const { return m_monitorIp; }
    bool isMulticast() const { return m_multicast; }

    /// Returns the model of the output types, one per row, with the columns of Column. The ticks are the
    /// check states of the first column.
    QStandardItemModel *typeModel() { return &m_typeModel; }

    /// Returns the rows of typeModel() that the page does not show.
    const QList<int> &hiddenRows() const { return m_hiddenRows; }

    /// Returns whether the channel is on; the Controller may not know it yet. Any thread.
    bool isActive() const { return m_active; }

    /// Returns the divisor, at least 1: only frames whose number is divisible by it are sent. Any thread.
    int dataDivisor() const { return m_dataDivisor; }

    /// Returns address and port, read in one atomic step. Any thread.
    networksettings2g::UdpDestination destination() const
    {
        const quint64 both = m_destination;
        return {static_cast<quint32>(both >> PortBits), static_cast<quint16>(both)};
    }

    quint32 ip() const { return destination().address; }
    int port() const { return destination().port; }

    /// Returns whether there are pending edits.
    bool hasChanges() const;

    /// Returns whether both channels are active and send to the same address and port.
    /// Note: Names are not compared, so two unknown addresses count as the same.
    bool hasSameDestination(const Channel &other) const;

    /// Returns whether the row of \a name is ticked; false if there is no such row.
    bool isTypeActive(const QString &name) const;

    /// Returns the names of the ticked rows, in Latin-1 and sorted. load() updates them in one step, after it
    /// has read all ticks; setOutputTypes() does not change them.
    const QVector<QByteArray> &tickedTypes() const { return m_tickedTypes; }

    /// Makes the channel call \a callback after each change of tickedTypes(); load() causes at most one call.
    /// Replaces the previous callback. \a callback must not be empty.
    void setTickedTypesCallback(std::function<void()> callback);

    /// Make the channel call \a callback after each change of destination() or of dataDivisor(). They replace
    /// the previous callback. \a callback must not be empty.
    void setDestinationCallback(std::function<void()> callback);
    void setDivisorCallback(std::function<void()> callback);

    /// Returns the dotted form of \a address, which is in host byte order.
    static QString dotted(quint32 address);

    /// Returns the IPv4 address of \a host, a dotted address or a name, in host byte order, or 0 if it has
    /// none. Blocks while it looks up a name, and shows the wait cursor.
    static quint32 lookUp(const QString &host);

    /// Returns whether \a candidate is this computer's address, its name, or its name and domain joined by a
    /// dot. The comparison is case-sensitive.
    /// Note: An empty \a candidate matches an unknown address.
    bool isMyIp(const QString &candidate) const;
    bool isMyIp() const { return isMyIp(m_host); }

signals:
    /// Emitted at the end of load().
    void updated();

    /// Emitted before commit() writes. Connected slots must store the edits that are not in the channel yet
    /// before they return.
    void committingChanges();

public slots:
    // Each slot stores its value as a pending edit. Unless stated otherwise, it does nothing if the value is
    // already stored.

    /// Sets the port. Ignores \a p outside 0 to 65535.
    void setPort(int p);

    /// Switches the channel on or off in this object. All threads see the change at once.
    void setActive(bool b);

    /// Sets whether the destination is a multicast group.
    void setMulticast(bool b);

    /// Sets the divisor. Ignores \a dataDiv below 1.
    void setDataDivisor(int dataDiv);

    /// Stores the address \a ip, in host byte order, and its dotted form as the host. Nothing in the module
    /// calls this slot.
    /// Note: Counts as an edit even if address and host are the same as before.
    void setIp(uint ip);

    /// Stores \a h as the host and looks up its address. Blocks during the look-up. If the look-up fails, the
    /// address is 0.
    /// Note: If \a h is already the host, does nothing if its address is known, and otherwise looks it up
    /// again, which counts as an edit.
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
    QVector<OutputTypeInfo> inDisplayOrder(const QList<OutputTypeInfo> &types) const;
    void fillRows(const QVector<OutputTypeInfo> &types);
    void findHiddenRows();
    void updateTickedTypes();
    void followTicks(bool follow);
    bool hasPendingTick() const;
    static bool isTickPending(const QStandardItem &identifier);
    void setHostAndPort(const QString &host, int port);
    void setDestination(quint32 address, int port);
    bool storeDivisor(int divisor);
    static bool isPort(int number);

    static constexpr int PortBits = 16;

    IOManager *m_ioManager;
    BackendVersions *m_versions;
    const int m_channelIndex;
    std::atomic<quint64> m_destination{0}; // address << PortBits | port: both change in one step
    std::atomic<int> m_dataDivisor{1};
    std::atomic<bool> m_active{false};
    bool m_changed = false;
    bool m_multicast = false;
    QStringList m_hiddenTypes;
    QList<int> m_hiddenRows;
    QStringList m_typeOrder; // well-known types, in the order of their rows
    QStandardItemModel m_typeModel;
    QString m_monitorIp;
    QString m_hostName;
    QString m_domainName;
    QString m_host;
    QVector<QByteArray> m_tickedTypes;
    std::function<void()> m_tickedTypesCallback = [] {};
    std::function<void()> m_destinationCallback = [] {};
    std::function<void()> m_divisorCallback = [] {};
};
