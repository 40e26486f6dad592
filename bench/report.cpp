#include "report.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

/// If other work took more than this share of the CPU time, a row is marked as doubtful.
constexpr double busyShare = 0.05;

void printRow(const QStringList &cells)
{
    constexpr int widths[] = {-74, 10, 10, 7, 13, 8, -9, 6};
    QString line;
    for (int i = 0; i < cells.size(); ++i)
        line += QString::fromLatin1("%1 ").arg(cells[i], widths[i]);
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

/// Returns the text of a number, or an empty text if \a value is undefined.
QString text(const QJsonValue &value)
{
    if (!value.isDouble())
        return {};
    const double number = value.toDouble();
    const int decimals = number >= 1000 || number == 0 ? 0 : number >= 100 ? 1 : number >= 1 ? 2 : 3;
    return QString::number(number, 'f', decimals);
}

QString spread(const QJsonObject &row)
{
    return row.contains("min") ? text(row["min"]) + ".." + text(row["max"]) : QString();
}

/// Returns whether the goal is met; empty without a goal.
QString verdict(const QJsonObject &row)
{
    const QJsonValue met = row["met"];
    if (!met.isBool())
        return {};
    const bool isBusy = row["busy"].toBool();
    return QLatin1String(met.toBool() ? "yes" : isBusy ? "NO (busy)" : "NO");
}

} // namespace

void Report::add(const QString &what, const Pairs &pairs, Goal goal)
{
    if (pairs.ratios.empty())
        return;
    const auto [least, greatest] = std::minmax_element(pairs.ratios.begin(), pairs.ratios.end());
    append({{"measured", what},
            {"ours", median(pairs.ours)},
            {"limit", median(pairs.limits)},
            {"ratio", median(pairs.ratios)},
            {"min", *least},
            {"max", *greatest}},
           median(pairs.ratios), goal);
}

void Report::add(const QString &what, double value, Goal goal)
{
    append({{"measured", what}, {"ours", value}}, value, goal);
}

// Rows that were measured together are added within 0.2 s, so othersShare() returns the same value for all of
// them.
void Report::append(QJsonObject row, double measured, Goal goal)
{
    const double others = m_load.othersShare();
    const bool isBusy = others > busyShare;
    m_isBusy = m_isBusy || isBusy;
    row["goal"] = goal ? "<= " + QString::number(*goal) : "shown";
    row["others"] = others;
    row["busy"] = isBusy;
    if (goal)
        row["met"] = measured <= *goal;
    if (m_rows.isEmpty())
        printRow({"measured", "ours", "limit", "ratio", "min..max", "goal", "met", "others"});
    printRow({row["measured"].toString(), text(row["ours"]), text(row["limit"]), text(row["ratio"]),
              spread(row), row["goal"].toString(), verdict(row),
              QString::number(qRound(100 * others)) + QLatin1String(isBusy ? "% !" : "%  ")});
    m_rows.append(row);
}

void Report::finish() const
{
    for (const QString &remark : m_remarks)
        std::printf("! %s\n", qPrintable(remark));
    if (m_isBusy)
        std::printf(
            "Rows with ! were measured while other work took more than %.0f%% of the CPU time. This may be "
            "why a goal with \"NO (busy)\" was not met.\n",
            100 * busyShare);
}

bool Report::write(const QString &file) const
{
    const QJsonObject all{{"rows", m_rows}, {"remarks", QJsonArray::fromStringList(m_remarks)}};
    QFile out(file);
    const QByteArray text = QJsonDocument(all).toJson();
    return out.open(QIODevice::WriteOnly) && out.write(text) == text.size() && out.flush();
}

} // namespace bench
