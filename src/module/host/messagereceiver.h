#pragma once

/// Receives messages of the host. The module implements it and registers it with
/// IOManager::addMessageReceiver().
/// The order of the functions is the binary boundary with the host.
class MessageReceiver
{
public:
    /// Handles the zero-terminated message \a text, which is valid during the call only; \a a and \a b are
    /// not read. Any thread; if it comes on another thread, it is queued to the GUI thread. Returns 0.
    virtual int onMessage(int a, int b, const char *text) = 0;

protected:
    ~MessageReceiver() = default;
};
