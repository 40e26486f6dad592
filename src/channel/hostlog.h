#pragma once

class IOManager;
class QString;

/// Writes \a text to the host's log. GUI thread.
void logFailure(IOManager *manager, const QString &text);
