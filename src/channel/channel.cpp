#include "channel.h"

#include "busycursor.h"
#include "udp.h"

#include <QSet>

#include <algorithm>
#include <limits>
#include <utility>

using namespace networksettings2g;

namespace {

/// Makes an item of the first column. Sets all its data here, because a change of an item that belongs to the
/// model emits itemChanged(), which updates Channel::tickedTypes().
QStandardItem *makeIdentifier(const OutputTypeInfo &type)
{
    auto *item = new QStandardItem(type.name);
    item->setCheckable(true);
    item->setCheckState(Qt::Unchecked);
    item->setData(false, Qt::UserRole);
    item->setEditable(false);
    // The user cannot choose the frame counter: the Controller decides whether it is sent.
    item->setEnabled(type.available && type.name != QLatin1String("fr"));
    return item;
}

QStandardItem *makeDescription(const OutputTypeInfo &type)
{
    auto *item = new QStandardItem(type.description);
    item->setData(type.available, Qt::UserRole);
    item->setEditable(false);
    return item;
}

bool isTicked(const QStandardItemModel &model, int row)
{
    return model.item(row, Channel::IdentifierColumn)->checkState() == Qt::Checked;
}

} // namespace

Channel::Channel(IOManager *ioManager, int channelIndex, BackendVersions *versions)
    : m_ioManager(ioManager)
    , m_versions(versions)
    , m_channelIndex(channelIndex)
{
    m_hiddenTypes << QLatin1String("2dmon");
    for (const char *name :
         {"fr", "ts2", "ts", "st", "6dcal", "6d", "6di", "3d", "6df2", "6dmt2", "6dmtr", "glcal", "gl"})
        m_typeOrder << QLatin1String(name);
    setOutputTypes({});
    followTicks(true);
}

Channel::~Channel() = default;

void Channel::setOutputTypes(const QList<OutputTypeInfo> &types)
{
    fillRows(inDisplayOrder(types));
    findHiddenRows();
}

QVector<OutputTypeInfo> Channel::inDisplayOrder(const QList<OutputTypeInfo> &types) const
{
    // The list begins with one entry for each well-known type. An entry stays nameless if the catalogue
    // lacks its type.
    QVector<OutputTypeInfo> ordered(m_typeOrder.size());
    for (const OutputTypeInfo &type : types) {
        const int position = m_typeOrder.indexOf(type.name);
        if (position >= 0)
            ordered[position] = type;
        else
            ordered << type;
    }
    const auto isNameless = [](const OutputTypeInfo &type) { return type.name.isEmpty(); };
    ordered.erase(std::remove_if(ordered.begin(), ordered.end(), isNameless), ordered.end());
    return ordered;
}

void Channel::fillRows(const QVector<OutputTypeInfo> &types)
{
    QList<QStandardItem *> identifiers;
    QList<QStandardItem *> descriptions;
    for (const OutputTypeInfo &type : types) {
        identifiers << makeIdentifier(type);
        descriptions << makeDescription(type);
    }
    m_typeModel.clear();
    m_typeModel.appendColumn(identifiers);
    m_typeModel.appendColumn(descriptions);
    m_typeModel.setHeaderData(IdentifierColumn, Qt::Horizontal, tr("Identifier"), Qt::EditRole);
    m_typeModel.setHeaderData(DescriptionColumn, Qt::Horizontal, tr("Description"), Qt::EditRole);
}

void Channel::findHiddenRows()
{
    m_hiddenRows.clear();
    for (int row = 0; row < m_typeModel.rowCount(); ++row) {
        if (m_hiddenTypes.contains(m_typeModel.item(row, IdentifierColumn)->text()))
            m_hiddenRows << row;
    }
}

/// Sets whether each change of a tick updates tickedTypes().
void Channel::followTicks(bool follow)
{
    if (follow)
        connect(&m_typeModel, &QStandardItemModel::itemChanged, this, &Channel::updateTickedTypes);
    else
        disconnect(&m_typeModel, &QStandardItemModel::itemChanged, this, &Channel::updateTickedTypes);
}

