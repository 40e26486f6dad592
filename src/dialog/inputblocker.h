#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace networksettings2g {

/// Discards keyboard, mouse and touch input to a window and its widgets for as long as the object lives. So
/// the user edits nothing while a host runs its event loop within a command. Focus and appearance do not
/// change, and other windows, such as a message box of the blocked window, still get input. GUI thread only.
class InputBlocker : public QObject
{
public:
    explicit InputBlocker(QWidget *window);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QPointer<QWidget> m_window;
};

} // namespace networksettings2g
