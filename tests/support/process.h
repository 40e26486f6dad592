#pragma once

// What a test counts in its own process. Each system has a source file that defines these functions.

int threadCount();

/// Open files and sockets; on Windows only sockets, since locks and threads have handles there as well.
int descriptorCount();

/// Grows by one at least for each thread that has ended and was not joined.
int threadRemainsCount();

long long residentBytes();
