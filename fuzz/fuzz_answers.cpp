#include "backendversions.h"
#include "channelasrouter.h"
#include "channelwidget.h"
#include "iomanager.h"
#include "messageboxes.h"
#include "native.h"
#include "networkdialog.h"
#include "networkdialogtabwidget.h"
#include "require.h"

#include <QApplication>
#include <QKeyEvent>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <sched.h>
#include <thread>

// Each input determines one run of the module: what the host and its Controller answer, when the host calls
// the module, and what the user does in up to three openings of the dialog.

namespace {

constexpr int answerBytes = 208; // size of the module's answer buffer, including the terminating zero
constexpr int mostTypes = 40;
constexpr int mostActions = 40;
constexpr int mostOpenings = 3;
constexpr int mostExits = 4;
constexpr int mostReentries = 8;

bool startsWith(const char *text, const char *beginning)
{
    return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

class Conversation;

/// A host whose answers come from the input.
class FuzzedHost : public IOManager
{
public:
    FuzzedHost(FuzzedDataProvider &input, Conversation &conversation)
        : m_input(input)
        , m_conversation(conversation)
    {
    }
    virtual ~FuzzedHost() = default;

    int getValue(char *answer, const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        fill(format, arguments);
        va_end(arguments);
        require(std::all_of(answer, answer + answerBytes, [](char byte) { return byte == '\0'; }),
                "the buffer for an answer is zeroed");
        return answerText(answer);
    }

    int getIntValue(int *answer, const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        fill(format, arguments);
        va_end(arguments);
        return answerNumber(answer);
    }

    int setValue(const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        fill(format, arguments);
        va_end(arguments);
        checkCommand();
        return result();
    }

    int requestOutputType(const char *type, Requester *) override { return take(type); }
    int releaseOutputType(const char *type, Requester *) override { return take(type); }
    int log(const char *level, const char *component, int number, const char *message) override
    {
        require(number == 1 && std::strcmp(level, "standard") == 0 && *component != '\0',
                "a log line has the number 1, the level standard and a component");
        return take(message);
    }

    int addRequester(Requester *) override
    {
        m_hasRequester = true;
        return take("requester");
    }
    int removeRequester(Requester *) override
    {
        m_hasRequester = false;
        return take("requester");
    }
    int addMessageReceiver(const char *name, MessageReceiver *) override
    {
        m_hasReceiver = true;
        return take(name);
    }
    int removeMessageReceiver(const char *name, MessageReceiver *) override
    {
        m_hasReceiver = false;
        return take(name);
    }

    /// Checks that the module has unregistered itself, and makes every later call by the module a fault.
    /// Called after teardownRequests(), which shuts the module down.
    void shut()
    {
        require(!m_hasRequester && !m_hasReceiver,
                "requester and message receiver are removed at the shut-down");
        m_shut = true;
    }

private:
    /// The kinds of answers.
    enum Kind : quint8
    {
        Failing,
        Steady,          // a correct answer that depends on the query only
        Fitting,         // a random answer of the right form
        Chosen,          // one of chosenTexts, or the longest answer; for a number, a special one
        Raw,             // random bytes; for a number, as for Chosen
        FailingWithText, // an answer as for Raw, but with a nonzero result
        Reentered,       // as Steady, or as Fitting for a number, after a call of reenter()
        LastKind = Reentered
    };

    /// Returns the kind of the next answer. An exhausted input gives zeros: all further answers are then
    /// Steady or Failing, depending on m_steady.
    Kind takeKind()
    {
        const int choice = m_input.ConsumeIntegralInRange(0, 9 + LastKind);
        if (choice < 10)
            return m_steady ? Steady : Failing;
        return static_cast<Kind>(choice - 9);
    }
    /// Returns the result of a call other than a query: failure with a probability of one in four.
    int result() { return m_input.ConsumeIntegral<quint8>() % 4 == 1 ? 1 : 0; }

    /// Checks a call that is neither a query nor a command, and its \a text. Returns the call's result.
    int take(const char *text)
    {
        require(!m_shut, "no call after the shut-down");
        require(std::strlen(text) < sizeof m_text,
                "type names, log messages and receiver names are shorter than 4096 bytes");
        return result();
    }

    /// Writes a query or a command to m_text and checks it.
    void fill(const char *format, va_list arguments)
    {
        require(!m_shut, "no query or command after the shut-down");
        const int length = std::vsnprintf(m_text, sizeof m_text, format, arguments);
        require(length > 0 && length < static_cast<int>(sizeof m_text),
                "queries and commands are neither empty nor longer than the buffer");
        checkChannel();
    }

    void checkChannel() const
    {
        const char *channel = std::strstr(m_text, " ch");
        if (!channel || startsWith(channel, " chmon") || startsWith(m_text, "output type") ||
            startsWith(m_text, "output available"))
            return;
        const int number = std::atoi(channel + 3);
        require(number >= 1 && number <= Channel::MaximumCount, "channels are numbered from 1 to 10");
    }

    void checkCommand() const
    {
        int channel = 0;
        int number = 0;
        if (std::sscanf(m_text, "output net_divisor ch%d %d", &channel, &number) == 2)
            require(number >= 1, "divisors are positive");
        const bool hasDestination = startsWith(m_text, "output net ch") && !std::strstr(m_text, " none");
        if (!hasDestination)
            return;
        const char *port = std::strrchr(m_text, ' ');
        require(port && std::atoi(port) >= 0 && std::atoi(port) <= 65535, "ports are from 0 to 65535");
    }

    int answerText(char *answer);
    int answerNumber(int *answer);
    std::string steadyText() const;
    std::string fittingText();
    std::string chosenText();

    FuzzedDataProvider &m_input;
    Conversation &m_conversation;
    const bool m_steady = m_input.ConsumeBool(); // true: most answers are Steady; false: most are Failing
    char m_text[4096] = {};                      // the latest query or command
    bool m_hasRequester = false;
    bool m_hasReceiver = false;
    bool m_shut = false;
};

/// Runs one input: the dialog from its construction to its destruction.
class Conversation
{
public:
    Conversation(const uint8_t *data, std::size_t size)
        : m_input(data, size)
        , m_host(m_input, *this)
    {
    }

    void run()
    {
        chooseVersion();
        m_boxes.decide = [this](const QMessageBox *box) { return decide(box); };
        m_dialog = new NetworkDialog(&m_host, &m_window, &m_versions);
        m_dialog->start();
        const int openings = m_input.ConsumeIntegralInRange(1, mostOpenings);
        for (int i = 0; i < openings && m_dialog; ++i) {
            open();
            between();
        }
        end();
        // A message that is still queued must not reach the destroyed dialog.
        QCoreApplication::processEvents();
    }

    /// Calls the module, or acts as the user, while the module waits for the answer to a query.
    void reenter()
    {
        if (!m_dialog || m_reentries >= mostReentries)
            return;
        ++m_reentries;
        switch (m_input.ConsumeIntegralInRange(0, 6)) {
        case 0:
            m_dialog->onMessage(0, 0, "OutputTypesChanged");
            break;
        case 1:
            QCoreApplication::processEvents();
            break;
        case 2:
            m_dialog->pushButton_ok->click();
            break;
        case 3:
            press(Qt::Key_T, Qt::ControlModifier);
            break;
        case 4:
            press(Qt::Key_W, Qt::ControlModifier);
            break;
        case 5:
            end();
            break;
        default:
            deliver();
        }
    }

private:
    void chooseVersion()
    {
        m_versions.major = m_input.ConsumeIntegralInRange(0, 2);
        m_versions.minor = m_input.ConsumeIntegralInRange(3, 10);
        m_versions.third = m_input.ConsumeIntegralInRange(-2, 0);
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

    /// Performs actions of the user and the host, then closes the dialog.
    void use()
    {
        for (int i = 0; i < mostActions && m_dialog && m_dialog->isVisible(); ++i) {
            check();
            if (!act())
                break;
        }
        leave();
    }

    /// Closes the dialog with the OK button, or without it if invalid settings keep the dialog open.
    void leave()
    {
        for (int i = 0; i < mostExits && m_dialog && m_dialog->isVisible(); ++i)
            m_dialog->pushButton_ok->click();
        if (m_dialog && m_dialog->isVisible())
            m_dialog->done(QDialog::Rejected);
    }

    /// Returns the user's answer to a message box.
    QMessageBox::StandardButton decide(const QMessageBox *box)
    {
        const auto choice = m_input.ConsumeIntegral<quint8>();
        if (choice == 77)
            end(); // the host shuts the module down while a box is open
        else if (choice == 78 && m_dialog)
            m_dialog->onMessage(0, 0, "OutputTypesChanged");
        const QMessageBox::StandardButtons buttons = box->standardButtons();
        if (buttons & QMessageBox::Yes)
            return choice % 4 == 1 ? QMessageBox::No : QMessageBox::Yes;
        return buttons & QMessageBox::Ignore && choice % 2 == 0 ? QMessageBox::Ignore : QMessageBox::Cancel;
    }

    /// Makes the host send messages, resets and data while the dialog is closed.
    void between()
    {
        if (!m_dialog)
            return;
        check();
        const int events = m_input.ConsumeIntegralInRange(0, 4);
        // A message may lead to queries, and the shut-down within a query destroys the dialog.
        for (int i = 0; i < events && m_dialog; ++i)
            notify();
        if (m_dialog)
            deliver();
        QCoreApplication::processEvents();
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
        for (int tab = 0; tab < tabs()->count(); ++tab) {
            const ChannelWidget *shown = page(tab);
            if (!shown) {
                require(tab == tabs()->count() - 1, "the plus tab is the last");
                continue;
            }
            ++pages;
            const ChannelAsRouter *channel = shown->channel();
            require(channel->channelIndex() == tab, "tabs are in the order of the channels");
            require(channel->dataDivisor() >= 1, "a channel's divisor is positive");
            require(shown->spinBox_port->value() >= 1024, "a page's port is at least 1024");
        }
        require(pages >= 1 && pages <= Channel::MaximumCount, "there are 1 to 10 pages");
    }

    /// Performs one action of the user or the host. Returns false to leave the dialog.
    bool act()
    {
        switch (m_input.ConsumeIntegralInRange(0, 9)) {
        case 0:
            return false;
        case 1:
            press(Qt::Key_T, Qt::ControlModifier);
            break;
        case 2:
            press(Qt::Key_W, Qt::ControlModifier);
            break;
        case 3:
            press(m_input.ConsumeBool() ? Qt::Key_F9 : Qt::Key_Escape, Qt::NoModifier);
            break;
        case 4:
            m_dialog->checkBox_actAsRouter->click();
            break;
        case 5:
            notify();
            break;
        default:
            tabs()->setCurrentIndex(m_input.ConsumeIntegralInRange(0, tabs()->count() - 1));
            if (ChannelWidget *current = page(tabs()->currentIndex()))
                edit(current);
        }
        return true;
    }

    void edit(ChannelWidget *current)
    {
        if (!current->isEnabled())
            return;
        switch (m_input.ConsumeIntegralInRange(0, 7)) {
        case 0:
            current->checkBox_active_channel->click();
            break;
        case 1:
            current->checkBox_multicast->click();
            break;
        case 2:
            current->checkBox_my_ip->click();
            break;
        case 3:
            current->lineEdit_host->selectAll();
            current->lineEdit_host->insert(
                QString::fromLatin1(m_input.ConsumeRandomLengthString(120).c_str()));
            break;
        case 4:
            current->spinBox_port->setValue(m_input.ConsumeIntegral<int>());
            break;
        case 5:
            current->spinBox_sendDataDivisor->setValue(m_input.ConsumeIntegral<int>());
            break;
        case 6:
            current->pushButton_closeTab->click();
            break;
        default:
            tick(current);
        }
    }

    void tick(ChannelWidget *current)
    {
        const QAbstractItemModel *rows = current->tableView->model();
        if (rows->rowCount() == 0)
            return;
        const int row = m_input.ConsumeIntegralInRange(0, rows->rowCount() - 1);
        current->tableViewItemDoubleClicked(rows->index(row, Channel::IdentifierColumn));
    }

    /// Makes the host send a message, a reset or data.
    void notify()
    {
        switch (m_input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            std::thread([this] { m_dialog->onMessage(1, 2, "OutputTypesChanged"); }).join();
            break;
        case 1:
            m_dialog->onOutputReset();
            break;
        case 2:
            m_dialog->onMessage(0, 0, m_input.ConsumeRandomLengthString(20).c_str());
            break;
        default:
            deliver();
        }
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

int FuzzedHost::answerText(char *answer)
{
    Kind kind = takeKind();
    if (kind == Reentered) {
        // Queries and commands that the module sends meanwhile overwrite m_text.
        char mine[sizeof m_text];
        std::memcpy(mine, m_text, sizeof m_text);
        m_conversation.reenter();
        std::memcpy(m_text, mine, sizeof m_text);
        kind = Steady;
    }
    if (kind == Failing)
        return 1;
    const std::string text = kind == Steady    ? steadyText()
                             : kind == Fitting ? fittingText()
                             : kind == Chosen  ? chosenText()
                                               : m_input.ConsumeRandomLengthString(answerBytes - 1);
    std::memcpy(answer, text.c_str(), text.size() + 1); // no text is longer than answerBytes - 1
    return kind == FailingWithText ? 1 : 0;
}

constexpr const char *names[] = {"fr", "6d", "3d", "6df2", "gl", "2dmon", "ts2", "st", "mine", "6d"};

constexpr const char *chosenTexts[] = {"",
                                       "yes",
                                       "no",
                                       "none",
                                       "Yes",
                                       "NONE",
                                       "no ",
                                       " yes",
                                       "none ",
                                       "udp",
                                       "udp ",
                                       "udp  5001",
                                       "udp unknown 5001",
                                       "udp myself 5001",
                                       "udp group 70000",
                                       "UDP 127.0.0.1 5001",
                                       "udp 127.0.0.1 -1",
                                       "udp 127.0.0.1 99999999999",
                                       "multicast 10.0.0.1 5001",
                                       "multicast myself 5001",
                                       "udp 224.0.0.1 80",
                                       "udp 255.255.255.255 5001",
                                       "udp 'quoted' 5001",
                                       "udp %s%n%d 5001",
                                       "udp \xe4\xf6\xfc.de 5001",
                                       "\"\"",
                                       "+",
                                       "\t\r\n"};

std::string FuzzedHost::steadyText() const
{
    const int number = std::atoi(m_text + std::strlen(m_text) - 2);
    if (startsWith(m_text, "output type t"))
        return names[static_cast<std::size_t>(number) % std::size(names)];
    if (startsWith(m_text, "output type_desc"))
        return "\"a description\"";
    if (startsWith(m_text, "output net chmon"))
        return "udp 127.0.0.9 5000";
    if (startsWith(m_text, "output net ch"))
        return number > 3 ? "none"
                          : "udp host" + std::string(static_cast<std::size_t>(number), 'x') + " 5001";
    return "yes";
}

std::string FuzzedHost::fittingText()
{
    const auto choice = m_input.ConsumeIntegral<quint8>();
    if (startsWith(m_text, "output type t"))
        return names[choice % std::size(names)];
    if (startsWith(m_text, "output type_desc"))
        return "\"a description\"";
    if (startsWith(m_text, "output net ch")) {
        if (choice % 8 == 0)
            return "none";
        const std::string port = std::to_string(5000 + choice % 4);
        return choice % 8 == 1 ? "multicast 239.1.2.3 " + port
                               : "udp 127.0.0." + std::to_string(choice % 16) + ' ' + port;
    }
    return choice % 4 == 1 ? "no" : "yes";
}

std::string FuzzedHost::chosenText()
{
    return m_input.ConsumeBool() ? std::string(answerBytes - 1, m_input.PickValueInArray({'9', ' ', '\xff'}))
                                 : m_input.PickValueInArray(chosenTexts);
}

int FuzzedHost::answerNumber(int *answer)
{
    Kind kind = takeKind();
    const bool types = startsWith(m_text, "output number_of_types");
    if (kind == Reentered) {
        m_conversation.reenter();
        kind = Fitting;
    }
    if (kind == Failing)
        return 1;
    int number = kind == Steady ? 6 : m_input.ConsumeIntegralInRange(0, 12);
    if (kind != Steady && kind != Fitting) // 100 is the system model that permits loopback destinations
        number = m_input.PickValueInArray({-1, 100, 10001, 65536, INT_MIN, INT_MAX});
    if (types) // limits the duration of a run
        number = qMin(number, qMin(mostTypes, 6 + static_cast<int>(m_input.remaining_bytes())));
    *answer = number;
    return kind == FailingWithText ? 1 : 0;
}

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

int32_t __wrap_nativeSocketSend(NativeSocket /*socket*/, const void *data, int32_t length, uint32_t address,
                                uint16_t /*port*/)
{
    require(length >= 2 && length <= networksettings2g::FrameAssembler::MaximumFrameBytes,
            "a datagram is neither empty nor longer than the longest frame");
    require(std::memcmp(static_cast<const char *>(data) + length - 2, "\r\n", 2) == 0,
            "a frame ends with CR LF");
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
