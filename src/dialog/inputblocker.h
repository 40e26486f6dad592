#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace networksettings2g {

/// Keeps keyboard, mouse and touch from a window and all its widgets for as long as it lives, so that nothing
/// is edited while a host runs its event loop within a command. Other windows, such as a message box of the
/// blocked window, are not affected, and neither are focus and looks. GUI thread.
class InputBlocker : public QObject
{
public:
    explicit InputBlocker(QWidget *window);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QPointer<QWidget> m_window;
};

} // namespace networksettings2g
