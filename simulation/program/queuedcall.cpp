#include "queuedcall.h"

#include <QObject>

namespace simulation {

namespace {

Q_NEVER_INLINE void callQt(QObject *object, const char *name)
{
    QMetaObject::invokeMethod(object, name, Qt::QueuedConnection);
}

} // namespace

// tests/support/tsan.supp suppresses reports by the name of this function. It is visible in ThreadSanitizer's
// stack traces because it does not call Qt itself: the traces lack a function that calls uninstrumented code.
Q_NEVER_INLINE void queueCall(QObject *object, const char *name)
{
    callQt(object, name);
}

} // namespace simulation