void Channel::updateTickedTypes()
{
    QSet<QByteArray> seen; // if two rows have the same name, the first counts
    QVector<QByteArray> ticked;
    for (int row = 0; row < m_typeModel.rowCount(); ++row) {
        const QByteArray name = m_typeModel.item(row, IdentifierColumn)->text().toLatin1();
        if (!seen.contains(name) && isTicked(m_typeModel, row))
            ticked << name;
        seen << name;
    }
    std::sort(ticked.begin(), ticked.end());
    if (ticked == m_tickedTypes)
        return;
    m_tickedTypes.swap(ticked);
    m_tickedTypesCallback();
}

void Channel::setTickedTypesCallback(std::function<void()> callback)
{
    m_tickedTypesCallback = std::move(callback);
}

void Channel::setDestinationCallback(std::function<void()> callback)
{
    m_destinationCallback = std::move(callback);
}

void Channel::setDivisorCallback(std::function<void()> callback)
{
    m_divisorCallback = std::move(callback);
}

void Channel::setMonitorIp(QString monitorIp)
{
    m_monitorIp = monitorIp;
}

void Channel::setHostName(QString hostName)
{
    m_hostName = hostName;
}

void Channel::setDomainName(QString domainName)
{
    m_domainName = domainName;
}

bool Channel::hasChanges() const
{
    return m_changed || hasPendingTick();
}

bool Channel::isTickPending(const QStandardItem &identifier)
{
    return (identifier.checkState() == Qt::Checked) != identifier.data(Qt::UserRole).toBool();
}

bool Channel::hasPendingTick() const
{
    for (int row = 0; row < m_typeModel.rowCount(); ++row) {
        if (isTickPending(*m_typeModel.item(row, IdentifierColumn)))
            return true;
    }
    return false;
}

bool Channel::hasSameDestination(const Channel &other) const
{
    return isActive() && other.isActive() && ip() == other.ip() && port() == other.port();
}

bool Channel::isTypeActive(const QString &name) const
{
    for (int row = 0; row < m_typeModel.rowCount(); ++row) {
        if (m_typeModel.item(row, IdentifierColumn)->text() == name)
            return isTicked(m_typeModel, row);
    }
    return false;
}

bool Channel::isMyIp(const QString &candidate) const
{
    if (candidate == m_monitorIp)
        return true;
    if (m_hostName.isEmpty())
        return false;
    if (candidate == m_hostName)
        return true;
    if (m_domainName.isEmpty())
        return false;
    return candidate == m_hostName + QLatin1Char('.') + m_domainName;
}

void Channel::setPort(int p)
{
    if (!isPort(p) || p == port())
        return;
    setDestination(ip(), p);
    m_changed = true;
}

void Channel::setActive(bool b)
{
    if (b == m_active)
        return;
    m_active = b;
    m_changed = true;
}

void Channel::setMulticast(bool b)
{
    if (b == m_multicast)
        return;
    m_multicast = b;
    m_changed = true;
}

void Channel::setDataDivisor(int dataDiv)
{
    if (dataDiv >= 1 && storeDivisor(dataDiv))
        m_changed = true;
}

/// Returns whether the divisor has changed.
bool Channel::storeDivisor(int divisor)
{
    if (m_dataDivisor.exchange(divisor) == divisor)
        return false;
    m_divisorCallback();
    return true;
}

void Channel::setIp(uint ip)
{
    m_host = dotted(ip);
    setDestination(ip, port());
    m_changed = true;
}

QString Channel::dotted(quint32 address)
{
    uint32_t first, second, third, fourth;
    splitIpv4(&first, &second, &third, &fourth, address);
    return QString::fromLatin1("%1.%2.%3.%4").arg(first).arg(second).arg(third).arg(fourth);
}

void Channel::setHost(const QString &h)
{
    setHostAndPort(h, port());
}

void Channel::setHostAndPort(const QString &host, int port)
{
    const bool known = host == m_host && ip() != 0;
    // The look-up may block; until it ends the worker sends to the previous address and port.
    const quint32 address = known ? ip() : lookUp(host);
    setDestination(address, port);
    if (known)
        return;
    m_host = host;
    m_changed = true;
}

quint32 Channel::lookUp(const QString &host)
{
    const BusyCursor busy;
    return resolveHost(host.toLatin1().constData());
}

void Channel::setDestination(quint32 address, int port)
{
    const quint64 both = quint64{address} << PortBits | static_cast<quint16>(port);
    if (m_destination.exchange(both) != both)
        m_destinationCallback();
}

bool Channel::isPort(int number)
{
    return number >= 0 && number <= std::numeric_limits<quint16>::max();
}
