#pragma once

/// Receives messages of the host. The module implements it and registers it with
/// IOManager::addMessageReceiver(). The order of the functions is part of the binary interface between host
/// and module.
class MessageReceiver
{
public:
    /// Handles the zero-terminated message \a text, which is valid during the call only. \a a and \a b are
    /// ignored. May be called on any thread; on another thread than the GUI thread, it queues the message to
    /// the GUI thread. Returns 0.
    virtual int onMessage(int a, int b, const char *text) = 0;

protected:
    ~MessageReceiver() = default;
};
