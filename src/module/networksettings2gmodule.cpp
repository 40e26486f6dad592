#include "networksettings2gmodule.h"

#include "backendversions.h"
#include "iomanager.h"
#include "networkdialog.h"

#include <QAction>
#include <QKeySequence>
#include <QPointer>

void NetworkSettings2GModule::prepareShutdown()
{
    if (auto *dialog = qobject_cast<NetworkDialog *>(m_record.dialog))
        dialog->teardownRequests();
}

void NetworkSettings2GModule::releaseResources()
{
    if (auto *dialog = qobject_cast<NetworkDialog *>(m_record.dialog)) {
        disconnect(dialog, nullptr, this, nullptr);
        m_record.dialog = nullptr;
        dialog->release();
    }
    m_actions.clear();
}

QString NetworkSettings2GModule::moduleName()
{
    return tr("GUI Output Settings");
}

QString NetworkSettings2GModule::moduleVersion()
{
    return QLatin1String("v" MODULE_VERSION);
}

QList<ModuleAction *> NetworkSettings2GModule::moduleActions()
{
    // If there is a dialog but no action yet, the host makes this call while NetworkDialog::start() is
    // calling the host: create nothing.
    if (m_actions.isEmpty() && !m_record.dialog && !m_observerMode)
        makeAction();
    return m_actions;
}

void NetworkSettings2GModule::makeAction()
{
    const QPointer<NetworkDialog> dialog = new NetworkDialog(m_ioManager, m_moduleParent, m_versions);
    m_record.dialog = dialog;
    // The parent widget may destroy the dialog before releaseResources() does.
    connect(dialog, &QObject::destroyed, this, [this] { m_record.dialog = nullptr; });
    dialog->start();
    if (!dialog || m_record.dialog != dialog)
        return; // the host called releaseResources() during start()
    m_record.menuTitle = tr("&Tracking");
    m_record.menuNumber = 300;
    m_record.actionNumber = 170;
    m_record.lastNumber = 0;
    m_record.action = new QAction(tr("&Output"), this);
    m_record.action->setShortcut(QKeySequence(tr("F9")));
    const QString tip = tr("Change network settings and output types for tracking data output");
    m_record.action->setStatusTip(tip);
    m_record.action->setWhatsThis(tip);
    connect(m_record.action, SIGNAL(triggered()), m_record.dialog, SLOT(update_and_exec()));
    m_actions << &m_record;
}

void NetworkSettings2GModule::setParameter(QString key, QVariant value)
{
    if (key == QLatin1String("CommandManager"))
        m_ioManager = value.value<IOManager *>();
    else if (key == QLatin1String("ModuleParent"))
        m_moduleParent = value.value<QWidget *>();
    else if (key == QLatin1String("BackendVersions"))
        m_versions = value.value<BackendVersions *>();
    else if (key == QLatin1String("ObserverMode"))
        m_observerMode = value.value<bool>();
}
