#pragma once

#include <QMainWindow>

class ConversationView;
class QLabel;
class QMenu;
class ReceiversPanel;
class Session;
struct ModuleAction;

/// The host's window: its menus with the module's actions, the receivers, and the conversation with the
/// Controller.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(Session &session, QWidget *parent = nullptr);

    /// Places \a actions into the menus that they name, which are made if they are missing.
    void placeActions(const QList<ModuleAction *> &actions);

private:
    void makeMenus();
    void makeViews();
    void makeStatusBar();
    void followConversation();
    void refresh();
    void showState();
    QMenu *menu(const QString &title);

    Session &m_session;
    ReceiversPanel *m_receivers = nullptr;
    ConversationView *m_conversation = nullptr;
    QLabel *m_version = nullptr;
    QLabel *m_router = nullptr;
    QLabel *m_lock = nullptr;
    QLabel *m_frames = nullptr;
};
