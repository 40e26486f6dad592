#pragma once

/// Receives the tracking data that the host delivers. The module implements it and registers it with
/// IOManager::addRequester(). The order of the functions is the binary boundary with the host.
class Requester
{
public:
    /// Handles one zero-terminated \a line of the output type \a type. Both texts are valid during the call
    /// only. Any thread, also several at a time; does not block. Returns 0.
    virtual int onOutputData(const char *type, const char *line) = 0;

    /// The data starts again: the lines collected of the current frame are dropped. Any thread; may wait for
    /// one send per channel, at most 100 ms each.
    virtual void onOutputReset() = 0;

    /// The host has no data at present. Does nothing. Any thread.
    virtual void onOutputIdle() = 0;

protected:
    ~Requester() = default;
};
