#pragma once

#include <QObject>
#include <QPointer>

namespace networksettings2g {

/// Admits one operation on the channels at a time. A host may run its event loop, or call the module, from
/// within a command, and a message box runs an event loop of its own: what would start a second operation
/// there asks mayBegin() first. GUI thread.
///
/// | State  | mayBegin() | Left by                                           |
/// |--------|------------|---------------------------------------------------|
/// | idle   | true       | an Operation, close()                             |
/// | busy   | false      | the end of the outermost Operation, close()       |
/// | closed | false      | never; operations under way go on to their end    |
class OperationGate : public QObject
{
    Q_OBJECT

public:
    /// An operation under way, for as long as the object lives. The gate may be destroyed before it.
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
    /// The outermost operation has ended. A slot may destroy the gate.
    void becameIdle();

private:
    int m_underWay = 0;
    bool m_closed = false;
};

} // namespace networksettings2g
