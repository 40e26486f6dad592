#pragma once

#include <vector>

namespace bench {

/// Returns the quantile of \a sorted at \a share, 0 to 1: the element at the index share * (size - 1),
/// rounded to the nearest integer. \a sorted must be in ascending order and not empty.
double quantile(const std::vector<double> &sorted, double share);

/// Returns the median of \a values, which must not be empty.
double median(std::vector<double> values);

/// Pairs of a value of the module ("ours") and the value that it is compared with ("limit"), measured
/// alternately, one pair per repetition. Without a pair, only add() and isEmpty() may be called.
class Pairs
{
public:
    void add(double ours, double limit);

    bool isEmpty() const { return m_ours.empty(); }

    /// Return the median of the module's values and that of the limits.
    double ours() const { return median(m_ours); }
    double limit() const { return median(m_limit); }

    /// Return the median, minimum and maximum of the ratios ours / limit of the pairs.
    double ratio() const { return median(m_ratios); }
    double leastRatio() const;
    double greatestRatio() const;

    /// Returns the median absolute deviation of the ratios.
    double deviation() const;

private:
    std::vector<double> m_ours;
    std::vector<double> m_limit;
    std::vector<double> m_ratios;
};

} // namespace bench
