#include <QLibrary>

namespace {

/// Keeps the network library loaded. It registers itself with the application object indefinitely. In a host
/// that does not use it, it would be unloaded together with this plug-in, and the host would crash at its
/// end.
void keepNetworkLibrary()
{
    QLibrary library(QLatin1String("Qt5Network"), 5);
    library.setLoadHints(QLibrary::PreventUnloadHint);
    library.load();
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(keepNetworkLibrary)
