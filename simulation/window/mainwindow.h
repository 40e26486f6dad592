#pragma once

#include "controllerwindow.h"

#include <QMainWindow>

class QLabel;
class QMenu;
struct ModuleAction;

namespace simulation {

class ConversationView;
class ReceiversPanel;
class Session;

/// The host's window: menus with the module's actions, the receivers, and the conversation with the
/// Controller. It owns the Controller's window, a separate top-level window.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// \a session must outlive the window. With \a dark, the whole program starts with the dark style and
    /// palette.
    MainWindow(Session &session, bool dark, QWidget *parent = nullptr);

    /// Adds \a actions to the menus that they name, in the order of menuNumber and actionNumber. Creates
    /// missing menus. Watches the dialogs of the actions.
    void placeActions(const QList<ModuleAction *> &actions);

    /// Shows this window. With an embedded Controller, also shows the Controller's window beside this one if
    /// both fit on the screen.
    void showOnScreen();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void makeMenus(bool dark);
    void useEverywhere(QAction *action);
    void showGuide();
    void makeViews();
    void followConnection();
    void refresh();
    QMenu *menu(const QString &title);

    Session &m_session;
    ControllerWindow m_controller;
    QLabel *m_status; ///< of the Controller and the data
    ReceiversPanel *m_receivers = nullptr;
    ConversationView *m_conversation = nullptr;
    QList<QAction *> m_globalActions;
    bool m_sourceEnded = false;
};

} // namespace simulation
