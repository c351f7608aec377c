#pragma once
// Words for clang's thread-safety analysis: which lock guards what, and who must hold it. Empty for other compilers.

#if defined(__clang__)
#define TAVIX_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TAVIX_THREAD_ATTRIBUTE(x)
#endif

// A class that is a lock, and a class that holds one for a scope.
#define TAVIX_CAPABILITY(name) TAVIX_THREAD_ATTRIBUTE(capability(name))
#define TAVIX_SCOPED_CAPABILITY TAVIX_THREAD_ATTRIBUTE(scoped_lockable)

// Members: read and written only with the lock held; the second one speaks of what a pointer points at.
#define TAVIX_GUARDED_BY(lock) TAVIX_THREAD_ATTRIBUTE(guarded_by(lock))
#define TAVIX_PT_GUARDED_BY(lock) TAVIX_THREAD_ATTRIBUTE(pt_guarded_by(lock))

// Order of two locks.
#define TAVIX_ACQUIRED_BEFORE(...) TAVIX_THREAD_ATTRIBUTE(acquired_before(__VA_ARGS__))
#define TAVIX_ACQUIRED_AFTER(...) TAVIX_THREAD_ATTRIBUTE(acquired_after(__VA_ARGS__))

// Functions: the caller holds the lock; the function takes it, gives it back, may take it; the caller must not hold it.
// The shared ones are for who only reads.
#define TAVIX_REQUIRES(...) TAVIX_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define TAVIX_ACQUIRE(...) TAVIX_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define TAVIX_RELEASE(...) TAVIX_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define TAVIX_ACQUIRE_SHARED(...) TAVIX_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define TAVIX_RELEASE_SHARED(...) TAVIX_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define TAVIX_TRY_ACQUIRE(...) TAVIX_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
// The caller promises that the lock is held, where the analysis cannot follow how it came to be.
#define TAVIX_ASSERT_CAPABILITY(...) TAVIX_THREAD_ATTRIBUTE(assert_capability(__VA_ARGS__))
#define TAVIX_EXCLUDES(...) TAVIX_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define TAVIX_RETURN_CAPABILITY(lock) TAVIX_THREAD_ATTRIBUTE(lock_returned(lock))

// For the rare function whose locking the analysis cannot follow. Say why beside it.
#define TAVIX_NO_THREAD_SAFETY_ANALYSIS TAVIX_THREAD_ATTRIBUTE(no_thread_safety_analysis)
