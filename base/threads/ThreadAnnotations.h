// SPDX-License-Identifier: Apache-2.0
//
// Thread annotations: macros that declare which lock guards which data. clang checks them
// (-Wthread-safety); other compilers ignore them.
//
// An expression in an annotation may name a member of the class, a parameter of the function or a
// global lock. Constructors and destructors are not checked, because no other thread uses the
// object then.
#pragma once

#if defined(__clang__)
#define KAVREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define KAVREL_THREAD_ATTRIBUTE(x)
#endif

// A class whose objects are locks; compiler messages call such a lock `x`.
#define CAPABILITY(x) KAVREL_THREAD_ATTRIBUTE(capability(x))
// An RAII guard: a class whose constructor acquires a lock and whose destructor releases it, or the
// reverse.
#define SCOPED_CAPABILITY KAVREL_THREAD_ATTRIBUTE(scoped_lockable)

// A variable that must be read and written only while the lock `x` is held.
#define GUARDED_BY(x) KAVREL_THREAD_ATTRIBUTE(guarded_by(x))
// A pointer whose target must be read and written only while the lock `x` is held.
#define PT_GUARDED_BY(x) KAVREL_THREAD_ATTRIBUTE(pt_guarded_by(x))

// A function that must be called with the locks held; they are still held when it returns.
#define REQUIRES(...) KAVREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
// A function that must not be called while one of the locks is held, because it acquires them
// itself or calls a function that may.
#define EXCLUDES(...) KAVREL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
// A function that acquires or releases the locks; without arguments, the lock is the object itself.
#define ACQUIRE(...) KAVREL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) KAVREL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

// A function whose body is not checked, for a reason that a comment gives. Its callers are checked.
#define NO_THREAD_SAFETY_ANALYSIS KAVREL_THREAD_ATTRIBUTE(no_thread_safety_analysis)
