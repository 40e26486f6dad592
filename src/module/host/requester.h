#pragma once

/// Receives the tracking data that the host delivers. The module implements it and registers it with
/// IOManager::addRequester(). The order of the functions is part of the binary interface between host and
/// module. All functions may be called on any thread, and on several threads at the same time.
class Requester
{
public:
    /// Handles one \a line of the output type \a type. Returns 0. The line may end with CR and LF. Both texts
    /// must be zero-terminated and not null, and are read during the call only. Waits only for short locks.
    virtual int onOutputData(const char *type, const char *line) = 0;

    /// Drops the lines collected for the current frame, because the data starts again. May wait for one send
    /// per channel, at most 100 ms each.
    virtual void onOutputReset() = 0;

    /// Called when the host has no data at present. The module does nothing.
    virtual void onOutputIdle() = 0;

protected:
    ~Requester() = default;
};
