#pragma once

class IOManager;
class QString;

namespace networksettings2g {

/// Writes \a text, which says what has failed, to the host's log in Latin-1. GUI thread only.
void logFailure(IOManager *manager, const QString &text);

} // namespace networksettings2g
