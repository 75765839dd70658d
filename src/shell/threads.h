// The worker pool: one thread per processor running queued calls, over thin
// wrappers of POSIX threads, mutexes and a blocking message queue.
#pragma once
#include <pthread.h>

#include <list>

#include "files/alert.h"

struct UTL_message_queue {
  pthread_mutex_t lock;
  pthread_cond_t cond;
  std::list<void*> messages;
  int waiting = 0;
};

struct THREAD_call {
  THREAD_call* next_free = nullptr;
  UTL_message_queue* done_queue = nullptr;
  pthread_mutex_t lock;
  void* (*func)(void*) = nullptr;
  void* arg = nullptr;
  void* result = nullptr;
  int is_done = 0;
  int has_exception = 0;
  exce_class exception;
  unsigned cookie = 0;
};

void THREAD_init();
void THREAD_shutdown();
int THREAD_is_inited();
int THREAD_is_main_thread();
THREAD_call* THREAD_run_async(void* (*func)(void*), void* arg);
int THREAD_is_done(THREAD_call* call, int timeout_ms);
void* THREAD_cleanup(THREAD_call* call);
// Workers running now (0 before init and after shutdown).
int THREAD_worker_count();

unsigned long UTL_get_current_thread();
int UTL_count_processors();
// The same count from another file; the pool always reads /proc/cpuinfo.
int UTL_count_processors_in(const char* path);
void UTL_thread_create(void* (*func)(void*), void* arg, unsigned long* id, unsigned long* join,
                       unsigned long*);
void UTL_thread_join(unsigned long* id, unsigned long* join);
void UTL_thread_murder(unsigned long* id);

void UTL_critical_section_create(pthread_mutex_t* m);
void UTL_critical_section_destroy(pthread_mutex_t* m);
void UTL_critical_section_lock(pthread_mutex_t* m);
void UTL_critical_section_unlock(pthread_mutex_t* m);

void UTL_message_queue_create(UTL_message_queue** queue);
void UTL_message_queue_destroy(UTL_message_queue* queue);
void UTL_message_queue_write(UTL_message_queue* queue, void* message);
// Waits up to timeout_ms (-1: for ever); null when nothing arrived in time.
void* UTL_message_queue_read(UTL_message_queue* queue, int timeout_ms);
