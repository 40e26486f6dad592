#include "backendversions.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "fuzzedhost.h"
#include "messageboxes.h"
#include "native.h"
#include "networkdialog.h"
#include "networkdialogtabwidget.h"

#include <QApplication>
#include <QKeyEvent>

#include <sched.h>
#include <thread>
#include <vector>

// Each input determines one run of the module: what the host and its Controller answer, when the host calls
// the module, and what the user does in up to three openings of the dialog.

namespace {

constexpr int mostActions = 40;
constexpr int mostOpenings = 3;
constexpr int mostExits = 4;
constexpr int mostReentries = 8;

/// Runs one input: the dialog from its construction to its destruction.
class Conversation
{
public:
    Conversation(const uint8_t *data, std::size_t size)
        : m_input(data, size)
        , m_host(m_input)
    {
        m_host.reenter = [this] { reenter(); };
    }

    void run()
    {
        m_versions.major = 1;
        m_versions.minor = m_input.ConsumeIntegralInRange(3, 9);
        m_boxes.decide = [this](const QMessageBox *box) { return decide(box); };
        m_dialog = new NetworkDialog(&m_host, &m_window, &m_versions);
        m_dialog->start();
        const int openings = m_input.ConsumeIntegralInRange(1, mostOpenings);
        for (int i = 0; i < openings && m_dialog; ++i) {
            open();
            if (m_dialog)
                notify();
            QCoreApplication::processEvents();
        }
        end();
        // A message that is still queued must not reach the destroyed dialog.
        QCoreApplication::processEvents();
    }

private:
    using Actions = std::vector<std::function<void()>>;

    /// Performs the one of \a actions that the input chooses. An action that is listed twice is chosen twice
    /// as often.
    void choose(const Actions &actions)
    {
        actions[m_input.ConsumeIntegralInRange<std::size_t>(0, actions.size() - 1)]();
    }

    /// Opens the dialog and acts as its user until the dialog is closed.
    void open()
    {
        bool acted = false;
        QTimer user;
        QObject::connect(&user, &QTimer::timeout, [&] {
            // The event loop also runs within queries, before the dialog is shown.
            if (!m_dialog || !m_dialog->isVisible())
                return;
            user.stop();
            acted = true;
            use();
        });
        user.start(0);
        m_dialog->update_and_exec();
        require(acted || m_ended, "the dialog was shown, unless the module was shut down");
    }

    /// Performs actions of the user and the host, then closes the dialog with the OK button, or without it if
    /// invalid settings keep the dialog open.
    void use()
    {
        const int actions = m_input.ConsumeIntegralInRange(0, mostActions);
        for (int i = 0; i < actions && isOpen(); ++i) {
            check();
            act();
        }
        for (int i = 0; i < mostExits && isOpen(); ++i)
            m_dialog->pushButton_ok->click();
        if (isOpen())
            m_dialog->done(QDialog::Rejected);
    }

    bool isOpen() const { return m_dialog && m_dialog->isVisible(); }

    /// Returns the user's answer to a message box.
    QMessageBox::StandardButton decide(const QMessageBox *box)
    {
        const auto choice = m_input.ConsumeIntegral<quint8>();
        if (choice == 77)
            end(); // the host shuts the module down while a box is open
        const QMessageBox::StandardButtons buttons = box->standardButtons();
        if (buttons & QMessageBox::Yes)
            return choice % 4 == 1 ? QMessageBox::No : QMessageBox::Yes;
        return buttons & QMessageBox::Ignore && choice % 2 == 0 ? QMessageBox::Ignore : QMessageBox::Cancel;
    }

    /// Shuts the module down, unless this has been done.
    void end()
    {
        if (!m_dialog || m_ended)
            return;
        m_ended = true;
        m_dialog->teardownRequests();
        m_host.shut();
        m_dialog->release();
    }

    NetworkDialogTabWidget *tabs() const { return m_dialog->findChild<NetworkDialogTabWidget *>(); }

    ChannelWidget *page(int tab) const { return qobject_cast<ChannelWidget *>(tabs()->widget(tab)); }

    /// Checks what must always be true of the pages.
    void check() const
    {
        int pages = 0;
        while (const ChannelWidget *shown = page(pages)) {
            const ChannelAsRouter *channel = shown->channel();
            require(channel->channelIndex() == pages, "tabs are in the order of the channels");
            require(channel->dataDivisor() >= 1, "a channel's divisor is positive");
            require(shown->spinBox_port->value() >= 1024, "a page's port is at least 1024");
            ++pages;
        }
        require(pages >= 1 && pages <= Channel::MaximumCount, "there are 1 to 10 pages");
        require(tabs()->count() <= pages + 1, "the plus tab is the last");
    }

