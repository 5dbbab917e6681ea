// SPDX-License-Identifier: Apache-2.0
//
// Thread annotations: which lock guards what, in a form that clang checks (-Wthread-safety). Other
// compilers ignore them.
//
// An expression in an annotation may name a member of the class, a parameter of the function or a
// global lock. Constructors and destructors are not checked: nobody else has the object then.
#pragma once

#if defined(__clang__)
#define KAVREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define KAVREL_THREAD_ATTRIBUTE(x)
#endif

// A class whose objects are locks; `x` is what messages call such a lock.
#define CAPABILITY(x) KAVREL_THREAD_ATTRIBUTE(capability(x))
// A class whose objects acquire a lock when constructed and release it when destroyed, or the
// reverse.
#define SCOPED_CAPABILITY KAVREL_THREAD_ATTRIBUTE(scoped_lockable)

// A variable that is read and written only while the lock `x` is held.
#define GUARDED_BY(x) KAVREL_THREAD_ATTRIBUTE(guarded_by(x))
// A pointer whose target is read and written only while the lock `x` is held.
#define PT_GUARDED_BY(x) KAVREL_THREAD_ATTRIBUTE(pt_guarded_by(x))

// A function that is called only while the locks are held, and returns with them held.
#define REQUIRES(...) KAVREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
// A function that is never called while one of the locks is held, because it acquires them itself
// or calls somebody who may.
#define EXCLUDES(...) KAVREL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
// A function that acquires the locks, or releases them; without arguments, the object itself.
#define ACQUIRE(...) KAVREL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) KAVREL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

// A function whose body is not checked; a comment says why. Its callers still are.
#define NO_THREAD_SAFETY_ANALYSIS KAVREL_THREAD_ATTRIBUTE(no_thread_safety_analysis)
