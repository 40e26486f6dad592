#pragma once

/// The attributes of Clang's thread-safety analysis, which declare which lock a variable needs and which lock
/// a function needs, acquires or releases. The analysis preset checks them with -Wthread-safety as an error.
/// For other compilers the macros are empty.
#if defined(__clang__)
#define THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define THREAD_ANNOTATION(attribute)
#endif

#define CAPABILITY(kind) THREAD_ANNOTATION(capability(kind))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(mutex) THREAD_ANNOTATION(guarded_by(mutex))
#define REQUIRES(mutex) THREAD_ANNOTATION(requires_capability(mutex))
/// For a function that locks the mutex itself, so that the caller must not hold it.
#define EXCLUDES(mutex) THREAD_ANNOTATION(locks_excluded(mutex))
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// For a function that has locked the mutex if it returns \a result.
#define TRY_ACQUIRE(result, mutex) THREAD_ANNOTATION(try_acquire_capability(result, mutex))
/// For a function that locks in a way that the analysis cannot follow.
#define UNCHECKED_LOCKING THREAD_ANNOTATION(no_thread_safety_analysis)