    /// Performs one action of the user or the host.
    void act()
    {
        const auto edit = [this] { editPage(); };
        choose({
            [this] { press(Qt::Key_T, Qt::ControlModifier); },
            [this] { press(Qt::Key_W, Qt::ControlModifier); },
            [this] { press(m_input.ConsumeBool() ? Qt::Key_F9 : Qt::Key_Escape, Qt::NoModifier); },
            [this] { m_dialog->checkBox_actAsRouter->click(); },
            [this] { notify(); },
            edit,
            edit,
            edit,
            edit,
        });
    }

    /// Calls the module, or acts as the user, while the module waits for the answer to a query.
    void reenter()
    {
        if (!m_dialog || m_reentries >= mostReentries)
            return;
        ++m_reentries;
        choose({
            [this] { notify(); },
            [] { QCoreApplication::processEvents(); },
            [this] { m_dialog->pushButton_ok->click(); },
            [this] { press(Qt::Key_T, Qt::ControlModifier); },
            [this] { press(Qt::Key_W, Qt::ControlModifier); },
            [this] { end(); },
        });
    }

    /// Makes the host send a message, a reset or data.
    void notify()
    {
        choose({[this] { m_dialog->onMessage(0, 0, "OutputTypesChanged"); },
                [this] { std::thread([this] { m_dialog->onMessage(1, 2, "OutputTypesChanged"); }).join(); },
                [this] { m_dialog->onMessage(0, 0, m_input.ConsumeRandomLengthString(20).c_str()); },
                [this] { m_dialog->onOutputReset(); }, [this] { deliver(); }});
    }

    /// Goes to a tab and edits its page, if it has one that is enabled.
    void editPage()
    {
        tabs()->setCurrentIndex(m_input.ConsumeIntegralInRange(0, tabs()->count() - 1));
        ChannelWidget *current = page(tabs()->currentIndex());
        if (!current || !current->isEnabled())
            return;
        choose({
            [&] { current->checkBox_active_channel->click(); },
            [&] { current->checkBox_multicast->click(); },
            [&] { current->checkBox_my_ip->click(); },
            [&] {
                current->lineEdit_host->selectAll();
                current->lineEdit_host->insert(
                    QString::fromLatin1(m_input.ConsumeRandomLengthString(120).c_str()));
            },
            [&] { current->spinBox_port->setValue(m_input.ConsumeIntegral<int>()); },
            [&] { current->spinBox_sendDataDivisor->setValue(m_input.ConsumeIntegral<int>()); },
            [&] { current->pushButton_closeTab->click(); },
            [&] {
                const int row = m_input.ConsumeIntegralInRange(0, 9);
                current->tableViewItemDoubleClicked(current->tableView->model()->index(row, 0));
            },
        });
    }

    void deliver()
    {
        for (int number = 1; number <= 3; ++number) {
            for (const char *type : {"fr", "6d", "3d"})
                m_dialog->onOutputData(type, (std::string(type) + ' ' + std::to_string(number)).c_str());
        }
    }

    void press(int key, Qt::KeyboardModifiers modifiers)
    {
        QKeyEvent down(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(m_dialog.data(), &down);
    }

    FuzzedDataProvider m_input;
    FuzzedHost m_host;
    QWidget m_window;
    BackendVersions m_versions = {};
    MessageBoxes m_boxes;
    QPointer<NetworkDialog> m_dialog;
    int m_reentries = 0;
    bool m_ended = false;
};

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker option --wrap determines these names
extern "C" {

/// Derives the address from the name. Some names have none, some a multicast address, and several names share
/// an address.
uint32_t __wrap_nativeLookUp(const char *name)
{
    require(*name != '\0', "an empty text is not looked up");
    if (*name == 'u')
        return 0;
    return *name == 'g' ? 0xEF010203 : 0x7F000001 + static_cast<uint32_t>(std::strlen(name) % 4);
}

void __wrap_nativeSleep(uint32_t /*milliseconds*/)
{
    sched_yield();
}

int32_t __wrap_nativeSocketSend(NativeSocket /*socket*/, const void * /*data*/, int32_t length,
                                uint32_t address, uint16_t /*port*/)
{
    require(address != 0, "a datagram has a destination");
    return length;
}

int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QApplication application(*argc, *argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    Conversation(data, size).run();
    return 0;
}
}
// NOLINTEND(bugprone-reserved-identifier)
