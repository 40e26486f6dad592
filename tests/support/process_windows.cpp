#include "process.h"

#include <winsock2.h>

#include <cstdint>
#include <tlhelp32.h>
#include <winternl.h>

namespace {

/// Counts the handles that \a wanted accepts. Tries the lowest values that a handle may have, far more than a
/// test uses, because not every system that runs Windows programs counts the handles of a process.
template <typename Predicate>
int handlesThat(Predicate wanted)
{
    constexpr uintptr_t step = 4, limit = 4096 * step;
    int count = 0;
    for (uintptr_t value = step; value < limit; value += step)
        count += wanted(reinterpret_cast<HANDLE>(value));
    return count;
}

/// Returns whether the thread's first function is in the file of the program, not in a DLL.
bool startsInProgram(DWORD identifier)
{
    const HANDLE thread = OpenThread(THREAD_QUERY_INFORMATION, FALSE, identifier);
    if (!thread)
        return false;                                              // the thread has ended
    constexpr auto startAddress = static_cast<THREADINFOCLASS>(9); // ThreadQuerySetWin32StartAddress
    void *start = nullptr;
    const NTSTATUS status = NtQueryInformationThread(thread, startAddress, &start, sizeof start, nullptr);
    CloseHandle(thread);
    HMODULE file = nullptr;
    return NT_SUCCESS(status) &&
           GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                  GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              static_cast<const wchar_t *>(start), &file) &&
           file == GetModuleHandleW(nullptr);
}

} // namespace

int threadCount()
{
    const HANDLE threads = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(threads, &entry); more; more = Thread32Next(threads, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() && startsInProgram(entry.th32ThreadID);
    CloseHandle(threads);
    return count;
}

int descriptorCount()
{
    return handlesThat([](HANDLE handle) {
        int type = 0;
        int size = sizeof type;
        return getsockopt(reinterpret_cast<SOCKET>(handle), SOL_SOCKET, SO_TYPE,
                          reinterpret_cast<char *>(&type), &size) == 0;
    });
}

// Counts the handles, because the handle of a thread that was not joined stays open.
int threadRemainsCount()
{
    return handlesThat([](HANDLE handle) {
        DWORD flags = 0;
        return GetHandleInformation(handle, &flags) != 0;
    });
}
