#pragma once

#include <QCursor>
#include <QGuiApplication>

namespace networksettings2g {

/// Shows the cursor Qt::WaitCursor in all windows of the application for as long as the object lives. Use it
/// while the GUI thread waits for the Controller or a name server, but not while it waits for the user.
/// Objects may be nested. GUI thread only.
/// Note: Without a GUI application the objects do nothing.
class BusyCursor
{
public:
    BusyCursor()
        : m_shown(qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
    {
        if (m_shown)
            QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    }

    ~BusyCursor()
    {
        if (m_shown)
            QGuiApplication::restoreOverrideCursor();
    }

    BusyCursor(const BusyCursor &) = delete;
    BusyCursor &operator=(const BusyCursor &) = delete;

private:
    const bool m_shown;
};

} // namespace networksettings2g
