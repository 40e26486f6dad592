#pragma once

#include "backendversions.h"

#include <QObject>
#include <QPointer>

#include <optional>

class QDialog;

namespace simulation {

class HostedModule;
class MainWindow;
class Session;

/// Connects the module with the host's window: adds the module's actions, watches its dialog, and reloads the
/// module when the Controller's version changes. GUI thread only.
class ModuleController : public QObject
{
    Q_OBJECT

public:
    /// \a module must be loaded. All three objects must outlive this one.
    ModuleController(Session &session, HostedModule &module, MainWindow &window);

    /// Passes the host's services to the module and adds its actions to the menus.
    void begin();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void requestVersion(const BackendVersions &version);
    void changeVersion(const BackendVersions &version);

    Session &m_session;
    HostedModule &m_module;
    MainWindow &m_window;
    QPointer<QDialog> m_dialog;
    std::optional<BackendVersions> m_pendingVersion; ///< requested, but not applied yet
};

} // namespace simulation
