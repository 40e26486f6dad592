#pragma once

#include "channelfanout.h"
#include "messagereceiver.h"
#include "outputtypeinfo.h"
#include "requester.h"
#include "ui_networkdialog.h"

#include <QDialog>
#include <QIcon>
#include <QPointer>

#include <atomic>

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
/// A host may run its event loop or come back to the module from within a command, and a message box runs an
/// event loop of its own. What would start a second operation on the channels then is refused, or, for a
/// changed catalogue, waits for the end of the first.
class NetworkDialog : public QDialog, public Ui::NetworkDialog, public Requester, public MessageReceiver
{
    Q_OBJECT

public:
    /// Asks the Controller for its channels, registers with the host, and, if the Controller is in router
    /// mode, starts forwarding. All three stay the host's and must outlive the dialog; none may be null.
    NetworkDialog(IOManager *ioManager, QWidget *parent, BackendVersions *versions);

    /// Waits until no data thread holds a channel and every worker has ended. teardownRequests() comes first.
    ~NetworkDialog() override;

    /// Ends all dealings with the host: nothing is sent, asked or requested any more.
    void teardownRequests();

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
    /// An operation on the channels that talks to the host, for as long as it lives.
    class Operation
    {
    public:
        explicit Operation(NetworkDialog *dialog);
        ~Operation();
        Operation(const Operation &) = delete;
        Operation &operator=(const Operation &) = delete;

    private:
        QPointer<NetworkDialog> m_dialog; // the host may shut the module down while a message box is open
    };

    bool mayBegin() const { return m_operations == 0 && !m_tornDown; }

    // networkdialog.cpp: start, opening, read-only state, end
    void setupTabs();
    void describeForScreenReaders();
    void bringUpToDate();
    void dismissMessageBoxes();
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
    bool offerDeactivation(ChannelAsRouter *kept, ChannelAsRouter *other);
    bool validatePages();
    void deactivateBeforeCommit();
    void commitChannels();
    void commitRouterMode();
    void writeRouterMode();
    void leave();

    // networkdialog_routing.cpp: the host's data and messages
    void updateOutputRequests();
    bool isTypeNeeded(const QString &name) const;
    void followCatalogueChange();
    void refreshAndRoute();

    IOManager *m_ioManager;
    BackendVersions *m_versions;
    QWidget *m_parentWidget; // gives the window icon
    NetworkDialogTabWidget *m_tabWidget = nullptr;
    QList<ChannelAsRouter *> m_channels; // owned; m_fanOut is told of every change
    QList<ChannelWidget *> m_pages;
    bool m_locked = false; // the Controller refused changes when the dialog was last opened
    QIcon m_lockIcon;
    bool m_routerChanged = false;            // the user has toggled the router check box
    std::atomic<bool> m_routerActive{false}; // tracking data passes through this dialog
    QList<OutputTypeInfo> m_outputTypes;
    ChannelFanOut m_fanOut;
    int m_channelCount = 0;
    QWidget *m_plusPage = nullptr;
    int m_baseWidth = 0;
    bool m_tabsChanged = false;      // a channel was created since the router mode was last committed
    int m_operations = 0;            // under way at the moment
    bool m_catalogueChanged = false; // meanwhile; to be followed when the last of them ends
    bool m_tornDown = false;
};
