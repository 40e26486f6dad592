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

/// The module's one window: a tab for each output channel of the Controller. It is made hidden when the
/// module starts, shown modally at each press of the menu action, and lives until shut-down, because its
/// channels go on forwarding tracking data between two showings.
///
/// Everything runs on the GUI thread except the functions of Requester and MessageReceiver, which the host
/// may call on any thread. A command that fails is logged at the host or passed over, and the operation goes
/// on.
///
/// m_channels and m_pages have one length and order: entry i is tab i, and channel index i unless
/// closeCurrentTab() has closed a tab before it.
///
/// A host may run its event loop, or call the module, from within a command, and a message box runs an event
/// loop of its own. What would start a second operation on the channels then is refused, or, for a changed
/// catalogue, waits for the end of the first. Shut-down is never refused: teardownRequests() and release()
/// may come at any of these moments.
class NetworkDialog : public QDialog, public Ui::NetworkDialog, public Requester, public MessageReceiver
{
    Q_OBJECT

public:
    /// Builds the window. All three arguments stay the host's and must outlive the dialog; none may be null.
    NetworkDialog(IOManager *ioManager, QWidget *parent, BackendVersions *versions);

    /// Waits until no data thread holds a channel and every worker has ended. teardownRequests() comes first.
    ~NetworkDialog() override;

    /// The second half of the construction: asks the Controller for its channels, registers with the host,
    /// and, if the Controller is in router mode, starts forwarding. It is separate, so that the owner knows
    /// the dialog, and can shut it down, while the host is inside one of these commands.
    void start();

    /// Stops the routers, releases the output types, removes the dialog from the host and closes open message
    /// boxes. Afterwards the host is not called any more, also by operations that are under way.
    void teardownRequests();

    /// Deletes the dialog; if the host calls this from within a command of the dialog, as soon as the
    /// function that sent the command has returned.
    void release();

    int onOutputData(const char *type, const char *line) override;
    void onOutputReset() override;
    void onOutputIdle() override;
    int onMessage(int a, int b, const char *text) override;

signals:
    /// Every channel starts (\a enable true) or stops its router; when this returns, all have.
    void deferedRouterActiveToggled(bool enable);

public slots:
    /// Reads the Controller's state and shows the dialog modally. Returns the result of exec(). While the
    /// dialog is visible or an operation is under way, and after teardownRequests(), it only raises the
    /// dialog and returns Rejected.
    int update_and_exec();

    /// The router check box can be used while a channel is active and the configuration is not locked.
    void onCheckBox_active_channel_toggled();

    /// Ctrl + T adds a channel, Ctrl + W closes the last one, F9 goes to the next tab.
    void keyPressEvent(QKeyEvent *event) override;

private slots:
    /// Closes the current tab after a question, if there are at least three. Nothing in the module calls it.
    /// Later channels keep their index and title.
    void closeCurrentTab();

    /// Closes the last tab after a question, unless it is the only one.
    void closeLastTab();

    /// A click on "+" adds a channel.
    void onTabBarClicked(int index);

    /// Data pass from now on, or no longer; the Controller learns of it in accept().
    void on_checkBox_actAsRouter_toggled(bool checked);

    /// The one way out: checks all pages, writes all changes to the Controller and closes the dialog.
    void accept() override;

    /// accept(): the dialog cannot be left without applying the changes.
    void reject() override;

private:
    using Operation = networksettings2g::OperationGate::Operation;

    /// A call from the host, for as long as the object lives. The end of the outermost one deletes the dialog
    /// if it has been released meanwhile.
    class CallFromHost
    {
    public:
        explicit CallFromHost(NetworkDialog *dialog);
        ~CallFromHost();
        CallFromHost(const CallFromHost &) = delete;
        CallFromHost &operator=(const CallFromHost &) = delete;

    private:
        QPointer<NetworkDialog> m_dialog; // may be destroyed first, while it waits for the user
    };

    bool isTornDown() const { return m_gate.isClosed(); }

    // networkdialog.cpp: start, opening, read-only state, end
    void setupTabs();
    void describeForScreenReaders();
    void bringUpToDate();
    void doPostponed();
    QList<QMessageBox *> closeMessageBoxes();

    /// Asks the user a question to be answered with Yes or No. Returns whether the answer is Yes; false also
    /// if the module was shut down while the box was open, and then the dialog may be gone.
    bool ask(QMessageBox::Icon icon, const QString &title, const QString &question,
             QMessageBox::StandardButton defaultButton);
    void applyLock();
    void enablePages(bool enable);
    bool isConfigLocked();
    void updateRouterState();
    void applyRouterMode();
    void rebuildChannels();
    void destroyChannels();
    void refreshChannel(int index);
    void refreshAllChannels();
    void refreshChannels(const QList<ChannelAsRouter *> &channels);

    // networkdialog_tabs.cpp: the tab row
    int channelsInUse();
    void rebuildTabs();
    void createChannel(int index);
    void addPlusTab();
    void removePlusTab();
    int plusTab() const;
    void updateCloseButtons();
    bool confirmClosing(int number);
    void closeTab(int index);
    void discard(ChannelAsRouter *channel, ChannelWidget *page);
    void resetOnController(int number);
    void selectNextTab();

    // networkdialog_accept.cpp: the way out
    bool resolveConflicts();
    bool askToDeactivate(ChannelAsRouter *other, const ChannelAsRouter *conflictsWith);
    bool validatePages();
    void deactivateBeforeCommit();
    void commitChannels();
    void commitRouterMode();
    void writeRouterMode();
    void finish();

    // networkdialog_routing.cpp: the host's data and messages
    void updateOutputRequests();
    bool isTypeNeeded(const QString &name) const;
    void followCatalogueChange();
    void refreshAndRoute();
    void setRouterActive(bool on);
    void switchRouters(bool on);

    networksettings2g::HostConnection m_host;
    networksettings2g::OperationGate m_gate;
    BackendVersions *m_versions;
    QWidget *m_parentWidget; // gives the window icon
    NetworkDialogTabWidget *m_tabWidget = nullptr;
    QList<ChannelAsRouter *> m_channels; // owned; m_fanOut is told of every change
    QList<ChannelWidget *> m_pages;
    bool m_locked = false; // the Controller refused changes when the dialog was last opened
    QIcon m_lockIcon;
    bool m_routerChanged = false;            // the user has toggled the router check box
    std::atomic<bool> m_routerActive{false}; // tracking data passes through this dialog
    QList<networksettings2g::OutputTypeInfo> m_outputTypes;
    // Shared with the channels, whose workers use it.
    std::shared_ptr<networksettings2g::ChannelFanOut> m_fanOut =
        std::make_shared<networksettings2g::ChannelFanOut>(m_routerActive);
    int m_channelCount = 0;
    QWidget *m_plusPage = nullptr;
    int m_baseWidth = 0;
    bool m_tabsChanged = false;      // a channel was created since the router mode was last committed
    int m_callsFromHost = 0;         // CallFromHost objects alive
    bool m_opening = false;          // update_and_exec() is about to show the dialog
    bool m_openingDue = false;       // the action was pressed during an operation of the hidden dialog
    bool m_catalogueChanged = false; // a catalogue change arrived during an operation
    bool m_releaseDue = false;       // release() came from within a command
};
