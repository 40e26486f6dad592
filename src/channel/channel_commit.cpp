#include "channel.h"

#include "commands.h"
#include "hostlog.h"
#include "iomanager.h"

using namespace networksettings2g;

void Channel::commit()
{
    if (m_channelIndex >= MaximumCount)
        return; // the Controller has no such channel
    emit committingChanges();
    setActiveOnController(m_active);
    // The edits of an inactive channel stay pending: a commit() after it has been switched on writes them, a
    // load() drops them.
    if (!hasChanges() || !m_active)
        return;
    commitTicks();
    commitDestination();
    commitDataDivisor();
    m_changed = false;
}

void Channel::setActiveOnController(bool on)
{
    if (on) {
        if (m_ioManager->setValue(commands::setActiveYes, number()) != 0)
            logFailure(m_ioManager, QLatin1String("Error: Unable to activate channel"));
    } else {
        if (m_ioManager->setValue(commands::setActiveNo, number()) != 0)
            logFailure(m_ioManager, QLatin1String("Error: Unable to deactivate channel"));
    }
}

void Channel::commitTicks()
{
    for (int row = 0; row < m_typeModel.rowCount(); ++row) {
        QStandardItem *identifier = m_typeModel.item(row, IdentifierColumn);
        if (!isTickPending(*identifier))
            continue;
        const bool ticked = identifier->checkState() == Qt::Checked;
        const QByteArray name = identifier->text().toLatin1();
        // A refused command counts as committed; the next load() reads the Controller's state.
        identifier->setData(ticked, Qt::UserRole);
        m_ioManager->setValue(commands::setTypeActive, number(), name.constData(), ticked ? "yes" : "no");
    }
}

void Channel::commitDestination()
{
    const QByteArray host = m_host.toLatin1();
    if (m_multicast)
        m_ioManager->setValue(commands::setMulticast, number(), host.constData(), port());
    else if (isMyIp())
        m_ioManager->setValue(commands::setThisComputer, number(), port());
    else
        m_ioManager->setValue(commands::setHost, number(), host.constData(), port());
}

void Channel::commitDataDivisor()
{
    if (!commands::knowsDataDivisor(*m_versions))
        return;
    if (m_ioManager->setValue(commands::setDataDivisor, number(), dataDivisor()) != 0)
        logFailure(m_ioManager, QLatin1String("Error: Unable to set value send data divisor"));
}
