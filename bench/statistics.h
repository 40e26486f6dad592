#pragma once

#include <vector>

/// The value below which the share \a share, 0 to 1, of \a sorted lies. \a sorted is not empty.
double quantile(const std::vector<double> &sorted, double share);

double median(std::vector<double> values);

/// Ours and the limit, measured in turn, one pair a repetition.
class Pairs
{
public:
    void add(double ours, double limit);

    bool isEmpty() const { return m_ours.empty(); }
    double ours() const { return median(m_ours); }
    double limit() const { return median(m_limit); }

    /// Median, least and greatest of the ratios of the pairs.
    double ratio() const { return median(m_ratios); }
    double leastRatio() const;
    double greatestRatio() const;

    /// The median distance of the ratios from their median.
    double deviation() const;

private:
    std::vector<double> m_ours;
    std::vector<double> m_limit;
    std::vector<double> m_ratios;
};
