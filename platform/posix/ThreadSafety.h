// Names for clang's thread safety annotations. They declare which lock guards a member, and which functions need it
// held or free. A build with clang checks them (-Wthread-safety); other compilers see nothing.
//
//     Mutex m_mutex;
//     int m_count TLG_GUARDED_BY(m_mutex) = 0;         // read or written with the lock held
//     void CountOne() TLG_REQUIRES(m_mutex);           // called with the lock held
//     void WaitForAll() TLG_EXCLUDES(m_mutex);         // takes the lock, or waits for a thread that does
#ifndef TLG_PLATFORM_POSIX_THREADSAFETY_H
#define TLG_PLATFORM_POSIX_THREADSAFETY_H

#if defined(__clang__)
#define TLG_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define TLG_THREAD_ANNOTATION(attribute)
#endif

/// A class that is a lock.
#define TLG_CAPABILITY(name) TLG_THREAD_ANNOTATION(capability(name))
/// A class whose constructor takes a lock, and whose destructor releases it.
#define TLG_SCOPED_CAPABILITY TLG_THREAD_ANNOTATION(scoped_lockable)

/// A member that is read or written only with the lock held.
#define TLG_GUARDED_BY(lock) TLG_THREAD_ANNOTATION(guarded_by(lock))

/// In this order: a function that is called with the locks held, takes them, releases them, is called without them.
#define TLG_REQUIRES(...) TLG_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define TLG_ACQUIRE(...) TLG_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define TLG_RELEASE(...) TLG_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TLG_EXCLUDES(...) TLG_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

/// A function after which the analysis takes the lock as held.
#define TLG_ASSERT_HELD(...) TLG_THREAD_ANNOTATION(assert_capability(__VA_ARGS__))

#endif
