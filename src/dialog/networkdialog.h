#pragma once

#include "channelfanout.h"
#include "hostconnection.h"
#include "messagereceiver.h"
#include "operationgate.h"
#include "outputtypeinfo.h"
#include "requester.h"
#include "ui_networkdialog.h"

#include <QDialog>
#include <QIcon>
#include <QMessageBox>
#include <QPointer>

#include <atomic>
#include <memory>

struct BackendVersions;
class ChannelAsRouter;
class ChannelWidget;
class IOManager;
class NetworkDialogTabWidget;

/// The module's dialog, with one tab for each output channel up to the last one that has a destination.
/// ModuleInterface::moduleActions() creates it hidden, and the menu action shows it modally. It exists until
/// shut-down, because its channels forward tracking data even while it is hidden.
///
/// Thread safety: the functions of Requester and MessageReceiver may be called on any thread, everything else
/// on the GUI thread only.
///
/// Errors: a failed command is logged or ignored, and the operation continues.
///
/// Invariants:
/// 1. m_channels and m_pages have the same length and order, except while a channel is being added or closed.
///    Entry i of both belongs to tab i. Its channel index is i, unless closeCurrentTab() has closed a tab
///    before it.
/// 2. m_fanOut lists exactly the channels in m_channels, except within a function that changes both.
/// 3. After teardownRequests() no router runs and the host is not called.
///
/// Only one operation on the channels runs at a time (see OperationGate). A call that would start a second
/// one is refused, or postponed until the first one has ended. Shut-down is never refused: the host may call
/// teardownRequests() and release() at any time.
class NetworkDialog : public QDialog, public Ui::NetworkDialog, public Requester, public MessageReceiver
{
    Q_OBJECT

public:
    /// Builds the window. The host keeps ownership of all three arguments. None may be null. \a ioManager
    /// must exist until teardownRequests() has returned, and \a versions as long as the dialog.
    /// Note: If \a parent is destroyed before release() is called, it destroys the dialog.
    NetworkDialog(IOManager *ioManager, QWidget *parent, BackendVersions *versions);

    /// Waits until no data thread uses a channel and every worker has ended. Must follow teardownRequests().
    ~NetworkDialog() override;

    /// Completes the construction: makes a tab for each channel, registers with the host and, in router
    /// mode, starts forwarding. The constructor does not do this: the host may shut the module down
    /// meanwhile, and the owner must then already have the pointer to the dialog.
    /// Note: The dialog may have been deleted when this function returns.
    void start();

    /// Ends all calls to the host: closes open message boxes, stops the routers, releases the output types
    /// and unregisters the dialog. Blocks as ModuleInterface::prepareShutdown() does. A second call does
    /// nothing.
    /// Note: Operations in progress continue, but their commands no longer reach the host.
    void teardownRequests();

    /// Deletes the dialog. Must follow teardownRequests().
    /// Note: If called from within a command of the dialog, only marks it as released. It is then deleted
    /// after the operation that sent the command: at the end of a call from the host (CallFromHost),
    /// otherwise by the event loop (doPostponed()).
    void release();

    int onOutputData(const char *type, const char *line) override;
    void onOutputReset() override;
    void onOutputIdle() override;
    int onMessage(int a, int b, const char *text) override;

signals:
    /// Starts the routers of the active channels if \a enable is true, and stops all others. The connections
    /// are direct, so all routers have started or stopped when emit returns.
    void deferedRouterActiveToggled(bool enable);

public slots:
    /// Reads the Controller's state and runs the dialog modally. Returns the result of exec(), or Rejected if
    /// it did not run. If the dialog is visible, only raises it. If an operation of the hidden dialog is in
    /// progress, opens it afterwards.
    /// Note: After teardownRequests() the dialog does not open. It may have been deleted when this function
    /// returns.
    int update_and_exec();

    /// Enables the router check box if the active box of at least one page is ticked and the configuration is
    /// not locked. Otherwise disables it.
    void onCheckBox_active_channel_toggled();

    /// Handles Ctrl + T (adds a channel), Ctrl + W (closes the last one after a question) and F9 (selects the
    /// next tab). T and W without Ctrl do nothing. The base class handles all other keys.
    void keyPressEvent(QKeyEvent *event) override;

private slots:
    /// Closes the tab of the current channel after a question, if there are at least three channels. Nothing
    /// in the module calls this slot.
    /// Note: The channels after it keep their index and title.
    void closeCurrentTab();

    /// Closes the tab of the last channel after a question, unless it is the only channel.
    void closeLastTab();

    /// Adds a channel if tab \a index is the "+" tab.
    void onTabBarClicked(int index);

    /// Turns the fan-out on or off at once. accept() writes the mode to the Controller and starts or stops
    /// the routers.
    void on_checkBox_actAsRouter_toggled(bool checked);

