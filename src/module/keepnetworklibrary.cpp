#include <QtGlobal>

#ifdef Q_OS_WIN
#include <QHostInfo>

#include <qt_windows.h>
#else
#include <QLibrary>
#endif

namespace {

/// Keeps the Qt network library loaded. The library registers routines that the application object calls when
/// it is destroyed. In a host that does not use the library itself, unloading this plug-in would unload the
/// library too, and the host would crash when it exits.
void keepNetworkLibrary()
{
#ifdef Q_OS_WIN
    // This runs under the loader lock, where no library may be loaded. The network library is already in
    // memory, because the plug-in is linked to it. Find it by the address of one of its functions and pin it.
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
