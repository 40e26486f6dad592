#pragma once

#include "ui_channelwidget.h"

#include <QMessageBox>
#include <QWidget>

struct BackendVersions;
class ChannelAsRouter;
class IOManager;
class QRegExpValidator;

/// The editor page of one output channel. It stores edits in the channel: the host when its field loses the
/// focus or Enter is pressed, everything else at once. The page sends no commands to the Controller, and
/// only one query, in validate(). GUI thread only.
///
/// - The host field accepts names and addresses; while multicast is ticked, only digits and dots.
/// - The box "this computer" writes this computer's address to the host field and disables the field. Only
///   flushChangesToChannel() stores the address in the channel.
/// - The active box also starts and stops the channel's router.
/// - The table shows the channel's own type model, to which the view writes the ticks.
class ChannelWidget : public QWidget, public Ui::ChannelWidget
{
    Q_OBJECT

public:
    /// Creates a page without a parent. It shows the form's defaults until the channel emits
    /// Channel::updated(). The caller keeps ownership of all three arguments, which must exist as long as the
    /// page is used.
    ChannelWidget(IOManager *ioManager, ChannelAsRouter *channel, BackendVersions *versions);
    ~ChannelWidget() override;

    ChannelAsRouter *channel() const { return m_channel; }

    /// Sets whether the channel's router starts when the active box is ticked. Takes effect at the next
    /// toggle of that box.
    void setRouterMode(bool on) { m_routerMode = on; }

    void setCloseButtonVisible(bool visible);

    /// Enables or disables all controls except the active box and the close button.
    /// Note: The host field stays disabled while "this computer" is ticked, and the divisor if the
    /// Controller's version has none.
    void setControlsEnabled(bool active);

    /// Emits changeChannelTabTitleFontColor() with the normal text colour if the active box is ticked and the
    /// page is enabled, otherwise with the colour of disabled text.
    void updateTabColor();

    /// Returns whether the destination in the host field is valid or the channel is inactive. Shows the
    /// reason in a message box if it is not valid. Does not change the channel. May block for a query, a name
    /// look-up and a message box.
    /// Note: If the name of a unicast host cannot be resolved, asks the user and returns true for "Ignore".
    /// If the page is destroyed while the box is open, returns false.
    bool validate();

    /// Makes a validate() that is waiting for its query return false without a message box.
    void silence() { m_silenced = true; }

signals:
    /// Emitted when the user asks to close the tab of channel index \a id.
    void closeTab(int id);

    /// Emitted when the title of tab \a tabIndex should have the colour \a color.
    void changeChannelTabTitleFontColor(int tabIndex, const QColor &color);

    /// Emitted after a toggle of the active box has switched the channel and its router.
    void checkBox_active_channel_toggled();

public slots:
    /// Shows the channel's state.
    void updateFromChannel();

    /// Stores the text of the host field in the channel, which looks up the host. May block.
    void flushChangesToChannel();

    /// Toggles the tick at \a index if that is an enabled cell of the identifier column. So the user may
    /// double-click the identifier instead of clicking its check box.
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
    void warn(const QString &message, QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

    IOManager *m_ioManager;
    BackendVersions *m_versions;
    ChannelAsRouter *m_channel;
    QRegExpValidator *m_hostNameValidator = nullptr;
    QRegExpValidator *m_ipDigitsValidator = nullptr;
    bool m_myIpSlotArmed = true; // false while showWhetherMyIp() sets the check box
    bool m_routerMode = false;   // see setRouterMode()
    bool m_silenced = false;     // see silence()
};
