#include "modulecontroller.h"

#include "hostedmodule.h"
#include "mainwindow.h"
#include "moduleaction.h"
#include "session.h"

#include <QDialog>
#include <QEvent>
#include <QMessageBox>
#include <QTimer>

#include <utility>

namespace simulation {

ModuleController::ModuleController(Session &session, HostedModule &module, MainWindow &window)
    : m_session(session)
    , m_module(module)
    , m_window(window)
{
    connect(&m_window.controllerWindow(), &ControllerWindow::versionWanted, this,
            &ModuleController::requestVersion);
    connect(&m_session, &Session::versionChanged, this, &ModuleController::requestVersion);
}

void ModuleController::begin()
{
    m_window.setModuleTitle(m_module.title());
    const QList<ModuleAction *> actions = m_module.begin(&m_session.link(), &m_window, m_session.versions());
    m_window.placeActions(actions);
    for (const ModuleAction *action : actions) {
        m_dialog = action->dialog;
        m_dialog->installEventFilter(this);
        m_dialog->addActions(m_window.globalActions());
    }
}

bool ModuleController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show || event->type() == QEvent::Hide)
        m_window.controllerWindow().setVersionChangeable(event->type() == QEvent::Hide);
    if (event->type() == QEvent::Hide && m_pendingVersion)
        requestVersion(*m_pendingVersion);
    return QObject::eventFilter(watched, event);
}

/// Reloads the module for \a version after the current signal or event has been handled, but never while the
/// module's dialog is open.
void ModuleController::requestVersion(const BackendVersions &version)
{
    m_pendingVersion = version;
    QTimer::singleShot(0, this, [this] {
        if (!m_pendingVersion || (m_dialog && m_dialog->isVisible()))
            return;
        changeVersion(*std::exchange(m_pendingVersion, std::nullopt));
    });
}

void ModuleController::changeVersion(const BackendVersions &version)
{
    QString problem;
    const QString file = m_module.file();
    const bool ended = m_module.end(&problem);
    m_session.setVersion(version);
    if (ended && m_module.load(file, &problem))
        begin();
    else
        QMessageBox::critical(&m_window, m_window.windowTitle(), problem);
}

} // namespace simulation
