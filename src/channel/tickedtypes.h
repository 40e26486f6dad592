#pragma once

#include <QByteArray>
#include <QVector>

#include <memory>
#include <mutex>

/// The output types that a channel ticks, as the GUI thread last published them. The data threads look here,
/// so that the item model is touched on the GUI thread alone.
class TickedTypes
{
public:
    /// Replaces the whole set by \a names. GUI thread.
    void publish(QVector<QByteArray> names);

    /// Any thread. The cost does not depend on how many types the Controller offers.
    bool contains(const char *name) const;

private:
    using Names = QVector<QByteArray>;

    std::shared_ptr<const Names> current() const;

    mutable std::mutex m_mutex; // held for as long as it takes to copy or to swap the pointer
    std::shared_ptr<const Names> m_names = std::make_shared<const Names>(); // sorted
};
