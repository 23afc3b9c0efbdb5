#pragma once

// Clang's thread-safety annotations (-Wthread-safety); nothing for other compilers.
#if defined(__clang__)
#define RVX_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define RVX_THREAD_ANNOTATION(annotation)
#endif

#define RVX_CAPABILITY(name) RVX_THREAD_ANNOTATION(capability(name))
#define RVX_SCOPED_CAPABILITY RVX_THREAD_ANNOTATION(scoped_lockable)
#define RVX_GUARDED_BY(mutex) RVX_THREAD_ANNOTATION(guarded_by(mutex))
#define RVX_ACQUIRED_AFTER(mutex) RVX_THREAD_ANNOTATION(acquired_after(mutex))
#define RVX_ACQUIRE(...) RVX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RVX_RELEASE(...) RVX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define RVX_REQUIRES(...) RVX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define RVX_EXCLUDES(...) RVX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
