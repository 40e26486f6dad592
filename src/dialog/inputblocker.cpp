#include "inputblocker.h"

#include <QAbstractSpinBox>
#include <QCoreApplication>
#include <QEvent>

namespace networksettings2g {

namespace {

bool isInput(const QObject *receiver, const QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::InputMethod:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::Drop:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        return true;
    // While the mouse button is held on an arrow, a spin box steps by a timer, and when the mouse moves to
    // the other arrow.
    case QEvent::Timer:
    case QEvent::MouseMove:
        return qobject_cast<const QAbstractSpinBox *>(receiver);
    default:
        return false;
    }
}

} // namespace

InputBlocker::InputBlocker(QWidget *window)
    : m_window(window)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool InputBlocker::eventFilter(QObject *watched, QEvent *event)
{
    const auto *widget = qobject_cast<QWidget *>(watched);
    return widget && widget->window() == m_window && isInput(watched, event);
}

} // namespace networksettings2g
