#pragma once

/// Takes messages of the host. Implemented by the module, registered with IOManager::addMessageReceiver().
/// The order of the functions is the binary boundary with the host.
class MessageReceiver
{
public:
    /// The message \a text, zero-terminated and valid for the call only; \a a and \a b are not read. May come
    /// on any thread; on another than the GUI thread it is carried out there later. Result 0.
    virtual int onMessage(int a, int b, const char *text) = 0;

protected:
    ~MessageReceiver() = default;
};
