#pragma once

class IOManager;
class QString;

/// Writes \a text, which tells what has failed, to the host's log in Latin-1. GUI thread.
void logFailure(IOManager *manager, const QString &text);
