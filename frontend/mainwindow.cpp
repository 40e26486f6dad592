#include "mainwindow.h"

#include "conversationmodel.h"
#include "conversationview.h"
#include "moduleaction.h"
#include "receiverspanel.h"
#include "session.h"
#include "windowicon.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>

#include <algorithm>

MainWindow::MainWindow(Session &session, QWidget *parent)
    : QMainWindow(parent)
    , m_session(session)
{
    setWindowIcon(windowIcon());
    resize(1280, 800);
    makeMenus();
    makeViews();
    makeStatusBar();
    followConversation();
    connect(&m_session.controller(), &SimulatedController::stateChanged, this, &MainWindow::showState);
    showState();

    constexpr int refreshMs = 200;
    auto *timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &MainWindow::refresh);
    timer->start(refreshMs);
    refresh();
}

void MainWindow::placeActions(const QList<ModuleAction *> &actions)
{
    QList<ModuleAction *> ordered = actions;
    std::stable_sort(ordered.begin(), ordered.end(), [](const ModuleAction *one, const ModuleAction *other) {
        return std::make_pair(one->menuNumber, one->actionNumber) <
               std::make_pair(other->menuNumber, other->actionNumber);
    });
    for (const ModuleAction *entry : qAsConst(ordered))
        menu(entry->menuTitle)->addAction(entry->action);
}

QMenu *MainWindow::menu(const QString &title)
{
    const QList<QAction *> entries = menuBar()->actions();
    for (const QAction *entry : entries) {
        if (entry->menu() && entry->text() == title)
            return entry->menu();
    }
    return menuBar()->addMenu(title);
}

void MainWindow::makeMenus()
{
    QAction *quit = menu(tr("&File"))->addAction(tr("&Quit"), qApp, &QCoreApplication::quit);
    quit->setShortcut(QKeySequence::Quit);
}

void MainWindow::makeViews()
{
    m_receivers = new ReceiversPanel;
    m_conversation = new ConversationView;
    auto *splitter = new QSplitter(Qt::Vertical);
    splitter->addWidget(m_receivers);
    splitter->addWidget(m_conversation);
    splitter->setSizes({320, 400});
    splitter->setChildrenCollapsible(false);
    splitter->setContentsMargins(9, 9, 9, 0);
    setCentralWidget(splitter);
}

void MainWindow::makeStatusBar()
{
    for (QLabel **label : {&m_version, &m_router, &m_lock, &m_frames}) {
        *label = new QLabel;
        statusBar()->addPermanentWidget(*label);
    }
}

void MainWindow::followConversation()
{
    ConversationModel *model = &m_conversation->model();
    connect(&m_session.controller(), &SimulatedController::exchanged, model, &ConversationModel::addExchange);
    connect(&m_session.link(), &ControllerLink::logged, model, &ConversationModel::addLogLine);
}

void MainWindow::refresh()
{
    m_receivers->update(m_session.receivers().reports());
    m_frames->setText(tr("Frame %1, %2 a second").arg(m_session.frames()).arg(m_session.options().rate));
}

void MainWindow::showState()
{
    const ControllerState state = m_session.controller().state();
    m_version->setText(
        tr("Controller %1.%2.%3").arg(state.version.major).arg(state.version.minor).arg(state.version.third));
    m_router->setText(state.viaRouter ? tr("Router mode: this frontend sends") : tr("The Controller sends"));
    m_lock->setText(state.locked ? tr("Configuration locked") : tr("Configuration open"));
}
