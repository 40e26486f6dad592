#pragma once

#include "moduleaction.h"
#include "moduleinterface.h"

#include <QObject>

struct BackendVersions;
class IOManager;
class QWidget;

/// The plug-in object: receives the host's services and creates the one dialog and the one menu action. GUI
/// thread only.
class NetworkSettings2GModule : public QObject, public ModuleInterface
{
    Q_OBJECT
    Q_INTERFACES(ModuleInterface)
    Q_PLUGIN_METADATA(IID "io.kelmora-sys.Orvane2.NetworkSettigns2gModule")

public:
    void prepareShutdown() override;
    void releaseResources() override;
    QString moduleName() override;
    QString moduleVersion() override;

    /// Creates the dialog and the action if there are none. Returns the record of the action.
    /// Note: If "ObserverMode" is true, creates nothing and returns an empty list.
    QList<ModuleAction *> moduleActions() override;

    void setParameter(QString key, QVariant value) override;

private:
    void makeAction();

    QWidget *m_moduleParent = nullptr;
    QList<ModuleAction *> m_actions; // at most one entry: m_record
    ModuleAction m_record;
    IOManager *m_ioManager = nullptr;
    BackendVersions *m_versions = nullptr;
    bool m_observerMode = false;
};
