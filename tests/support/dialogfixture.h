#pragma once

#include "channelwidget.h"
#include "controllerlink.h"
#include "messageboxes.h"
#include "networkdialog.h"
#include "networkdialogtabwidget.h"
#include "recordingcontroller.h"

#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

using namespace simulation;

/// The module's dialog, connected to a simulated Controller. GUI thread only, except deliverFrame().
class DialogFixture
{
public:
    explicit DialogFixture(const std::function<void(ControllerState &)> &edit = {})
    {
        QObject::connect(&link, &ControllerLink::logged, &window,
                         [this](const LogLine &line) { m_logged << line.message; });
        if (edit)
            change(edit);
    }

    ~DialogFixture()
    {
        controller.disconnect(&window); // the function of onExchange() may use variables that no longer exist
        if (dialog)
            dialog->teardownRequests();
    }

    /// Applies \a edit to the Controller's state and copies the Controller's version to the record that the
    /// dialog reads.
    void change(const std::function<void(ControllerState &)> &edit)
    {
        controller.change(edit);
        versions = controller.state().version;
    }

    /// Creates and starts the dialog, as the module does, without showing it.
    void create()
    {
        dialog = std::make_unique<NetworkDialog>(&link, &window, &versions);
        dialog->start();
        QObject::connect(dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &window,
                         [this](bool enable) { routerSwitches << enable; });
    }

    /// Calls \a observe after each query and each command, even a refused one, before the dialog gets the
    /// result.
    void onExchange(const std::function<void(const Exchange &)> &observe)
    {
        QObject::connect(&controller, &SimulatedController::exchanged, &window, observe);
    }

    /// Opens the dialog, which is created if necessary, runs \a action in its event loop, and clicks the Exit
    /// button if the dialog is still open. If this does not close the dialog, returns false and closes it
    /// without writing the changes. Ends the test program if the dialog does not open.
    bool open(const std::function<void()> &action)
    {
        if (!dialog)
            create();
        bool hasRun = false;
        bool left = true;
        QTimer::singleShot(0, dialog.get(), [&] {
            hasRun = true;
            action();
            const MessageBoxes rejecting; // an unexpected box would block the test
            if (dialog->isVisible())
                QTest::mouseClick(dialog->pushButton_ok, Qt::LeftButton);
            left = !dialog->isVisible();
            if (!left)
                dialog->done(QDialog::Rejected);
        });
        dialog->update_and_exec();
        if (!hasRun)
            qFatal("the dialog was not opened");
        return left;
    }

    /// Presses \a key in the dialog.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QTest::keyClick(dialog.get(), key, modifiers);
    }

    /// Closes the last tab and confirms the question.
    void closeLastTab() const
    {
        const MessageBoxes boxes({QMessageBox::Yes});
        press(Qt::Key_W, Qt::ControlModifier);
    }

    /// Delivers frame \a number, which consists of a line fr and a line 6d, on the calling thread.
    void deliverFrame(int number)
    {
        link.deliver("fr", "fr " + QByteArray::number(number) + "\r\n");
        link.deliver("6d", "6d 0\r\n");
    }

    NetworkDialogTabWidget *tabs() const { return dialog->findChild<NetworkDialogTabWidget *>(); }

    /// Returns the page on tab \a index, or null if that is the "+" tab or does not exist.
    ChannelWidget *page(int index) const { return qobject_cast<ChannelWidget *>(tabs()->widget(index)); }

    QStringList titles() const
    {
        QStringList titles;
        for (int i = 0; i < tabs()->count(); ++i)
            titles << tabs()->tabText(i);
        return titles;
    }

    /// Returns the texts of all queries and commands since the record was last cleared, in order.
    QList<QByteArray> sent() const
    {
        QList<QByteArray> texts;
        const QList<Exchange> record = controller.record();
        for (const Exchange &exchange : record)
            texts << exchange.text;
        return texts;
    }

    /// Returns the messages that the dialog has written to the host's log, in order.
    QList<QByteArray> logged() const { return m_logged; }

    RecordingController controller;
    ControllerLink link{controller};
    BackendVersions versions{};
    QWidget window;
    QList<bool> routerSwitches; ///< the values of deferedRouterActiveToggled() after create()
    std::unique_ptr<NetworkDialog> dialog;

private:
    QList<QByteArray> m_logged;
};

/// Returns the name of channel \a number in commands, such as "ch07".
inline QByteArray channelName(int number)
{
    return "ch" + QByteArray::number(number).rightJustified(2, '0');
}

using StateEdit = std::function<void(ControllerState &)>;

/// Returns an edit that leaves only the channels 1 to \a count in use, and then applies \a more. The channels
/// are active and send the types fr and 6d to 127.0.0.1, channel N to port 5000 + N.
inline StateEdit withChannels(
    int count, const StateEdit &more = [](ControllerState &) {})
{
    return [count, more](ControllerState &state) {
        state.channels = {};
        for (int i = 0; i < count; ++i)
            state.channels[static_cast<size_t>(i)] = {
                {Destination::Kind::Udp, "127.0.0.1", 5001 + i}, true, 1, {"fr", "6d"}};
        more(state);
    };
}

/// Puts the Controller into router mode.
inline void inRouterMode(ControllerState &state)
{
    state.viaRouter = true;
}