    /// Checks all channels, commits them and, if necessary, the router mode, and closes the dialog. If a
    /// check fails, the dialog stays open. Every way of leaving the dialog calls this slot.
    /// Note: If the configuration is locked or the module has been shut down, only closes the dialog.
    /// Otherwise does nothing while an operation is in progress.
    void accept() override;

    /// Calls accept(), because the dialog cannot be left without applying the changes.
    void reject() override;

private:
    using Operation = networksettings2g::OperationGate::Operation;

    /// Spans a call from the host. Its end deletes the dialog if the dialog has been released and no
    /// operation is in progress. The event loop would be too late, because the host may unload the library
    /// after the call.
    class CallFromHost
    {
    public:
        explicit CallFromHost(NetworkDialog *dialog)
            : m_dialog(dialog)
        {
        }
        ~CallFromHost();
        CallFromHost(const CallFromHost &) = delete;
        CallFromHost &operator=(const CallFromHost &) = delete;

    private:
        QPointer<NetworkDialog> m_dialog; // null after the dialog has been deleted
    };

    bool isTornDown() const { return m_gate.isClosed(); }

    // networkdialog.cpp: construction, opening, locked configuration, shut-down
    void setupTabs();
    void describeForScreenReaders();
    QList<QMessageBox *> closeMessageBoxes();
    void refuseOperations();
    void bringUpToDate();
    void doPostponed();
    void applyLock();
    void enablePages(bool enable);
    bool isConfigLocked();

    /// Asks the user \a question and returns whether the answer is Yes.
    /// Note: Returns false if the module was shut down meanwhile. The dialog may then have been deleted.
    bool ask(QMessageBox::Icon icon, const QString &title, const QString &question,
             QMessageBox::StandardButton defaultButton);

    // networkdialog_channels.cpp: creating, destroying and refreshing channels
    int channelsInUse();
    void rebuildTabs();

    /// Creates a channel with its tab. The caller appends the returned page to m_pages.
    ChannelWidget *createChannel(int index);

    /// Removes tab \a index and its channel, and at once clears the destination of channel \a index + 1 on
    /// the Controller.
    void closeTab(int index);

    void resetOnController(int number);
    void discard(ChannelAsRouter *channel, ChannelWidget *page);
    void rebuildChannels();
    void destroyChannels();
    void refreshAllChannels();
    void refreshChannel(int index);
    void refreshChannels(const QList<ChannelAsRouter *> &channels);

    // networkdialog_tabs.cpp: the tab row
    void selectNextTab();
    bool confirmClosing(int number);
    void updateCloseButtons();

    // networkdialog_accept.cpp: checking and writing the changes
    void finish();
    void writeChanges();
    bool resolveConflicts();
    bool askToDeactivate(ChannelAsRouter *other, const ChannelAsRouter *conflictsWith);
    bool validatePages();
    void deactivateBeforeCommit();
    void commitChannels();

    // networkdialog_routing.cpp: router mode, and the host's data and messages
    void updateRouterState();
    void commitRouterMode();
    void writeRouterMode();
    void setRouterActive(bool on);
    void applyRouterMode();
    void switchRouters(bool on);
    void updateOutputRequests();
    bool isTypeNeeded(const QString &name) const;
    void followCatalogueChange();
    void refreshAndRoute();

    networksettings2g::HostConnection m_host;
    networksettings2g::OperationGate m_gate;
    BackendVersions *m_versions;
    QPointer<QWidget> m_parentWidget; // source of the window icon
    NetworkDialogTabWidget *m_tabWidget = nullptr;
    QList<ChannelAsRouter *> m_channels; // owned
    QList<ChannelWidget *> m_pages;      // owned, Qt descendants of m_tabWidget
    bool m_locked = false;               // the configuration was locked when the dialog was last opened
    QIcon m_lockIcon;
    bool m_routerChanged = false;            // the user has toggled the router check box since the opening
    std::atomic<bool> m_routerActive{false}; // while true, the fan-out passes lines on
    QList<OutputTypeInfo> m_outputTypes;     // the catalogue as last read
    // Shared with the channels, whose workers use it.
    std::shared_ptr<networksettings2g::ChannelFanOut> m_fanOut =
        std::make_shared<networksettings2g::ChannelFanOut>(m_routerActive);
    int m_baseWidth = 0;             // width of the form, to which many tabs add
    bool m_tabsChanged = false;      // a channel has been created since the router mode was last committed
    bool m_openingDue = false;       // the action was triggered during an operation of the hidden dialog
    bool m_catalogueChanged = false; // a catalogue change arrived during an operation
    std::atomic<bool> m_followQueued{false}; // an event that follows a catalogue change is queued
    bool m_released = false;                 // the host called release() from within a command
};
