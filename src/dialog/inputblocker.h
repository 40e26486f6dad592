#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace networksettings2g {

/// Discards keyboard, mouse and touch input to a window and all its widgets for as long as the object lives,
/// so that the user edits nothing while a host runs its event loop within a command. Mouse moves, which only
/// change the appearance, are passed on, except to spin boxes.
/// Other windows, such as a message box of the blocked window, are not affected; focus and appearance do not
/// change. GUI thread only.
class InputBlocker : public QObject
{
public:
    explicit InputBlocker(QWidget *window);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QPointer<QWidget> m_window;
};

} // namespace networksettings2g
