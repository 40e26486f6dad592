#pragma once

/// Takes the tracking data that the host delivers. Implemented by the module, registered with
/// IOManager::addRequester(). The order of the functions is the binary boundary with the host.
class Requester
{
public:
    /// One zero-terminated \a line of the output type \a type. Both texts are the host's and are valid for
    /// the call only. May come on any thread and on several at a time; never waits. Result 0.
    virtual int onOutputData(const char *type, const char *line) = 0;

    /// The stream of data starts over: what is collected of the current frame is void. Any thread; may wait
    /// for one datagram to leave, at most 100 ms a channel.
    virtual void onOutputReset() = 0;

    /// The host has no data at the moment. Any thread.
    virtual void onOutputIdle() = 0;

protected:
    ~Requester() = default;
};
