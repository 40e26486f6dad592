#pragma once

/// Receives messages of the host. The module implements it and registers it with
/// IOManager::addMessageReceiver(). The order of the functions is part of the binary interface between host
/// and module.
class MessageReceiver
{
public:
    /// Handles the message \a text. The only message with an effect is "OutputTypesChanged": the Controller's
    /// catalogue of output types has changed. \a text must be zero-terminated and not null, and is read
    /// during the call only. \a a and \a b are ignored. Returns 0.
    ///
    /// May be called on any thread. On the GUI thread it does its work, which sends queries and requests to
    /// the host, before it returns; so the caller must not hold a lock that its IOManager needs. On another
    /// thread it queues the work to the GUI thread and returns at once.
    virtual int onMessage(int a, int b, const char *text) = 0;

protected:
    ~MessageReceiver() = default;
};
