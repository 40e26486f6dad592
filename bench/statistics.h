#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace bench {

/// Returns the quantile of \a values at \a share, 0 to 1: the element at the index share * (size - 1),
/// rounded to the nearest integer, of the sorted values. \a values must not be empty.
inline double quantile(std::vector<double> values, double share)
{
    const auto element = values.begin() + std::lround(share * double(values.size() - 1));
    std::nth_element(values.begin(), element, values.end());
    return *element;
}

inline double median(const std::vector<double> &values)
{
    return quantile(values, 0.5);
}

/// Pairs of a value of the module ("ours") and the value that it is compared with ("limit"), measured
/// alternately, one pair per repetition.
struct Pairs
{
    void add(double our, double itsLimit)
    {
        ours.push_back(our);
        limits.push_back(itsLimit);
        ratios.push_back(our / itsLimit);
    }

    std::vector<double> ours;
    std::vector<double> limits;
    std::vector<double> ratios; ///< ours / limit of each pair
};

} // namespace bench
