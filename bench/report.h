#pragma once

#include "machineload.h"
#include "statistics.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace bench {

/// The table of results. Each row is printed when it is added. A goal is the greatest value that a row should
/// have; a row without a goal is only shown.
class Report
{
public:
    using Goal = std::optional<double>;

    /// Adds a row that compares the module ("ours") with a limit, such as a minimal implementation of the
    /// same work. \a what names the measured value and its unit. The goal applies to the median ratio. Adds
    /// nothing if there are no pairs.
    void add(const QString &what, const Pairs &pairs, Goal goal = {});

    /// Adds a row without a limit; the goal applies to the value itself.
    void add(const QString &what, double value, Goal goal = {});

    /// Adds a remark on something that makes the numbers doubtful, such as a lost datagram. finish() and
    /// write() output it.
    void remark(const QString &text) { m_remarks.append(text); }

    bool hasRows() const { return !m_rows.isEmpty(); }
    bool hasRemarks() const { return !m_remarks.isEmpty(); }

    /// Prints the remarks below the table and, if a row is marked as doubtful, an explanation of the mark.
    void finish() const;

    /// Writes rows and remarks as JSON. Returns false if the file cannot be written.
    bool write(const QString &file) const;

private:
    void append(QJsonObject row, double measured, Goal goal);

    MachineLoad m_load;
    QJsonArray m_rows;
    QStringList m_remarks;
    bool m_isBusy = false; // a row is marked as doubtful
};

} // namespace bench
