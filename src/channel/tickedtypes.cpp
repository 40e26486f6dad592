#include "tickedtypes.h"

#include <algorithm>

void TickedTypes::publish(QVector<QByteArray> names)
{
    std::sort(names.begin(), names.end());
    auto next = std::make_shared<const Names>(std::move(names));
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_names.swap(next);
    }
    // The set of before is freed here, outside the lock, or by the last data thread that still looks at it.
}

bool TickedTypes::contains(const char *name) const
{
    const std::shared_ptr<const Names> names = current();
    const auto found = std::lower_bound(
        names->cbegin(), names->cend(), name,
        [](const QByteArray &ticked, const char *sought) { return qstrcmp(ticked, sought) < 0; });
    return found != names->cend() && *found == name;
}

std::shared_ptr<const TickedTypes::Names> TickedTypes::current() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_names;
}
