#include "channel.h"

#include "answer.h"
#include "commands.h"
#include "hostlog.h"
#include "iomanager.h"

using namespace networksettings2g;

namespace {

/// The port of a channel without a destination.
constexpr int defaultPort = 5000;

QString field(const QString &answer, int number)
{
    return answer.section(QLatin1Char(' '), number, number);
}

} // namespace

void Channel::load()
{
    loadDestination();
    loadActive();
    loadDataDivisor();
    loadTicks();
    // Clear the flag before updated(): the page's spin boxes have narrower ranges than the channel, and a
    // value that they clamp and write back is an edit.
    m_changed = false;
    emit updated();
}

void Channel::loadDestination()
{
    Answer answer;
    m_ioManager->getValue(answer.buffer(), commands::destination, number());
    if (answer.equals("none")) {
        m_multicast = false;
        setHostAndPort(QString(), defaultPort);
        return;
    }
    const QString text = answer.text();
    m_multicast = field(text, 0) == QLatin1String("multicast");
    const int answeredPort = field(text, 2).toInt();
    setHostAndPort(field(text, 1), isPort(answeredPort) ? answeredPort : port());
}

void Channel::loadActive()
{
    Answer answer;
    m_ioManager->getValue(answer.buffer(), commands::active, number());
    m_active = answer.isYes();
}

void Channel::loadDataDivisor()
{
    int divisor = 1;
    if (commands::knowsDataDivisor(*m_versions) &&
        m_ioManager->getIntValue(&divisor, commands::dataDivisor, number()) != 0) {
        logFailure(m_ioManager, QLatin1String("Error: Unable to get value send data divisor"));
        divisor = 1;
    }
    // The router divides by this value, so it must not be 0.
    storeDivisor(qMax(divisor, 1));
}

void Channel::loadTicks()
{
    followTicks(false); // tickedTypes() changes once, after all ticks have been read
    for (int row = 0; row < m_typeModel.rowCount(); ++row) {
        if (m_typeModel.item(row, DescriptionColumn)->data(Qt::UserRole).toBool())
            loadTick(row);
    }
    followTicks(true);
    updateTickedTypes();
}

void Channel::loadTick(int row)
{
    // The index is persistent, so that the tick goes to the right row even if the rows change during the
    // query. The dialog prevents such a change, but the channel does not rely on that.
    const QPersistentModelIndex index = m_typeModel.index(row, IdentifierColumn);
    const QString name = index.data().toString();
    Answer answer;
    if (m_ioManager->getValue(answer.buffer(), commands::typeActive, number(), name.toLatin1().constData()) !=
        0) {
        logFailure(m_ioManager, QString::fromLatin1("Error: Unable to get output active of channel %1 and %2")
                                    .arg(number())
                                    .arg(name));
        return;
    }
    if (!answer.isYes())
        return;
    m_typeModel.setData(index, Qt::Checked, Qt::CheckStateRole);
    m_typeModel.setData(index, true, Qt::UserRole);
}
