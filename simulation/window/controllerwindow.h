#pragma once

#include <QWidget>

namespace simulation {

class Session;

/// The window of the simulated Controller with all its controls. It is separate from the host's window, so
/// that it can be used while a dialog blocks the host's window. Closing this window only hides it.
class ControllerWindow : public QWidget
{
    Q_OBJECT

public:
    explicit ControllerWindow(Session &session, QWidget *parent = nullptr);

signals:
    /// The window was shown (\a visible true) or hidden. Not emitted when the window system minimizes or
    /// restores the window.
    void visibilityChanged(bool visible);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void keepWheelFromBoxes();
};

} // namespace simulation
