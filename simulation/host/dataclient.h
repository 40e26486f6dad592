#pragma once

#include "controllerstate.h"
#include "framesink.h"

#include <QHostAddress>
#include <QObject>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

class QTcpSocket;

namespace simulation {

/// Receives frames and events from a Controller over TCP, on a thread of its own, on which it calls the sink.
/// After each loss of the connection it connects again; a frame that was cut off by the loss is never passed
/// to the sink. Call the functions only on the thread that created the object, which must run an event loop:
/// the signals are emitted there. Events that arrive while that thread is busy are reported once.
class DataClient : public QObject
{
    Q_OBJECT

public:
    /// \a sink must outlive this object.
    explicit DataClient(FrameSink &sink);
    ~DataClient() override;

    /// Starts to connect to \a port of \a address. A connection to another address or port ends. Has no
    /// effect after stop().
    void connectTo(const QHostAddress &address, quint16 port);

    /// Ends the connection. When it returns, the sink is not called any more.
    void stop();

signals:
    /// The Controller has sent its state. The members that parseState() does not set have default values.
    void stateReceived(const simulation::ControllerState &state);
    /// The sink has handled a reset.
    void wasReset();
    /// The Controller has reported the end of its data, and the sink has handled it.
    void finished();

private:
    /// The events that have not been reported yet.
    struct News
    {
        std::optional<ControllerState> state;
        bool wasReset = false;
        bool hasEnded = false;
    };

    void run();
    void receive(QTcpSocket &socket);
    bool takeLine(const QByteArray &line);
    void takeEvent(const QByteArray &line);
    template <typename Edit>
    void addNews(Edit edit);
    Q_INVOKABLE void reportNews();

    FrameSink &m_sink;
    Frame m_frame;        ///< the lines of the frame that is being received; used only on m_thread
    int m_frameBytes = 0; ///< the size of m_frame

    std::atomic<bool> m_isStopped{false};
    std::atomic<bool> m_isMoved{false}; ///< the present connection has another address or port
    std::condition_variable m_stopped;

    std::mutex m_mutex; ///< guards the members below
    QHostAddress m_address;
    quint16 m_port = 0;
    News m_news;
    bool m_hasNews = false;

    std::thread m_thread;
};

} // namespace simulation
