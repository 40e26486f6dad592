#pragma once

class QObject;

namespace simulation {

/// Queues a call of \a object's invokable function \a name, which must take no arguments. The event loop of
/// the thread to which \a object belongs makes the call. May be called on any thread.
void queueCall(QObject *object, const char *name);

} // namespace simulation
