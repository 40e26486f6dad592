#pragma once

#include "ui_channelwidget.h"

#include <QWidget>

struct BackendVersions;
class ChannelAsRouter;
class IOManager;
class QRegExpValidator;

/// The editor page of one output channel. It stores every edit in the channel at once and sends nothing to
/// the Controller. The table shows the channel's own type model, so a tick needs no code in the page.
///
/// The host field has two input modes: names and addresses, or digits and dots while multicast is ticked.
/// GUI thread only.
class ChannelWidget : public QWidget, public Ui::ChannelWidget
{
    Q_OBJECT

public:
    /// Creates a page without a parent. It shows the form's defaults until the channel emits
    /// Channel::updated(). The caller keeps ownership of all three arguments, which must outlive the page.
    ChannelWidget(IOManager *ioManager, ChannelAsRouter *channel, BackendVersions *versions);
    ~ChannelWidget() override;

    ChannelAsRouter *channel() const { return m_channel; }

    /// Sets whether the channel, when its active box is ticked, forwards data itself. Takes effect at the
    /// next toggle of that box.
    void setRouterMode(bool on) { m_routerMode = on; }

    void setCloseButtonVisible(bool visible);

    /// Enables the controls if the channel is \a active: the host field only if the destination is not this
    /// computer, the divisor only if the Controller's version has one.
    void setControlsEnabled(bool active);

    /// Sets the colour of the tab's title: normal if the channel is on and the page is enabled, else
    /// disabled.
    void updateTabColor();

    /// Returns whether the destination is valid; if not, a message box has shown the reason. Does not change
    /// the channel. Blocks for a query, a name look-up and a message box.
    bool validate();

signals:
    /// The user wants the tab of channel index \a id closed.
    void closeTab(int id);

    /// The title of tab \a tabIndex should have the colour \a color.
    void changeChannelTabTitleFontColor(int tabIndex, const QColor &color);

    /// The active box has been toggled, and the channel has been switched on or off.
    void checkBox_active_channel_toggled();

public slots:
    /// Shows the channel's state.
    void updateFromChannel();

    /// Stores the text of the host field in the channel, which looks it up. May block.
    void flushChangesToChannel();

    /// Toggles the tick, so that a double click anywhere in an identifier's cell works.
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
    void fitFirstColumnToTitle();
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
