#pragma once

#include "machineload.h"
#include "statistics.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace bench {

/// The upper or lower bound that a row should satisfy with its ratio, or with its value if it has no ratio.
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

    /// Returns whether \a measured meets the goal, or true if there is no goal.
    bool isMet(double measured) const;

    /// Returns the text for the table, such as "<= 1.5".
    QString text() const;

    Kind kind = Kind::None;
    double value = 0;
};

/// The table of results. Each row is printed when it is added.
class Report
{
public:
    /// Adds a row that compares the module ("ours") with a limit, such as a minimal implementation of the
    /// same work. \a what names the measured value and its unit. \a pairs must not be empty. The goal applies
    /// to the median ratio.
    void add(const QString &what, const Pairs &pairs, const Goal &goal);

    /// Adds a row without a limit; the goal applies to the value itself.
    void add(const QString &what, double value, const Goal &goal = Goal::shown());

    /// Adds a remark on something that makes the numbers doubtful, such as a lost datagram. finish() and
    /// write() output it.
    void remark(const QString &text);

    bool hasRows() const { return !m_rows.isEmpty(); }
    bool hasRemarks() const { return !m_remarks.isEmpty(); }

    /// Prints the remarks below the table and, if a row is marked as doubtful, an explanation of the mark.
    void finish() const;

    /// Writes rows and remarks as JSON. Returns false if the file cannot be written.
    bool write(const QString &file) const;

private:
    struct Row
    {
        QString what;
        double ours = 0;
        bool isPair = false; ///< the row has a limit; otherwise the next five members are unused
        double limit = 0;
        double ratio = 0;
        double least = 0;     ///< of the ratios
        double greatest = 0;  ///< of the ratios
        double deviation = 0; ///< median absolute deviation of the ratios
        Goal goal;
        double othersShare = 0; ///< MachineLoad::othersShare() while the row was measured

        bool isBusy() const { return othersShare > BusyShare; }
        bool isMet() const { return goal.isMet(isPair ? ratio : ours); }
    };

    /// If other work took more than this share of the CPU time, a row is marked as doubtful.
    static constexpr double BusyShare = 0.05;

    void append(Row row);
    void print(const Row &row) const;

    bench::MachineLoad m_load;
    QList<Row> m_rows;
    QStringList m_remarks;
};

} // namespace bench
