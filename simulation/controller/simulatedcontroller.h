#pragma once

#include "commandkinds.h"
#include "controller.h"
#include "controllerstate.h"

#include <QObject>

#include <array>
#include <functional>
#include <mutex>

namespace simulation {

/// A fault of the Controller for the queries or commands of one kind.
enum class Fault
{
    None,
    FailNext,     ///< like FailEvery, but only for the next query or command
    FailEvery,    ///< every query or command fails, without an answer and without effect
    AnswerEmpty,  ///< every query gets an empty answer; no effect on commands
    AnswerGarbage ///< every query gets an answer that makes no sense; no effect on commands
};

using Faults = std::array<Fault, commandKindCount>;

/// A Controller that answers queries and executes commands in memory. Thread-safe; the signals are emitted on
/// the thread of the call that caused them, with no lock held.
class SimulatedController : public QObject, public Controller
{
    Q_OBJECT

public:
    explicit SimulatedController(QObject *parent = nullptr);

    int query(const QByteArray &text, QByteArray *answer) override;
    int command(const QByteArray &text) override;

    ControllerState state() const;

    /// Returns the names of the available types, in the order of the catalogue.
    QList<QByteArray> availableTypes() const;

    /// Changes the state directly, even if the configuration is locked. \a edit must not call this object,
    /// whose mutex is locked meanwhile.
    void change(const std::function<void(ControllerState &)> &edit);

    /// Sets the fault of \a kind, a position in commandKinds().
    void setFault(int kind, Fault fault);

    /// Returns the faults by position in commandKinds().
    Faults faults() const;

    /// Undoes every setFault().
    void clearFaults();

signals:
    /// A query or command is about to return.
    void exchanged(const simulation::Exchange &exchange);
    /// A command was accepted, or change() was called.
    void stateChanged();

private:
    Fault takeFault(bool isCommand, const QByteArray &text);

    mutable std::mutex m_mutex; ///< guards all members below
    ControllerState m_state;
    Faults m_faults{};
};

} // namespace simulation
