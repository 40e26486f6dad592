#include "rows.h"

#include "benchoptions.h"
#include "clocks.h"
#include "product.h"
#include "report.h"
#include "statistics.h"

#include <array>
#include <vector>

namespace {

constexpr std::array<int, 3> catalogues{13, 100, 300};
constexpr int openingsAModule = 5;

/// One opening, in milliseconds.
struct Opening
{
    double shown = 0;   ///< until the dialog is on the screen
    double read = 0;    ///< until the last answer
    double answers = 0; ///< the same answers without a dialog
    int queries = 0;
};

double milliseconds(int64_t from, int64_t to)
{
    return double(to - from) / 1e6;
}

/// Asks the same again, as the module does: the room for each answer is zeroed before.
int64_t askAgain(BenchLink &link)
{
    const QList<QByteArray> queries = link.queries();
    const int64_t start = nowNs();
    for (const QByteArray &query : queries) {
        char answer[BenchLink::AnswerSize] = {};
        link.getValue(answer, "%s", query.constData());
    }
    return nowNs() - start;
}

/// The medians of some openings of one module.
Opening measureOpening(int types, const Receivers &receivers)
{
    Setup setup;
    setup.types = types;
    setup.routing = false;
    Product product(receivers, setup);
    // The first opening fills the table of answers and makes the window.
    product.openAndClose();
    std::vector<double> shown;
    std::vector<double> read;
    std::vector<double> answers;
    for (int i = 0; i < openingsAModule; ++i) {
        product.link().startNote();
        const int64_t start = nowNs();
        shown.push_back(milliseconds(start, product.openAndClose()));
        read.push_back(milliseconds(start, product.link().lastAnswerNs()));
        answers.push_back(milliseconds(0, askAgain(product.link())));
    }
    // Half of the queries noted last are of askAgain().
    return {median(shown), median(read), median(answers), product.link().queries().size() / 2};
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
                       QString::fromLatin1(" / its %1 answers [ms]").arg(queries[i]),
                   whole[i], Goal::shown());
        report.add(QLatin1String("opening up to the last answer, ") + size + QLatin1String(" [ms]"),
                   reading[i], Goal::shown());
    }
    report.add(QLatin1String("opening, 300 types / 100 types [ms]"), growth, Goal::atMost(3));
    // Up to the last answer, since the window's own share does not depend on the types.
    report.add(QLatin1String("reading a further type, of 100-300 / of 13-100 [ms]"), slope,
               Goal::atMost(1.2));
}
