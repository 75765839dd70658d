#include "shell/threads.h"

#include <errno.h>
#include <sys/time.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "files/log.h"

namespace {

unsigned long main_thread = 0;
int threads_inited = 0;
UTL_message_queue* call_queue = nullptr;
std::vector<unsigned long> worker_threads;
std::vector<unsigned long> worker_threads_join;
THREAD_call* free_calls = nullptr;
pthread_mutex_t free_calls_lock;
unsigned next_cookie = 0;

// The message that tells a worker to end.
void* const kQuit = reinterpret_cast<void*>(-1);

void os_error(const char* call, int err, int line) {
  char number[64];
  snprintf(number, sizeof(number), "err=%f", static_cast<double>(err));
  __MACIBM_alert(0, std::string("\"") + call + "\" OS error", number, "", "", alert_fatal,
                 __FILE__, line);
}

void check(int err, const char* call, int line) {
  if (err) os_error(call, err, line);
}

void* xtaskproc(void*) {
  for (;;) {
    void* message = UTL_message_queue_read(call_queue, -1);
    if (message == kQuit) return nullptr;
    THREAD_call* call = static_cast<THREAD_call*>(message);
    void* result = nullptr;
    try {
      result = call->func(call->arg);
    } catch (exce_class& e) {
      UTL_critical_section_lock(&call->lock);
      call->has_exception = 1;
      call->exception = e;
      UTL_critical_section_unlock(&call->lock);
    }
    UTL_critical_section_lock(&call->lock);
    call->result = result;
    UTL_critical_section_unlock(&call->lock);
    UTL_message_queue_write(call->done_queue,
                            reinterpret_cast<void*>(static_cast<unsigned long>(call->cookie)));
  }
}

bool on_worker_thread() { return threads_inited && !THREAD_is_main_thread(); }

void raise_call_exception(const THREAD_call* call) {
  const exce_class& e = call->exception;
  __MACIBM_alert(0, e.line1, e.line2, e.line3, e.line4, alert_fatal, e.file, e.line);
}

}  // namespace

unsigned long UTL_get_current_thread() { return static_cast<unsigned long>(pthread_self()); }

int UTL_count_processors_in(const char* path) {
  FILE* f = fopen(path, "r");
  if (!f) {
    fprintf(stderr,
            "LINUX: I could not open /proc/cpuinfo to determine how many CPUs you have!\n"
            "Please make sure that I have read access to that file if you want SMP\n"
            "support. I'll assume for right now that you have one CPU. The error that\n"
            "I got was:\n\t%s\n",
            strerror(errno));
    xer << "Linux CPU detect failed -- /proc/cpuinfo couldn't be opened\n";
    return 1;
  }
  char line[512];
  int count = 0;
  while (fgets(line, sizeof(line), f))
    if (strncmp(line, "model name", 10) == 0) ++count;
  fclose(f);
  if (count > 0) return count;
  fprintf(stderr, "LINUX: I found no processors in /proc/cpuinfo; I'll assume you have one.\n");
  xer << "Linux CPU detect failed -- no processors in /proc/cpuinfo\n";
  return 1;
}

int UTL_count_processors() { return UTL_count_processors_in("/proc/cpuinfo"); }

void UTL_thread_create(void* (*func)(void*), void* arg, unsigned long* id, unsigned long* join,
                       unsigned long*) {
  pthread_t t;
  check(pthread_create(&t, nullptr, func, arg), "pthread_create", __LINE__);
  *id = static_cast<unsigned long>(t);
  if (join) *join = static_cast<unsigned long>(t);
}

void UTL_thread_join(unsigned long* id, unsigned long*) {
  check(pthread_join(static_cast<pthread_t>(*id), nullptr), "pthread_join", __LINE__);
}

void UTL_thread_murder(unsigned long* id) {
  check(pthread_cancel(static_cast<pthread_t>(*id)), "pthread_cancel", __LINE__);
}

void UTL_critical_section_create(pthread_mutex_t* m) {
  check(pthread_mutex_init(m, nullptr), "::pthread_mutex_init", __LINE__);
}
void UTL_critical_section_destroy(pthread_mutex_t* m) {
  check(pthread_mutex_destroy(m), "pthread_mutex_destroy", __LINE__);
}
void UTL_critical_section_lock(pthread_mutex_t* m) {
  check(pthread_mutex_lock(m), "pthread_mutex_lock", __LINE__);
}
void UTL_critical_section_unlock(pthread_mutex_t* m) {
  check(pthread_mutex_unlock(m), "pthread_mutex_unlock", __LINE__);
}

void UTL_message_queue_create(UTL_message_queue** queue) {
  UTL_message_queue* q = new UTL_message_queue;
  UTL_critical_section_create(&q->lock);
  check(pthread_cond_init(&q->cond, nullptr), "pthread_cond_init", __LINE__);
  *queue = q;
}

void UTL_message_queue_destroy(UTL_message_queue* queue) {
  if (!queue) return;
  check(pthread_cond_destroy(&queue->cond), "pthread_cond_destroy", __LINE__);
  UTL_critical_section_destroy(&queue->lock);
  delete queue;
}

