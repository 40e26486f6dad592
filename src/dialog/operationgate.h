#pragma once

#include <QObject>
#include <QPointer>

namespace networksettings2g {

/// Lets one operation on the channels run at a time: code that starts one checks mayBegin() first. It may be
/// called during an operation, because a host may run its event loop or call the module within a command, and
/// a message box runs an event loop of its own. GUI thread only.
///
/// | State  | mayBegin() | Left by                                           |
/// |--------|------------|---------------------------------------------------|
/// | idle   | true       | an Operation, close()                             |
/// | busy   | false      | the end of the outermost Operation, close()       |
/// | closed | false      | never; operations in progress continue            |
class OperationGate : public QObject
{
    Q_OBJECT

public:
    /// Marks an operation as in progress for as long as the object lives. Does not check mayBegin().
    /// Note: The gate may be destroyed before the object.
    class Operation
    {
    public:
        explicit Operation(OperationGate *gate);
        ~Operation();
        Operation(const Operation &) = delete;
        Operation &operator=(const Operation &) = delete;

    private:
        QPointer<OperationGate> m_gate;
    };

    bool mayBegin() const { return m_underWay == 0 && !m_closed; }
    bool isBusy() const { return m_underWay > 0; }
    bool isClosed() const { return m_closed; }

    /// Refuses every further operation.
    void close() { m_closed = true; }

signals:
    /// Emitted when the outermost operation has ended. A slot may destroy the gate.
    void becameIdle();

private:
    int m_underWay = 0;
    bool m_closed = false;
};

} // namespace networksettings2g
