#pragma once

#include "machineload.h"
#include "statistics.h"

#include <QList>
#include <QString>
#include <QStringList>

/// What a row has to reach.
struct Goal
{
    enum class Kind
    {
        None, ///< the row is only shown
        AtMost,
        AtLeast
    };

    static Goal shown() { return {}; }
    static Goal atMost(double value) { return {Kind::AtMost, value}; }
    static Goal atLeast(double value) { return {Kind::AtLeast, value}; }

    bool isMet(double measured) const;
    QString text() const;

    Kind kind = Kind::None;
    double value = 0;
};

/// The table. Each row is printed as soon as it is known.
class Report
{
public:
    /// A row of ours against a limit. \a what is what is measured, with its unit at its end.
    void add(const QString &what, const Pairs &pairs, const Goal &goal);

    /// A row without a limit; the goal is for the value itself.
    void add(const QString &what, double value, const Goal &goal = Goal::shown());

    /// Something that makes the numbers doubtful, such as a lost datagram.
    void remark(const QString &text);

    bool hasRows() const { return !m_rows.isEmpty(); }
    bool hasRemarks() const { return !m_remarks.isEmpty(); }

    /// Prints what stands below the table.
    void finish() const;

    /// Writes all as JSON. False if the file cannot be written.
    bool write(const QString &file) const;

private:
    struct Row
    {
        QString what;
        double ours = 0;
        bool isPair = false;
        double limit = 0;
        double ratio = 0;
        double least = 0;
        double greatest = 0;
        double deviation = 0;
        Goal goal;
        double othersShare = 0; ///< of the CPU time while the row was measured

        bool isBusy() const { return othersShare > BusyShare; }
        bool isMet() const { return goal.isMet(isPair ? ratio : ours); }
    };

    /// Above this share of the CPU time for others, a row is marked as doubtful.
    static constexpr double BusyShare = 0.05;

    void append(Row row);
    void print(const Row &row) const;

    bench::MachineLoad m_load;
    QList<Row> m_rows;
    QStringList m_remarks;
};
