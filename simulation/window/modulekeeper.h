#pragma once

#include <QObject>
#include <QPointer>

class HostedModule;
class MainWindow;
class QDialog;
class Session;
struct BackendVersions;

/// Keeps the module in the host's window: places its actions, watches its dialog, and loads it anew for
/// another version of the Controller. GUI thread.
class ModuleKeeper : public QObject
{
    Q_OBJECT

public:
    /// \a module has to be loaded.
    ModuleKeeper(Session &session, HostedModule &module, MainWindow &window);

    /// Hands the host's services to the module and places its actions.
    void begin();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void changeVersion(const BackendVersions &version);

    Session &m_session;
    HostedModule &m_module;
    MainWindow &m_window;
    QPointer<QDialog> m_dialog;
};
