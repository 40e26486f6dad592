#include "outputtypeinfo.h"

#include "answer.h"
#include "commands.h"
#include "hostlog.h"
#include "iomanager.h"

using namespace networksettings2g;

namespace {

/// More than any Controller has. Without a limit, a wrong number would block the GUI thread for hours.
constexpr int maximumTypeCount = 10000;

int queryTypeCount(IOManager *manager)
{
    int count = 0;
    if (manager->getIntValue(&count, commands::typeCount) == 0)
        return qMin(count, maximumTypeCount);
    logFailure(manager, QLatin1String("Error: Unable to get number of output types"));
    return 0;
}

QString queryDescription(IOManager *manager, const QByteArray &name)
{
    Answer answer;
    if (manager->getValue(answer.buffer(), commands::typeDescription, name.constData()) == 0)
        return answer.text().remove(QLatin1Char('"'));
    logFailure(manager, QLatin1String("Error: Unable to get type description"));
    return {};
}

bool queryAvailable(IOManager *manager, const QByteArray &name)
{
    Answer answer;
    if (manager->getValue(answer.buffer(), commands::typeAvailable, name.constData()) == 0)
        return answer.isYes();
    logFailure(
        manager,
        QString::fromLatin1("Error: Unable to get output availability of %1").arg(QString::fromLatin1(name)));
    return false;
}

} // namespace

int queryOutputTypes(IOManager *manager, QList<OutputTypeInfo> *types)
{
    types->clear();
    if (!manager)
        return -1;

    const int count = queryTypeCount(manager);
    for (int number = 1; number <= count; ++number) {
        Answer answer;
        if (manager->getValue(answer.buffer(), commands::typeName, number) != 0) {
            // The text of this message is fixed: it has the 0 even before a number of two digits.
            logFailure(manager, QString::fromLatin1("Error: Unable to get output type t0%1").arg(number));
            continue;
        }
        OutputTypeInfo type;
        type.name = answer.text();
        const QByteArray name = type.name.toLatin1();
        type.description = queryDescription(manager, name);
        type.available = queryAvailable(manager, name);
        types->append(type);
    }
    return 0;
}

QString queryMonitorIp(IOManager *manager)
{
    if (!manager)
        return {};
    Answer answer;
    manager->getValue(answer.buffer(), commands::monitorAddress);
    return answer.text().section(QLatin1Char(' '), 1, 1);
}
