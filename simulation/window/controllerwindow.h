#pragma once

#include <QWidget>

class Session;
class StatePanel;
struct BackendVersions;

/// The simulated Controller with all its switches: a window of its own beside the host's, so that it can be
/// used while the host's window waits for a dialog. Closing it only hides it.
class ControllerWindow : public QWidget
{
    Q_OBJECT

public:
    explicit ControllerWindow(Session &session, QWidget *parent = nullptr);

    /// As in StatePanel.
    void setVersionChangeable(bool changeable);

signals:
    void versionWanted(const BackendVersions &version);
    /// It was shown (\a visible true) or hidden.
    void visibilityChanged(bool visible);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void keepWheelFromBoxes();

    StatePanel *m_state;
};
