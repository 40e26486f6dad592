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
        // Differs from the address that channels send to, so that those do not count as this computer.
        change([](ControllerState &state) { state.monitorAddress = "127.0.0.9"; });
        if (edit)
            change(edit);
    }

    ~DialogFixture()
    {
        if (dialog)
            dialog->teardownRequests();
    }

    /// Edits the Controller's state; the version that the module is told follows it.
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
    }

    /// Opens the dialog, runs \a action in it and presses E&xit if the dialog is still open. Returns false if
    /// E&xit did not close it; it is then closed without changes.
    bool open(const std::function<void()> &action)
    {
        if (!dialog)
            create();
        bool left = true;
        QTimer::singleShot(0, dialog.get(), [&] {
            action();
            const MessageBoxes refused; // refuses unexpected boxes, which would block the test
            if (dialog->isVisible())
                QTest::mouseClick(dialog->pushButton_ok, Qt::LeftButton);
            left = !dialog->isVisible();
            if (!left)
                dialog->done(QDialog::Rejected);
        });
        dialog->update_and_exec();
        return left;
    }

    NetworkDialogTabWidget *tabs() const { return dialog->findChild<NetworkDialogTabWidget *>(); }

    /// The page on tab \a index; null for the "+" tab.
    ChannelWidget *page(int index) const { return qobject_cast<ChannelWidget *>(tabs()->widget(index)); }

    QStringList titles() const
    {
        QStringList titles;
        for (int i = 0; i < tabs()->count(); ++i)
            titles << tabs()->tabText(i);
        return titles;
    }

    /// The texts of all queries and commands since the record was last cleared.
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
    std::unique_ptr<NetworkDialog> dialog;
};

/// An edit that puts the channels 1 to \a count on 127.0.0.1, each on a port of its own from 5001 on.
inline std::function<void(ControllerState &)> withChannels(int count)
{
    return [count](ControllerState &state) {
        for (int i = 0; i < outputChannelCount; ++i) {
            OutputChannel channel;
            if (i < count) {
                channel.destination = {Destination::Kind::Udp, "127.0.0.1", 5001 + i};
                channel.active = true;
                channel.types = {"fr", "6d"};
            }
            state.channels[static_cast<size_t>(i)] = channel;
        }
    };
}
