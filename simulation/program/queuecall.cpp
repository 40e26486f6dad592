#include "queuecall.h"

#include <QMetaObject>

namespace simulation {

namespace {

Q_NEVER_INLINE void callQt(QObject *object, const char *name)
{
    QMetaObject::invokeMethod(object, name, Qt::QueuedConnection);
}

} // namespace

// tests/support/tsan.supp suppresses reports by the name of this function. ThreadSanitizer's stack traces
// lack a function that calls uninstrumented code directly, so this function calls Qt through another one.
Q_NEVER_INLINE void queueCall(QObject *object, const char *name)
{
    callQt(object, name);
}

} // namespace simulation
