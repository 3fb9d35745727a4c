#pragma once

/** Attributes for clang's thread-safety analysis: which lock guards what, who takes and who needs it. scripts/lint has
 * it checked; other compilers see nothing. */
#if defined(__clang__)
#define QELM_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define QELM_THREAD_ANNOTATION(attribute)
#endif

/** A class whose objects are locks. */
#define QELM_LOCK QELM_THREAD_ANNOTATION(capability("lock"))
/** A class whose objects hold a lock as long as they live. */
#define QELM_LOCK_GUARD QELM_THREAD_ANNOTATION(scoped_lockable)
/** A member that is touched under that lock alone. */
#define QELM_GUARDED_BY(lock) QELM_THREAD_ANNOTATION(guarded_by(lock))
/** A function that is called with the lock held. */
#define QELM_REQUIRES(lock) QELM_THREAD_ANNOTATION(requires_capability(lock))
/** A function that takes, or gives back, the lock given or the one it belongs to. */
#define QELM_ACQUIRES(...) QELM_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QELM_RELEASES(...) QELM_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/** A function that implements a lock, which the analysis cannot follow. */
#define QELM_IMPLEMENTS_LOCK QELM_THREAD_ANNOTATION(no_thread_safety_analysis)
