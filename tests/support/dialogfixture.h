#pragma once

#include "channelwidget.h"
#include "controllerlink.h"
#include "messageboxes.h"
#include "networkdialog.h"
#include "networkdialogtabwidget.h"
#include "simulatedcontroller.h"

#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

using namespace simulation;

/// The real dialog with a simulated Controller.
class DialogFixture
{
public:
    explicit DialogFixture(const std::function<void(ControllerState &)> &edit = {})
    {
        // Not the address that the channels send to: their destination must not count as this computer.
        change([](ControllerState &state) { state.monitorAddress = "127.0.0.9"; });
        if (edit)
            change(edit);
    }

    ~DialogFixture()
    {
        controller.disconnect(&window); // an observer may refer to variables that no longer exist
        if (dialog)
            dialog->teardownRequests();
    }

    /// Edits the Controller's state and passes its version on to the dialog.
    void change(const std::function<void(ControllerState &)> &edit)
    {
        controller.change(edit);
        versions = controller.state().version;
    }

    /// Creates and starts the dialog, as the module does.
    void create()
    {
        dialog = std::make_unique<NetworkDialog>(&link, &window, &versions);
        dialog->start();
        QObject::connect(dialog.get(), &NetworkDialog::deferedRouterActiveToggled, &window,
                         [this](bool enable) { routerSwitches << enable; });
    }

    /// Calls \a observe after each query and command that the Controller has answered.
    void onExchange(const std::function<void(const Exchange &)> &observe)
    {
        QObject::connect(&controller, &SimulatedController::exchanged, &window, observe);
    }

    /// Opens the dialog, runs \a action in it and presses the Exit button if the dialog is still open.
    /// Returns false if the button did not close the dialog, which is then rejected.
    bool open(const std::function<void()> &action)
    {
        if (!dialog)
            create();
        bool left = true;
        QTimer::singleShot(0, dialog.get(), [&] {
            action();
            const MessageBoxes rejecting; // an unexpected box would block the test
            if (dialog->isVisible())
                QTest::mouseClick(dialog->pushButton_ok, Qt::LeftButton);
            left = !dialog->isVisible();
            if (!left)
                dialog->done(QDialog::Rejected);
        });
        dialog->update_and_exec();
        return left;
    }

    /// Delivers the lines of one frame.
    void deliverFrame(int number)
    {
        link.deliver("fr", "fr " + QByteArray::number(number) + "\r\n");
        link.deliver("6d", "6d 0\r\n");
    }

    NetworkDialogTabWidget *tabs() const { return dialog->findChild<NetworkDialogTabWidget *>(); }

    /// Returns the page on tab \a index; null for the "+" tab.
    ChannelWidget *page(int index) const { return qobject_cast<ChannelWidget *>(tabs()->widget(index)); }

    QStringList titles() const
    {
        QStringList titles;
        for (int i = 0; i < tabs()->count(); ++i)
            titles << tabs()->tabText(i);
        return titles;
    }

    /// Returns the texts of all queries and commands since the record was last cleared.
    QList<QByteArray> sent() const
    {
        QList<QByteArray> texts;
        const QList<Exchange> record = controller.record();
        for (const Exchange &exchange : record)
            texts << exchange.text;
        return texts;
    }

    QList<QByteArray> logged() const
    {
        QList<QByteArray> texts;
        const QList<LogLine> lines = link.logLines();
        for (const LogLine &line : lines)
            texts << line.message;
        return texts;
    }

    SimulatedController controller;
    ControllerLink link{controller};
    BackendVersions versions{};
    QWidget window;
    QList<bool> routerSwitches; ///< the values of deferedRouterActiveToggled() since create()
    std::unique_ptr<NetworkDialog> dialog;
};

/// Returns the name of channel \a number in commands, such as "ch07".
inline QByteArray channelName(int number)
{
    return "ch" + QByteArray::number(number).rightJustified(2, '0');
}

/// Returns an edit that leaves only the channels 1 to \a count in use. They are active and send the types fr
/// and 6d to 127.0.0.1, channel N to port 5000 + N.
inline std::function<void(ControllerState &)> withChannels(int count)
{
    return [count](ControllerState &state) {
        state.channels = {};
        for (int i = 0; i < count; ++i)
            state.channels[static_cast<size_t>(i)] = {
                {Destination::Kind::Udp, "127.0.0.1", 5001 + i}, true, 1, {"fr", "6d"}};
    };
}
