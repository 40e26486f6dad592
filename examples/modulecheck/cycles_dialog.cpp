// Life cycles with the dialog and its parent widget.

#include "cycles.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QTimer>

#include <memory>

namespace {

constexpr int pollMilliseconds = 10;

/// Calls \a function once, from the event loop, as soon as the active modal widget is a \a Window.
template <typename Window, typename Function>
void whenShown(Function function)
{
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, qApp, [timer, function] {
        if (auto *window = qobject_cast<Window *>(QApplication::activeModalWidget())) {
            timer->deleteLater();
            timer->stop();
            function(window);
        }
    });
    timer->start(pollMilliseconds);
}

void press(QWidget *window, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QApplication::sendEvent(window, &event);
}

/// Triggers the action, which opens the dialog, and calls \a whenOpen from the dialog's event loop.
/// \a whenOpen must close the dialog. Returns whether the dialog was shown.
template <typename Function>
bool open(Life &life, Function whenOpen)
{
    QAction *action = life.module()->moduleActions().value(0)->action;
    const auto shown = std::make_shared<bool>(false);
    whenShown<QDialog>([shown, whenOpen](QDialog *dialog) {
        *shown = true;
        whenOpen(dialog);
    });
    action->trigger();
    return *shown;
}

} // namespace

void dialogOpenedAndClosed(Life &life)
{
    life.begin();
    const bool shown = open(life, [](QDialog *dialog) { press(dialog, Qt::Key_Escape); });
    life.step("Trigger the action: the call returns when the user has closed the modal dialog.", shown);
    life.step("Execute the dialog's commands: every way of closing the dialog writes the settings.",
              life.host.commands.contains(QLatin1String("output net_active ch01 yes")));
    life.host.commands.clear();
    life.host.answers["config is_changeable"] = "no";
    open(life, [](QDialog *dialog) { press(dialog, Qt::Key_Escape); });
    life.step(R"(Answer "config is_changeable" with "no": the dialog only shows the settings.)",
              life.host.commands.isEmpty());
    life.end();
}

void refusedCommands(Life &life)
{
    life.host.refuseEverything = true;
    life.begin();
    const bool shown = open(life, [](QDialog *dialog) { press(dialog, Qt::Key_Escape); });
    life.step("Return a nonzero result while the Controller cannot be reached: the dialog opens and closes.",
              shown && !life.host.commands.isEmpty());
    life.end();
}

void shutdownWithDialogOpen(Life &life)
{
    life.begin();
    const bool shown = open(life, [&life](QDialog *) { life.shutDown(); });
    life.step("Shut down while the dialog is open, but let its event loop return before unloading.", shown);
    life.unload();
}

void shutdownWithMessageBoxOpen(Life &life)
{
    life.begin();
    bool asked = false;
    open(life, [&life, &asked](QDialog *dialog) {
        whenShown<QMessageBox>([&life, &asked](QMessageBox *) {
            asked = true;
            life.shutDown();
        });
        press(dialog, Qt::Key_W, Qt::ControlModifier);
    });
    life.step("Shut down while a message box of the dialog is open.", asked);
    life.step("Expect that the shut-down does not answer the question with Yes: nothing is written.",
              life.host.commands.isEmpty());
    life.unload();
}

void parentDestroyedFirst(Life &life)
{
    life.begin();
    life.prepareShutdown();
    life.window.reset();
    life.step("Destroy the parent widget only after prepareShutdown().", true);
    life.releaseResources();
    life.unload();
}

void eventLoopInQueries(Life &life)
{
    life.begin();
    int depth = 0;
    int deepest = 0;
    QAction *action = life.module()->moduleActions().value(0)->action;
    life.host.duringQuery = [&] {
        deepest = qMax(deepest, ++depth);
        QApplication::processEvents();
        if (depth == 1)
            action->trigger();
        --depth;
    };
    const bool shown = open(life, [&life](QDialog *dialog) {
        life.host.duringQuery = nullptr;
        press(dialog, Qt::Key_Escape);
    });
    life.step("Run the event loop within a query: triggering the action meanwhile sends no query.",
              shown && deepest == 1);
    QApplication::processEvents();
    life.end();
}
