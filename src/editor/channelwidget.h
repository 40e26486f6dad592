#pragma once

#include "ui_channelwidget.h"

#include <QWidget>

struct BackendVersions;
class ChannelAsRouter;
class IOManager;
class QRegExpValidator;

/// The editor page of one output channel. Every edit goes straight into the channel; nothing goes to the
/// Controller from here. The table shows the channel's own type model, so that a tick needs no code of the
/// page.
///
/// The host field has two input modes: names and addresses, or digits and dots while multicast is ticked.
/// Everything happens on the GUI thread.
class ChannelWidget : public QWidget, public Ui::ChannelWidget
{
    Q_OBJECT

public:
    /// A page without parent that shows the form's defaults until its channel emits Channel::updated(). The
    /// three stay the caller's and outlive the page.
    ChannelWidget(IOManager *ioManager, ChannelAsRouter *channel, BackendVersions *versions);
    ~ChannelWidget() override;

    ChannelAsRouter *channel() const { return m_channel; }

    /// Whether a channel that is made active forwards the data itself. Takes effect at the next toggle.
    void setRouterMode(bool on) { m_routerMode = on; }

    void setCloseButtonVisible(bool visible);

    /// Enables what may be edited on a channel that is \a active or not: the host field unless the
    /// destination is this computer, the divisor if the Controller knows it.
    void setControlsEnabled(bool active);

    /// Colours the tab's title by whether the channel is on and the page is enabled.
    void updateTabColor();

    /// Whether the destination may go to the Controller; false after the user has been told what is wrong.
    /// Changes nothing in the channel. Blocks for a command, a name look-up and a message box.
    bool validate();

signals:
    /// The user wants the tab of channel index \a id closed.
    void closeTab(int id);

    /// The title of tab \a tabIndex is to be written in \a color.
    void changeChannelTabTitleFontColor(int tabIndex, const QColor &color);

    /// The channel has been switched on or off; it already knows.
    void checkBox_active_channel_toggled();

public slots:
    /// Shows the channel's state.
    void updateFromChannel();

    /// Hands the text of the host field to the channel, which looks it up: may block.
    void flushChangesToChannel();

    /// Toggles the tick, so that the whole cell of an identifier can be hit.
    void tableViewItemDoubleClicked(const QModelIndex &index);

protected slots:
    void on_checkBox_multicast_toggled(bool checked);
    void on_checkBox_my_ip_toggled(bool val);
    void on_checkBox_active_channel_toggled(bool checked);
    void on_lineEdit_host_editingFinished();

private slots:
    void on_pushButton_closeTab_clicked();

private:
    void showTypesOfChannel();
    void createValidators();
    void connectChannel();
    void describeForScreenReaders();
    void enterDigitsMode();
    void enterNamesMode();
    void showWhetherMyIp();
    void showRows();
    void placeCursor();

    bool judgeUnresolved(const QString &host);
    bool judgeMulticast(const QString &host, quint32 address);
    bool judgeUnicast(const QString &host, quint32 address);
    quint32 addressOf(const QString &host) const;
    int systemModel() const;
    void warn(const QString &message);

    IOManager *m_ioManager;
    BackendVersions *m_versions;
    ChannelAsRouter *m_channel;
    QRegExpValidator *m_hostNameValidator = nullptr;
    QRegExpValidator *m_ipDigitsValidator = nullptr;
    bool m_myIpSlotArmed = true; // false while the page itself sets checkBox_my_ip
    bool m_routerMode = false;
};
