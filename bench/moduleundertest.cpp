#include "moduleundertest.h"

#include "clocks.h"
#include "moduleaction.h"
#include "receivers.h"
#include "requester.h"
#include "stall.h"

#include <QDialog>
#include <QTimer>
#include <QWindow>

#include <cstdlib>

using namespace simulation;

namespace bench {

namespace {

/// Returns a type that is in the catalogue but in no frame.
QByteArray spareType(int number)
{
    return "x" + QByteArray::number(number);
}

QList<OutputType> catalogue(int size)
{
    QList<OutputType> types;
    const Frame frame;
    for (const FrameLine &line : frame.lines())
        types.append({line.type.c_str(), "Output of the type " + QByteArray(line.type.c_str()), true});
    for (int number = 1; types.size() < size; ++number)
        types.append({spareType(number), "Spare output " + QByteArray::number(number), true});
    return types;
}

QSet<QByteArray> ticksOf(int channel, const Setup &setup)
{
    if (channel >= setup.tickingChannels)
        return {spareType(1)};
    QSet<QByteArray> ticks;
    if (setup.allLines) {
        const Frame frame;
        for (const FrameLine &line : frame.lines())
            ticks.insert(line.type.c_str());
    } else {
        for (const std::string &type : tickedTypes(channel))
            ticks.insert(type.c_str());
    }
    return ticks;
}

/// Exits with a message if \a failed: nothing can be measured without the plug-in.
void exitIf(bool failed, const QString &problem)
{
    if (!failed)
        return;
    qCritical("benchmark: %s", qPrintable(problem));
    std::exit(1);
}

} // namespace

ModuleUnderTest::ModuleUnderTest(const Receivers &receivers, const Setup &setup)
    : m_setup(setup)
    , m_frame(setup.padding)
{
    prepareController(receivers);
    QString problem;
    exitIf(!m_module.load(setup.plugin, &problem), problem);
    const QList<ModuleAction *> actions = m_module.begin(&m_link, &m_window, &m_versions);
    exitIf(actions.isEmpty() || !m_link.requester(),
           QLatin1String("the plug-in does not register with the host"));
    m_dialog = actions.first()->dialog;
}

ModuleUnderTest::~ModuleUnderTest()
{
    QString problem;
    exitIf(!m_module.end(&problem), problem);
}

void ModuleUnderTest::prepareController(const Receivers &receivers)
{
    m_controller.change([&](ControllerState &state) {
        state.monitorAddress = "127.0.0.9";
        state.viaRouter = m_setup.routing;
        state.catalogue = catalogue(m_setup.types);
        for (int i = 0; i < m_setup.channels; ++i) {
            const bool isStalled = m_setup.stalled && i == m_setup.channels - 1;
            const Destination destination{Destination::Kind::Udp, "127.0.0.1",
                                          isStalled ? stalledPort : receivers.port(i)};
            state.channels[size_t(i)] = {destination, true, 1, ticksOf(i, m_setup)};
        }
        m_versions = state.version;
    });
}

int64_t ModuleUnderTest::sendFrame(uint32_t number)
{
    setNumber(number);
    for (int index = 0; index < linesPerFrame - 1; ++index)
        deliver(index);
    const int64_t start = nowNs();
    deliver(linesPerFrame - 1);
    return start;
}

void ModuleUnderTest::deliver(int index)
{
    const FrameLine &line = m_frame.lines()[size_t(index)];
    m_link.requester()->onOutputData(line.type.c_str(), line.text.c_str());
}

int64_t ModuleUnderTest::openAndClose()
{
    int64_t shown = 0;
    QTimer pollWindow;
    QObject::connect(&pollWindow, &QTimer::timeout, m_dialog, [&] {
        // A window is painted when it is exposed, so at this time-out an exposed window is already painted.
        if (shown != 0 || !m_dialog->windowHandle() || !m_dialog->windowHandle()->isExposed())
            return;
        shown = nowNs();
        m_dialog->done(QDialog::Rejected);
    });
    pollWindow.start(0);
    QMetaObject::invokeMethod(m_dialog, "update_and_exec");
    return shown;
}

} // namespace bench
