#include "moduleundertest.h"

#include "clocks.h"
#include "moduleaction.h"
#include "receivers.h"
#include "requester.h"

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
    for (const FrameLine &line : frameLines())
        types.append({line.type.c_str(), "Output of the type " + QByteArray(line.type.c_str()), true});
    for (int number = 1; types.size() < size; ++number)
        types.append({spareType(number), "Spare output " + QByteArray::number(number), true});
    return types;
}

QSet<QByteArray> typesOf(int channel)
{
    QSet<QByteArray> types;
    for (const FrameLine &line : tickedLines(channel))
        types.insert(line.type.c_str());
    return types;
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
    , m_frame(frameLines(setup.padding))
{
    prepareController(receivers);
    QString problem;
    exitIf(!m_module.load(setup.plugin, &problem), problem);
    const QList<ModuleAction *> actions = m_module.begin(&m_link, &m_window, &m_versions);
    exitIf(actions.isEmpty() || !m_link.lastRequester, "the plug-in does not register with the host");
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
            const QSet<QByteArray> types = m_setup.ticking ? typesOf(i) : QSet<QByteArray>{spareType(1)};
            state.channels[size_t(i)] = {destination, true, 1, types};
        }
        m_versions = state.version;
    });
}

int ModuleUnderTest::channels() const
{
    return m_setup.ticking ? m_setup.channels - (m_setup.stalled ? 1 : 0) : 0;
}

int64_t ModuleUnderTest::sendFrame(uint32_t number)
{
    writeNumber(m_frame.front().text.data(), number);
    int64_t start = 0;
    for (const FrameLine &line : m_frame) {
        if (&line == &m_frame.back())
            start = nowNs();
        m_link.lastRequester->onOutputData(line.type.c_str(), line.text.c_str());
    }
    return start;
}

double ModuleUnderTest::openAndClose()
{
    const int64_t start = nowNs();
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
    return double(shown - start) / 1e6;
}

} // namespace bench
