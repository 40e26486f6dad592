#include "networkdialog.h"

#include "channelasrouter.h"
#include "channelwidget.h"
#include "commands.h"
#include "hostlog.h"
#include "inputblocker.h"
#include "networkdialogtabwidget.h"

#include <algorithm>

void NetworkDialog::accept()
{
    if (m_locked || isTornDown()) {
        finish();
        return;
    }
    if (!m_gate.mayBegin())
        return;
    const Operation operation(&m_gate);
    const networksettings2g::InputBlocker blocker(this); // an edit made from now on would be lost
    // If a message box ends the operation, the host may have destroyed the dialog while it was open: touch no
    // member after that.
    if (!resolveConflicts())
        return;
    setCursor(Qt::WaitCursor);
    if (!validatePages())
        return;
    deactivateBeforeCommit();
    commitChannels();
    if (m_routerChanged || m_tabsChanged)
        commitRouterMode();
    finish();
}

void NetworkDialog::reject()
{
    accept();
}

void NetworkDialog::finish()
{
    setCursor(Qt::ArrowCursor);
    done(Accepted);
}

bool NetworkDialog::resolveConflicts()
{
    const QList<ChannelAsRouter *> channels = m_channels;
    for (ChannelAsRouter *kept : channels) {
        for (ChannelAsRouter *other : channels) {
            if (other != kept && kept->hasSameDestination(*other) && !askToDeactivate(other, kept))
                return false;
        }
    }
    return true;
}

bool NetworkDialog::askToDeactivate(ChannelAsRouter *other, const ChannelAsRouter *conflictsWith)
{
    const int number = other->channelIndex() + 1;
    const QString text =
        QString::fromLatin1("Channel %1 and %2 have same destination!\n\nDeactivate channel %3?")
            .arg(conflictsWith->channelIndex() + 1)
            .arg(number)
            .arg(number);
    if (!ask(QMessageBox::Question, QLatin1String("Conflicting channels"), text, QMessageBox::Yes))
        return false;
    other->setActive(false);
    const QList<ChannelWidget *> pages = m_pages;
    for (ChannelWidget *page : pages) {
        if (page->channel() == other)
            page->updateFromChannel();
    }
    return true;
}

bool NetworkDialog::validatePages()
{
    const QPointer<NetworkDialog> self(this);
    const QList<ChannelWidget *> pages = m_pages;
    for (ChannelWidget *page : pages) {
        const bool valid = page->validate();
        if (!self)
            return false;
        if (!valid || isTornDown()) {
            m_tabWidget->setCurrentIndex(page->channel()->channelIndex());
            setCursor(Qt::ArrowCursor);
            return false;
        }
    }
    return true;
}

void NetworkDialog::deactivateBeforeCommit()
{
    const QList<ChannelAsRouter *> channels = m_channels;
    const auto changedChannels =
        std::count_if(channels.cbegin(), channels.cend(),
                      [](const ChannelAsRouter *channel) { return channel->hasChanges(); });
    if (changedChannels < 2)
        return;
    // Two channels may trade destinations: none is to send while the Controller holds half of the change.
    for (ChannelAsRouter *channel : channels)
        channel->setActiveOnController(false);
}

void NetworkDialog::commitChannels()
{
    const QList<ChannelAsRouter *> channels = m_channels;
    for (ChannelAsRouter *channel : channels)
        channel->commit();
}

void NetworkDialog::commitRouterMode()
{
    if (commands::knowsRouterMode(*m_versions))
        writeRouterMode();
    updateOutputRequests();
    switchRouters(checkBox_actAsRouter->isChecked());
    m_tabsChanged = false;
}

void NetworkDialog::writeRouterMode()
{
    const bool on = checkBox_actAsRouter->checkState() == Qt::Checked;
    const int result =
        on ? m_host.setValue(commands::setRouterModeYes) : m_host.setValue(commands::setRouterModeNo);
    if (result != 0)
        logFailure(&m_host, QLatin1String("Error: Unable to set value act as router"));
    // A refusal changes nothing here: the next opening reads what the Controller holds.
    setRouterActive(on);
}

void NetworkDialog::on_checkBox_actAsRouter_toggled(bool checked)
{
    m_routerChanged = true;
    setRouterActive(checked);
}
