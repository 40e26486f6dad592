#pragma once

// Whether GCC has built the program with AddressSanitizer or ThreadSanitizer. They slow the program down,
// keep freed memory, and map files to read symbol names.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// The resources of the test's own process. Each system has a source file that defines these functions.

/// Returns the number of threads; on Windows only of those whose first function is in the program's file,
/// which are the main thread and the workers of channels. Threads of the system, such as those that load DLLs
/// and look up names, begin in a DLL and may linger. Only differences are meaningful.
int threadCount();

/// Returns the number of open descriptors; on Windows only of sockets, because locks and threads have handles
/// there, too. Only differences are meaningful.
int descriptorCount();

/// Returns a number that grows by at least one for each thread that has ended and was not joined.
int threadRemainsCount();

/// Returns the bytes that the program has allocated. Of the freed memory that the C library keeps, only the
/// small blocks in its per-thread caches are included. Exists only on Linux. Meaningless if isSanitized,
/// because a sanitizer replaces the C library's allocator.
long long allocatedBytes();
