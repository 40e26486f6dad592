#include "networkdialog.h"

#include "busycursor.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "inputblocker.h"
#include "networkdialogtabwidget.h"

#include <algorithm>

using namespace networksettings2g;

void NetworkDialog::accept()
{
    if (m_locked || isTornDown()) {
        finish();
        return;
    }
    if (!m_gate.mayBegin())
        return;
    const Operation operation(&m_gate);
    const InputBlocker blocker(this); // an edit made during a command would not be written
    // Access no member after a failed check: the host may have destroyed the dialog while a message box was
    // open.
    if (!resolveConflicts())
        return;
    setCursor(Qt::WaitCursor);
    if (!validatePages())
        return;
    writeChanges();
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

void NetworkDialog::writeChanges()
{
    const BusyCursor busy;
    deactivateBeforeCommit();
    commitChannels();
    if (m_routerChanged || m_tabsChanged)
        commitRouterMode();
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
    const QString text =
        QString::fromLatin1("Channel %1 and %2 have same destination!\n\nDeactivate channel %3?")
            .arg(conflictsWith->number())
            .arg(other->number())
            .arg(other->number());
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
        if (!self) // the host has destroyed the dialog while a message box was open
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
    // Two channels may swap destinations: none should send while the Controller knows only half of the
    // change.
    for (ChannelAsRouter *channel : channels)
        channel->setActiveOnController(false);
}

void NetworkDialog::commitChannels()
{
    const QList<ChannelAsRouter *> channels = m_channels;
    for (ChannelAsRouter *channel : channels)
        channel->commit();
}
