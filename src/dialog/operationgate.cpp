#include "operationgate.h"

namespace networksettings2g {

OperationGate::Operation::Operation(OperationGate *gate)
    : m_gate(gate)
{
    ++m_gate->m_underWay;
}

OperationGate::Operation::~Operation()
{
    if (m_gate && --m_gate->m_underWay == 0)
        emit m_gate->becameIdle();
}

} // namespace networksettings2g
