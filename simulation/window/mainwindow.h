#pragma once

#include "controllerwindow.h"

#include <QMainWindow>

class ConversationView;
class QLabel;
class QMenu;
class ReceiversPanel;
class Session;
struct ModuleAction;

/// The host's window: its menus with the module's actions, the receivers, and the conversation with the
/// Controller, whose own window comes and goes with it.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow(Session &session, bool dark, QWidget *parent = nullptr);

    ControllerWindow &controllerWindow() { return m_controller; }

    /// Places \a actions into the menus that they name, which are made if they are missing.
    void placeActions(const QList<ModuleAction *> &actions);

    /// Shows this window and, if the screen has room for both, the Controller's at its side.
    void showOnScreen();

private:
    void makeMenus(bool dark);
    void makeViews();
    void makeStatusBar();
    void followConversation();
    void refresh();
    void showState();
    QMenu *menu(const QString &title);

    Session &m_session;
    ControllerWindow m_controller;
    ReceiversPanel *m_receivers = nullptr;
    ConversationView *m_conversation = nullptr;
    QLabel *m_version = nullptr;
    QLabel *m_router = nullptr;
    QLabel *m_lock = nullptr;
    QLabel *m_frames = nullptr;
    bool m_sourceEnded = false;
};
