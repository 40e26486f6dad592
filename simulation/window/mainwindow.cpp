#include "mainwindow.h"

#include "appearance.h"
#include "conversationview.h"
#include "moduleaction.h"
#include "receiverspanel.h"
#include "session.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QTextBrowser>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace simulation {

namespace {

/// Returns the user guide of the installation if there is one, otherwise that of the source tree.
QString guideFile()
{
    const QDir here(QCoreApplication::applicationDirPath());
    const QString installed =
        here.filePath(QLatin1String("../share/doc/networksettings2gmodule/user-guide.md"));
    return QFile::exists(installed) ? installed : QLatin1String(SOURCE_FOLDER "/docs/user-guide.md");
}

} // namespace

MainWindow::MainWindow(Session &session, bool dark, QWidget *parent)
    : QMainWindow(parent)
    , m_session(session)
    , m_controller(session)
    , m_status(new QLabel)
{
    // With this attribute, a modal dialog of the module blocks this window, but not the Controller's window.
    setAttribute(Qt::WA_GroupLeader);
    makeMenus(dark);
    makeViews();
    statusBar()->addPermanentWidget(m_status);
    if (m_session.isRemote())
        followConnection();
    connect(&m_session, &Session::sourceEnded, this, [this] { m_sourceEnded = true; });

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
    for (const ModuleAction *entry : qAsConst(ordered)) {
        // Add the action to the Controller's window, too, so that its shortcut works there.
        m_controller.addAction(entry->action);
        entry->dialog->addActions(m_globalActions);
        entry->dialog->installEventFilter(this);
    }
    // Move the Help menu to the end, after the new menus.
    menuBar()->addMenu(menu(tr("&Help")));
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if ((event->type() == QEvent::Show || event->type() == QEvent::Hide) && !event->spontaneous())
        m_session.setDialogOpen(event->type() == QEvent::Show);
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::showOnScreen()
{
    constexpr QSize wanted(1010, 860);
    constexpr QSize frame(4, 26); // an estimate: the window manager adds the frame when the window is shown
    const QRect screen = QApplication::primaryScreen()->availableGeometry();
    const int controllerWidth = m_controller.sizeHint().width();
    const int height = std::min(wanted.height(), screen.height() - frame.height());
    const int beside = screen.width() - controllerWidth - 2 * frame.width();
    // This window should be at least one and a half times as wide as the Controller's.
    const bool bothFit = beside >= minimumSizeHint().width() && 2 * beside >= 3 * controllerWidth;
    const int width = std::min(wanted.width(), bothFit ? beside : screen.width() - frame.width());
    const int left = screen.left() + (bothFit ? (beside - width) / 2 : 0);
    resize(width, height);
    move(left, screen.top());
    m_controller.resize(controllerWidth, height);
    m_controller.move(bothFit ? left + width + frame.width()
                              : screen.right() + 1 - controllerWidth - frame.width(),
                      screen.top());
    // Show the host's window last, so that it is active.
    m_controller.setVisible(bothFit && !m_session.isRemote());
    show();
    activateWindow();
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

void MainWindow::makeMenus(bool dark)
{
    QAction *quit = menu(tr("&File"))->addAction(tr("&Quit"), qApp, &QCoreApplication::quit);
    quit->setShortcut(QKeySequence::Quit);
    useEverywhere(quit);

    QMenu *view = menu(tr("&View"));
    QAction *filter = view->addAction(tr("&Filter the conversation"));
    connect(filter, &QAction::triggered, this, [this] { m_conversation->focusFilter(); });
    filter->setShortcut(QKeySequence::Find);
    QAction *controller = view->addAction(tr("Simulated &Controller"));
    controller->setShortcut(Qt::Key_F8);
    useEverywhere(controller);
    controller->setCheckable(true);
    controller->setEnabled(!m_session.isRemote());
    connect(controller, &QAction::toggled, &m_controller, &QWidget::setVisible);
    connect(&m_controller, &ControllerWindow::visibilityChanged, controller, &QAction::setChecked);
    QAction *darkPalette = view->addAction(tr("&Dark palette"));
    darkPalette->setCheckable(true);
    connect(darkPalette, &QAction::toggled, this, &setDarkPalette);
    darkPalette->setChecked(dark);

    QAction *guide = menu(tr("&Help"))->addAction(tr("&User guide"), this, &MainWindow::showGuide);
    guide->setShortcut(QKeySequence::HelpContents);
}

/// Makes the shortcut of \a action work in every window. A modal dialog blocks the shortcuts of this window,
/// so the other windows must contain the action, too: the Controller's window, and the module's dialog, to
/// which placeActions() adds it.
void MainWindow::useEverywhere(QAction *action)
{
    action->setShortcutContext(Qt::ApplicationShortcut);
    m_controller.addAction(action);
    m_globalActions.append(action);
}

void MainWindow::showGuide()
{
    auto *browser = new QTextBrowser;
    browser->setAttribute(Qt::WA_DeleteOnClose);
    browser->setAttribute(Qt::WA_QuitOnClose, false);
    browser->setWindowTitle(tr("User guide"));
    browser->setOpenExternalLinks(true);
    browser->setSource(QUrl::fromLocalFile(guideFile()), QTextDocument::MarkdownResource);
    browser->resize(800, 700);
    connect(this, &QObject::destroyed, browser, &QObject::deleteLater);
    browser->show();
}

void MainWindow::makeViews()
{
    m_receivers = new ReceiversPanel;
    m_conversation = new ConversationView;
    connect(m_receivers, &ReceiversPanel::resetRequested, this, [this] { m_session.receivers().restart(); });
    connect(&m_session, &Session::exchanged, m_conversation, &ConversationView::addExchange);
    connect(&m_session.link(), &ControllerLink::logged, m_conversation, &ConversationView::addLogLine);
    auto *splitter = new QSplitter(Qt::Vertical);
    splitter->addWidget(m_receivers);
    splitter->addWidget(m_conversation);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(9, 9, 9, 0);
    layout->addWidget(splitter);
    // On a small screen, show scroll bars instead of clipping.
    auto *area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(content);
    setCentralWidget(area);
}

/// Shows the state of the connection to a remote Controller.
void MainWindow::followConnection()
{
    const Endpoint &endpoint = m_session.options().controller;
    const QString address = endpoint.host + ':' + QString::number(endpoint.port);
    auto *label = new QLabel(tr("Connected to %1").arg(address));
    label->setToolTip(tr("If the connection is lost, the frontend tries every half second to connect again"));
    statusBar()->insertWidget(0, label);
    connect(&m_session, &Session::connectionChanged, this, [this, label, address](const QString &problem) {
        const bool isConnected = problem.isEmpty();
        label->setText(isConnected ? tr("Connected to %1").arg(address)
                                   : tr("No connection to %1: %2").arg(address, problem));
        QPalette colors = palette();
        if (!isConnected)
            colors.setColor(QPalette::WindowText, failureColor(colors));
        label->setPalette(colors);
        // If the data have ended, the Controller reports this again on the new connection.
        if (isConnected)
            m_sourceEnded = false;
    });
}

void MainWindow::refresh()
{
    m_receivers->showReports(m_session.receivers().reports());
    const auto flowText = [this] {
        return m_session.isRemote() ? tr("from the Controller") : tr("%1 per second").arg(m_session.rate());
    };
    const QString flow = m_sourceEnded          ? tr("the data have ended")
                         : m_session.isPaused() ? tr("paused")
                                                : flowText();
    const ControllerState state = m_session.controller().state();
    const BackendVersions &version = state.version;
    const QStringList parts{
        tr("Controller %1.%2.%3").arg(version.major).arg(version.minor).arg(version.third),
        state.viaRouter ? tr("Router mode on") : tr("Router mode off"),
        state.locked ? tr("Configuration locked") : tr("Configuration unlocked"),
        tr("Frames: %1, %2").arg(m_session.frames()).arg(flow)};
    m_status->setText(parts.join(QLatin1String("   ")));
}

} // namespace simulation
