#include <QtGlobal>

#ifdef Q_OS_WIN
#include <QHostInfo>

#include <qt_windows.h>
#else
#include <QLibrary>
#endif

namespace {

/// Keeps the network library loaded. It registers itself with the application object indefinitely. In a host
/// that does not use it, it would be unloaded together with this plug-in, and the host would crash at its
/// end.
void keepNetworkLibrary()
{
#ifdef Q_OS_WIN
    // This runs under the loader lock, where no library may be loaded. The network library is in memory
    // already, since this one is linked to it: pin it, found by the address of one of its functions.
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&QHostInfo::localHostName), &module);
#else
    QLibrary library(QLatin1String("Qt5Network"), 5);
    library.setLoadHints(QLibrary::PreventUnloadHint);
    library.load();
#endif
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(keepNetworkLibrary)
