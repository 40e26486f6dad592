#pragma once

class QObject;

namespace simulation {

/// Queues a call of the invokable function \a name of \a object, which takes no arguments, to the thread to
/// which \a object belongs. Thread-safe.
void queueCall(QObject *object, const char *name);

} // namespace simulation
