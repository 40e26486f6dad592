#include "statistics.h"

#include <algorithm>
#include <cmath>

namespace bench {

double quantile(const std::vector<double> &sorted, double share)
{
    const auto rank = size_t(std::lround(share * double(sorted.size() - 1)));
    return sorted[rank];
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

void Pairs::add(double ours, double limit)
{
    m_ours.push_back(ours);
    m_limit.push_back(limit);
    m_ratios.push_back(ours / limit);
}

double Pairs::leastRatio() const
{
    return *std::min_element(m_ratios.cbegin(), m_ratios.cend());
}

double Pairs::greatestRatio() const
{
    return *std::max_element(m_ratios.cbegin(), m_ratios.cend());
}

double Pairs::deviation() const
{
    const double middle = ratio();
    std::vector<double> distances;
    for (const double value : m_ratios)
        distances.push_back(std::abs(value - middle));
    return median(distances);
}

} // namespace bench
