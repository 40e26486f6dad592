#include "controllerwindow.h"

#include "datapanel.h"
#include "faultpanel.h"
#include "session.h"
#include "statepanel.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QHideEvent>
#include <QScrollArea>
#include <QShowEvent>
#include <QVBoxLayout>

namespace simulation {

ControllerWindow::ControllerWindow(Session &session, QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setWindowTitle(tr("Simulated Controller"));
    // Only the host's window keeps the program running.
    setAttribute(Qt::WA_QuitOnClose, false);
    auto *content = new QWidget;
    auto *panels = new QVBoxLayout(content);
    panels->addWidget(new StatePanel(session));
    panels->addWidget(new DataPanel(session));
    panels->addWidget(new FaultPanel(session.controller()));
    panels->addStretch();
    auto *area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(content);
    area->setMinimumWidth(content->minimumSizeHint().width() +
                          area->style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area);
    keepWheelFromBoxes();
}

void ControllerWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        emit visibilityChanged(true);
}

void ControllerWindow::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        emit visibilityChanged(false);
}

/// Makes the mouse wheel scroll the panels while the pointer is over a combo box or spin box without the
/// focus. Otherwise the wheel would change the value of that box.
void ControllerWindow::keepWheelFromBoxes()
{
    const auto widgets = findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        if (qobject_cast<QComboBox *>(widget) || qobject_cast<QAbstractSpinBox *>(widget)) {
            widget->setFocusPolicy(Qt::StrongFocus);
            widget->installEventFilter(this);
        }
    }
}

bool ControllerWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Wheel || static_cast<QWidget *>(watched)->hasFocus())
        return QWidget::eventFilter(watched, event);
    event->ignore();
    return true;
}

} // namespace simulation
