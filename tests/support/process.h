#pragma once

// Whether the program is built with a sanitizer. Sanitizers slow it down, keep freed memory, and map files to
// read symbol names.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// Numbers of the test's own process. Each system has a source file that defines these functions.

int threadCount();

/// Open files and sockets; on Windows only sockets, since locks and threads have handles there as well.
int descriptorCount();

/// A number that grows by at least one for each thread that has ended and was not joined.
int threadRemainsCount();

long long residentBytes();

/// The memory that the program has allocated, without the freed memory that the C library keeps. Only on
/// Linux, and only without a sanitizer.
long long allocatedBytes();