void UTL_message_queue_write(UTL_message_queue* queue, void* message) {
  UTL_critical_section_lock(&queue->lock);
  queue->messages.push_back(message);
  if (queue->waiting > 0) check(pthread_cond_signal(&queue->cond), "pthread_cond_signal", __LINE__);
  UTL_critical_section_unlock(&queue->lock);
}

void* UTL_message_queue_read(UTL_message_queue* queue, int timeout_ms) {
  timespec deadline{};
  if (timeout_ms >= 0) {
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += timeout_ms / 1000;
    deadline.tv_nsec += (timeout_ms % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
      deadline.tv_sec += 1;
      deadline.tv_nsec -= 1000000000L;
    }
  }
  UTL_critical_section_lock(&queue->lock);
  while (queue->messages.empty()) {
    ++queue->waiting;
    int err = timeout_ms < 0 ? pthread_cond_wait(&queue->cond, &queue->lock)
                             : pthread_cond_timedwait(&queue->cond, &queue->lock, &deadline);
    --queue->waiting;
    if (err == ETIMEDOUT) break;
    check(err, timeout_ms < 0 ? "pthread_cond_wait" : "pthread_cond_timedwait", __LINE__);
  }
  void* message = nullptr;
  if (!queue->messages.empty()) {
    message = queue->messages.front();
    queue->messages.pop_front();
  }
  UTL_critical_section_unlock(&queue->lock);
  return message;
}

void THREAD_init() {
  main_thread = UTL_get_current_thread();
  UTL_critical_section_create(&free_calls_lock);
  UTL_message_queue_create(&call_queue);
  const int count = UTL_count_processors();
  xer << "CPU count = " << count << "\n";
  for (int i = 0; i < count; ++i) {
    unsigned long id = 0, join = 0;
    UTL_thread_create(xtaskproc, nullptr, &id, &join, nullptr);
    worker_threads.push_back(id);
    worker_threads_join.push_back(join);
  }
  alert_hooks.on_worker_thread = on_worker_thread;
  threads_inited = 1;
}

void THREAD_shutdown() {
  if (!threads_inited) return;
  for (size_t i = 0; i < worker_threads.size(); ++i) UTL_message_queue_write(call_queue, kQuit);
  for (size_t i = 0; i < worker_threads.size(); ++i)
    UTL_thread_join(&worker_threads[i], &worker_threads_join[i]);
  worker_threads.clear();
  worker_threads_join.clear();
  threads_inited = 0;

  while (free_calls) {
    THREAD_call* call = free_calls;
    free_calls = call->next_free;
    UTL_message_queue_destroy(call->done_queue);
    UTL_critical_section_destroy(&call->lock);
    delete call;
  }
  UTL_message_queue_destroy(call_queue);
  call_queue = nullptr;
  UTL_critical_section_destroy(&free_calls_lock);
  xer << "Clean exit from threads.\n";
}

int THREAD_is_inited() { return threads_inited; }

int THREAD_is_main_thread() { return UTL_get_current_thread() == main_thread; }

int THREAD_worker_count() { return static_cast<int>(worker_threads.size()); }

THREAD_call* THREAD_run_async(void* (*func)(void*), void* arg) {
  THREAD_call* call = nullptr;
  UTL_critical_section_lock(&free_calls_lock);
  next_cookie += 4;
  if (next_cookie == 0) next_cookie = 4;
  const unsigned cookie = next_cookie;
  if (free_calls) {
    call = free_calls;
    free_calls = call->next_free;
  }
  UTL_critical_section_unlock(&free_calls_lock);

  if (!call) {
    call = new THREAD_call;
    UTL_message_queue_create(&call->done_queue);
    UTL_critical_section_create(&call->lock);
  }
  call->next_free = nullptr;
  call->func = func;
  call->arg = arg;
  call->cookie = cookie;
  call->result = nullptr;
  call->is_done = 0;
  call->has_exception = 0;
  UTL_message_queue_write(call_queue, call);
  return call;
}

int THREAD_is_done(THREAD_call* call, int timeout_ms) {
  UTL_critical_section_lock(&call->lock);
  if (call->has_exception) raise_call_exception(call);
  UTL_critical_section_unlock(&call->lock);
  if (call->is_done) return 1;
  if (!UTL_message_queue_read(call->done_queue, timeout_ms)) return 0;
  UTL_critical_section_lock(&call->lock);
  call->is_done = 1;
  // The exception may have landed while we waited: report it now, not on a later poll.
  if (call->has_exception) raise_call_exception(call);
  UTL_critical_section_unlock(&call->lock);
  return 1;
}

void* THREAD_cleanup(THREAD_call* call) {
  if (!call->is_done)
    MACIBM_alert(0, "Thread cleanup called on not-done call.", "", "", "", alert_fatal);
  if (call->has_exception) raise_call_exception(call);
  void* result = call->result;
  UTL_critical_section_lock(&free_calls_lock);
  call->next_free = free_calls;
  free_calls = call;
  UTL_critical_section_unlock(&free_calls_lock);
  return result;
}
