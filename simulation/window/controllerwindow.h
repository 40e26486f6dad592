#pragma once

#include "commandkinds.h"

#include <QWidget>

#include <array>

class QCheckBox;
class QComboBox;
class QFormLayout;

namespace simulation {

class Session;

/// The window of the simulated Controller with all its controls: its state, the data and channels, and a
/// fault for each kind of query and command. It is separate from the host's window, so that it can be used
/// while a dialog blocks the host's window. Closing this window only hides it.
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
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void makeState(QFormLayout *form);
    void makeTypes(QFormLayout *form);
    void makeData(QFormLayout *form);
    QWidget *makeChannels();
    void makeFaults(QFormLayout *form);
    QComboBox *makeFaultBox(int kind);
    void keepWheelFromBoxes();
    void showState();
    void showFaults();

    Session &m_session;
    QComboBox *m_model = nullptr;
    QCheckBox *m_locked = nullptr;
    QCheckBox *m_router = nullptr;
    std::array<QComboBox *, commandKindCount> m_faults{};
};

} // namespace simulation
