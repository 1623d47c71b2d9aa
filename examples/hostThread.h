/* Threads, locks and conditions of the platform, as far as the examples need them. C11's own are not everywhere. */
#ifndef QVG_EXAMPLES_HOST_THREAD_H
#define QVG_EXAMPLES_HOST_THREAD_H

#include <stdbool.h>
#include <stdint.h>

/* What a thread does, and with what. */
typedef struct HostWork {
  void (*run)(void* argument);
  void* argument;
} HostWork;

#ifdef _WIN32

#include <windows.h>

#include <process.h>

typedef uintptr_t HostThread;
typedef SRWLOCK HostLock;
typedef CONDITION_VARIABLE HostCondition;
#define HOST_LOCK_INIT SRWLOCK_INIT
#define HOST_CONDITION_INIT CONDITION_VARIABLE_INIT

static unsigned __stdcall hostRun(void* work) {
  ((HostWork*)work)->run(((HostWork*)work)->argument);
  return 0;
}
/* The work has to stay until the thread was joined. */
static bool startThread(HostThread* thread, HostWork* work) {
  *thread = _beginthreadex(NULL, 0, hostRun, work, 0, NULL);
  return *thread != 0;
}
static void joinThread(HostThread* thread) {
  WaitForSingleObject((HANDLE)*thread, INFINITE);
  CloseHandle((HANDLE)*thread);
}
static void lock(HostLock* guard) { AcquireSRWLockExclusive(guard); }
static void unlock(HostLock* guard) { ReleaseSRWLockExclusive(guard); }
static void waitFor(HostCondition* condition, HostLock* guard) {
  SleepConditionVariableSRW(condition, guard, INFINITE, 0);
}
static void wakeAll(HostCondition* condition) { WakeAllConditionVariable(condition); }

#else

#include <pthread.h>

typedef pthread_t HostThread;
typedef pthread_mutex_t HostLock;
typedef pthread_cond_t HostCondition;
#define HOST_LOCK_INIT PTHREAD_MUTEX_INITIALIZER
#define HOST_CONDITION_INIT PTHREAD_COND_INITIALIZER

static void* hostRun(void* work) {
  ((HostWork*)work)->run(((HostWork*)work)->argument);
  return NULL;
}
/* The work has to stay until the thread was joined. */
static bool startThread(HostThread* thread, HostWork* work) { return pthread_create(thread, NULL, hostRun, work) == 0; }
static void joinThread(HostThread* thread) { pthread_join(*thread, NULL); }
static void lock(HostLock* guard) { pthread_mutex_lock(guard); }
static void unlock(HostLock* guard) { pthread_mutex_unlock(guard); }
static void waitFor(HostCondition* condition, HostLock* guard) { pthread_cond_wait(condition, guard); }
static void wakeAll(HostCondition* condition) { pthread_cond_broadcast(condition); }

#endif

#endif
