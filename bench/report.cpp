#include "report.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

constexpr char headFormat[] = "%-68s %10s %10s %7s %17s %8s %-9s %6s\n";

QString number(double value)
{
    const int decimals = value >= 1000 ? 0 : value >= 100 ? 1 : value >= 1 ? 2 : 3;
    return QString::number(value, 'f', decimals);
}

} // namespace

bool Goal::isMet(double measured) const
{
    switch (kind) {
    case Kind::AtMost:
        return measured <= value;
    case Kind::AtLeast:
        return measured >= value;
    case Kind::None:
        break;
    }
    return true;
}

QString Goal::text() const
{
    if (kind == Kind::None)
        return QLatin1String("shown");
    return QLatin1String(kind == Kind::AtMost ? "<= " : ">= ") + QString::number(value);
}

void Report::add(const QString &what, const Pairs &pairs, const Goal &goal)
{
    append({what, pairs.ours(), true, pairs.limit(), pairs.ratio(), pairs.leastRatio(), pairs.greatestRatio(),
            pairs.deviation(), goal, 0});
}

void Report::add(const QString &what, double value, const Goal &goal)
{
    Row row;
    row.what = what;
    row.ours = value;
    row.goal = goal;
    append(row);
}

// Rows that were measured together are added within 0.2 s, so othersShare() returns the same value for all of
// them.
void Report::append(Row row)
{
    row.othersShare = m_load.othersShare();
    if (m_rows.isEmpty())
        std::printf(headFormat, "measured", "ours", "limit", "ratio", "min..max (mad)", "goal", "met",
                    "others");
    m_rows.append(row);
    print(row);
}

void Report::print(const Row &row) const
{
    const QString spread = number(row.least) + QLatin1String("..") + number(row.greatest) +
                           QLatin1String(" (") + number(row.deviation) + QLatin1Char(')');
    const char *met = row.goal.kind == Goal::Kind::None ? ""
                      : row.isMet()                     ? "yes"
                      : row.isBusy()                    ? "NO (busy)"
                                                        : "NO";
    const QString others =
        QString::number(qRound(100 * row.othersShare)) + QLatin1String(row.isBusy() ? "% !" : "%  ");
    std::printf(headFormat, qPrintable(row.what), qPrintable(number(row.ours)),
                row.isPair ? qPrintable(number(row.limit)) : "",
                row.isPair ? qPrintable(number(row.ratio)) : "", row.isPair ? qPrintable(spread) : "",
                qPrintable(row.goal.text()), met, qPrintable(others));
    std::fflush(stdout);
}

void Report::remark(const QString &text)
{
    m_remarks.append(text);
}

void Report::finish() const
{
    for (const QString &remark : m_remarks)
        std::printf("! %s\n", qPrintable(remark));
    if (std::any_of(m_rows.begin(), m_rows.end(), [](const Row &row) { return row.isBusy(); }))
        std::printf(
            "Rows with ! were measured while other work took more than %.0f%% of the CPU time. This may be "
            "why a goal with \"NO (busy)\" was not met.\n",
            100 * BusyShare);
}

bool Report::write(const QString &file) const
{
    QJsonArray rows;
    for (const Row &row : m_rows) {
        QJsonObject object{{QLatin1String("measured"), row.what},
                           {QLatin1String("ours"), row.ours},
                           {QLatin1String("goal"), row.goal.text()},
                           {QLatin1String("others"), row.othersShare},
                           {QLatin1String("busy"), row.isBusy()}};
        if (row.isPair) {
            object.insert(QLatin1String("limit"), row.limit);
            object.insert(QLatin1String("ratio"), row.ratio);
            object.insert(QLatin1String("min"), row.least);
            object.insert(QLatin1String("max"), row.greatest);
            object.insert(QLatin1String("mad"), row.deviation);
        }
        if (row.goal.kind != Goal::Kind::None)
            object.insert(QLatin1String("met"), row.isMet());
        rows.append(object);
    }
    const QJsonObject all{{QLatin1String("rows"), rows},
                          {QLatin1String("remarks"), QJsonArray::fromStringList(m_remarks)}};
    QFile out(file);
    const QByteArray text = QJsonDocument(all).toJson();
    return out.open(QIODevice::WriteOnly) && out.write(text) == text.size() && out.flush();
}

} // namespace bench
