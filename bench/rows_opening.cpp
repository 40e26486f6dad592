#include "rows.h"

#include "benchoptions.h"
#include "clocks.h"
#include "moduleundertest.h"
#include "report.h"
#include "statistics.h"

#include <array>
#include <vector>

namespace bench {

namespace {

constexpr std::array<int, 3> catalogues{13, 100, 300};
constexpr int openingsPerModule = 5;

/// The median durations of several openings of one module, in milliseconds, and the number of queries of one
/// opening.
struct Opening
{
    double shown = 0;   ///< until the dialog is painted
    double read = 0;    ///< until the last query is answered
    double answers = 0; ///< duration of the same queries without a dialog
    int queries = 0;
};

double milliseconds(int64_t from, int64_t to)
{
    return double(to - from) / 1e6;
}

/// Sends the recorded queries again, all of them by getValue() with a zeroed buffer. Returns the duration in
/// nanoseconds.
int64_t repeatQueries(BenchLink &link)
{
    const QList<QByteArray> queries = link.queries();
    const int64_t start = nowNs();
    for (const QByteArray &query : queries) {
        char answer[BenchLink::AnswerSize] = {};
        link.getValue(answer, "%s", query.constData());
    }
    return nowNs() - start;
}

/// Returns the medians of several openings of one module.
Opening measureOpening(int types, const Receivers &receivers)
{
    Setup setup;
    setup.types = types;
    setup.routing = false;
    ModuleUnderTest module(receivers, setup);
    // The first opening, which is not measured, fills BenchLink's table of answers and creates the window.
    module.openAndClose();
    std::vector<double> shown;
    std::vector<double> read;
    std::vector<double> answers;
    for (int i = 0; i < openingsPerModule; ++i) {
        module.link().startRecording();
        const int64_t start = nowNs();
        shown.push_back(milliseconds(start, module.openAndClose()));
        read.push_back(milliseconds(start, module.link().lastAnswerNs()));
        answers.push_back(milliseconds(0, repeatQueries(module.link())));
    }
    // The last repeatQueries() has recorded every query a second time.
    return {median(shown), median(read), median(answers), module.link().queries().size() / 2};
}

} // namespace

void addOpeningRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    std::array<Pairs, catalogues.size()> whole;
    std::array<Pairs, catalogues.size()> reading;
    std::array<int, catalogues.size()> queries{};
    Pairs slope;
    Pairs growth;
    for (int repetition = 0; repetition < options.repetitions(9); ++repetition) {
        std::array<Opening, catalogues.size()> openings;
        for (size_t i = 0; i < catalogues.size(); ++i) {
            openings[i] = measureOpening(catalogues[i], receivers);
            whole[i].add(openings[i].shown, openings[i].answers);
            reading[i].add(openings[i].read, openings[i].answers);
            queries[i] = openings[i].queries;
        }
        const auto perType = [&](size_t from, size_t to) {
            return (openings[to].read - openings[from].read) / (catalogues[to] - catalogues[from]);
        };
        slope.add(perType(1, 2), perType(0, 1));
        growth.add(openings[2].shown, openings[1].shown);
    }
    for (size_t i = 0; i < catalogues.size(); ++i) {
        const QString size = QString::fromLatin1("%1 types").arg(catalogues[i]);
        report.add(QLatin1String("opening, ") + size +
                       QString::fromLatin1(" / the same %1 queries [ms]").arg(queries[i]),
                   whole[i], Goal::shown());
        report.add(QLatin1String("up to the last answer, ") + size +
                       QLatin1String(" / the same queries [ms]"),
                   reading[i], Goal::shown());
    }
    report.add(QLatin1String("opening, 300 types / 100 types [ms]"), growth, Goal::atMost(3));
    // The time up to the last answer is compared, because painting would hide the growth: only the visible
    // types are painted.
    report.add(QLatin1String("reading per added type, 100 to 300 / 13 to 100 types [ms]"), slope,
               Goal::atMost(1.2));
}

} // namespace bench
