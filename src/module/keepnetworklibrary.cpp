#include <QLibrary>

namespace {

/// The network library hooks itself to the application object for good. In a host that does not use it itself
/// it would be unloaded together with this plug-in, and the host would crash when it ends: keep it.
void keepNetworkLibrary()
{
    QLibrary library(QLatin1String("Qt5Network"), 5);
    library.setLoadHints(QLibrary::PreventUnloadHint);
    library.load();
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(keepNetworkLibrary)
