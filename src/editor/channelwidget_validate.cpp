#include "channelwidget.h"

#include "channelasrouter.h"
#include "commands.h"
#include "iomanager.h"
#include "plainmessage.h"

using namespace networksettings2g;

namespace {

// The only system model on which the user may enter a loopback address as the destination.
constexpr int loopbackModel = 100;

struct AddressRange
{
    quint32 first;
    quint32 last;

    bool contains(quint32 address) const { return address >= first && address <= last; }
};

// validMulticast leaves out 224.0.0.0/24, which is reserved for routing and other network control protocols.
constexpr AddressRange multicastBlock = {0xE0000000, 0xEFFFFFFF};
constexpr AddressRange validMulticast = {0xE0000100, 0xEFFFFFFF};

// Recognises only the usual spellings. A user who writes a loopback address in another way is assumed to want
// that address.
bool isLoopback(const QString &host)
{
    return host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 ||
           host == QLatin1String("127.0.0.1");
}

} // namespace

bool ChannelWidget::validate()
{
    if (!m_channel->isActive())
        return true;

    const QString host = lineEdit_host->text();
    if (host.isEmpty()) {
        warn(tr("Invalid empty host for channel %1").arg(m_channel->number()), QMessageBox::Cancel);
        return false;
    }
    const int model = systemModel();
    if (m_silenced) // by a shut-down within the query
        return false;
    if (model != loopbackModel && isLoopback(host)) {
        warn(tr("If you intend this computer to be the destination host of channel %1 please \n"
                "use the 'this computer' check box instead of '%2'.")
                 .arg(m_channel->number())
                 .arg(host),
             QMessageBox::Cancel);
        return false;
    }

    const quint32 address = addressOf(host);
    if (address == 0)
        return judgeUnresolved(host);
    return checkBox_multicast->isChecked() ? judgeMulticast(host, address) : judgeUnicast(host, address);
}

// A name that cannot be resolved now may get an address later, so the user may keep it. The address of a
// multicast group must be known now. Here and below a single call of arg() replaces both place markers,
// because a host may itself contain "%1" or "%2".
bool ChannelWidget::judgeUnresolved(const QString &host)
{
    if (checkBox_multicast->isChecked()) {
        warn(tr("Multicast ip cannot resolve host name '%1' for channel %2")
                 .arg(host, QString::number(m_channel->number())));
        return false;
    }
    const QString question =
        tr("Cannot resolve host name '%1' for channel %2").arg(host, QString::number(m_channel->number()));
    return showMessage(this, QMessageBox::Warning, tr("Network Settings"), question,
                       QMessageBox::Cancel | QMessageBox::Ignore, QMessageBox::Cancel) != QMessageBox::Cancel;
}

bool ChannelWidget::judgeMulticast(const QString &host, quint32 address)
{
    if (validMulticast.contains(address))
        return true;
    warn(tr("Invalid multicast ip address '%1' for channel %2\n"
            "Multicast ip addresses are valid\n"
            "from 224.0.1.0 to 239.255.255.255.")
             .arg(host, QString::number(m_channel->number())));
    return false;
}

bool ChannelWidget::judgeUnicast(const QString &host, quint32 address)
{
    if (!multicastBlock.contains(address))
        return true;
    warn(tr("Invalid host '%1' for channel %2\n"
            "Valid hosts don't include multicast ip addresses\n"
            "from 224.0.0.0 to 239.255.255.255.")
             .arg(host, QString::number(m_channel->number())));
    return false;
}

// The channel has already looked up its own host. Even if that failed, a second look-up would only block
// again.
quint32 ChannelWidget::addressOf(const QString &host) const
{
    return host == m_channel->host() ? m_channel->ip() : Channel::lookUp(host);
}

int ChannelWidget::systemModel() const
{
    int model = -1;
    return m_ioManager->getIntValue(&model, commands::systemModel) == 0 ? model : -1;
}

void ChannelWidget::warn(const QString &message, QMessageBox::StandardButton defaultButton)
{
    showMessage(this, QMessageBox::Warning, tr("Network Settings"), message, QMessageBox::Cancel,
                defaultButton);
}
