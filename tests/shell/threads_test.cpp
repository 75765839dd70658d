// The worker pool, its queues and the processor count.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "files/alert.h"
#include "shell/threads.h"
#include "support.h"

namespace {

long task_count() {
  std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

TEST(ProcessorCount, CountsModelNameLinesAndFallsBackToOne) {
  const std::string dir = make_temp_dir(), path = dir + "cpuinfo";
  // Only lines that begin with the key count; a machine that lists none, or
  // whose file can't be read, gets one.
  const struct { const char* text; int count; } cases[] = {
      {"processor\t: 0\nmodel name\t: A\nprocessor\t: 1\nmodel name\t: A\n"
       "model name\t: A\n  model name indented\nflags\t: model name\n", 3},
      {"processor\t: 0\n", 1},
      {nullptr, 1}};
  for (const auto& c : cases) {
    unlink(path.c_str());
    if (c.text) std::ofstream(path) << c.text;
    EXPECT_EQ(c.count, UTL_count_processors_in(path.c_str())) << (c.text ? c.text : "missing");
  }
  remove_tree(dir);
}

TEST(MessageQueue, KeepsOrderWakesAWaitingReaderAndTimesOut) {
  UTL_message_queue* q = nullptr;
  UTL_message_queue_create(&q);
  EXPECT_EQ(nullptr, UTL_message_queue_read(q, 50));   // nothing arrives: null
  int a = 1, b = 2, c = 3;
  for (int* m : {&a, &b}) UTL_message_queue_write(q, m);
  EXPECT_EQ(&a, UTL_message_queue_read(q, -1));
  EXPECT_EQ(&b, UTL_message_queue_read(q, 0));
  // A reader blocked for ever is woken by a later write from another thread.
  std::thread writer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    UTL_message_queue_write(q, &c);
  });
  EXPECT_EQ(&c, UTL_message_queue_read(q, -1));
  writer.join();
  UTL_message_queue_destroy(q);
}

std::atomic<int> arrived{0};

// Returns once all n calls are held at the same time, or after 5 s.
void* wait_for_all(void* n) {
  ++arrived;
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (arrived.load() < *static_cast<int*>(n) && std::chrono::steady_clock::now() < give_up)
    std::this_thread::yield();
  return reinterpret_cast<void*>(long(arrived.load()));
}

TEST(WorkerPool, OneWorkerPerProcessorRunningTogetherAndAllStopAtShutdown) {
  const long before = task_count();
  THREAD_init();
  int n = UTL_count_processors();
  EXPECT_EQ(before + n, task_count());
  // n calls that each wait for the others all see n only if n workers run at once.
  arrived = 0;
  std::vector<THREAD_call*> calls;
  for (int i = 0; i < n; ++i) calls.push_back(THREAD_run_async(wait_for_all, &n));
  for (THREAD_call* c : calls) {
    while (!THREAD_is_done(c, 100)) {
    }
    EXPECT_EQ(n, reinterpret_cast<long>(THREAD_cleanup(c))) << "calls did not run side by side";
  }
  THREAD_shutdown();
  EXPECT_EQ(before, task_count());
}

void* raise_alert(void*) {
  MACIBM_alert(0, "worker text one", "worker text two", "", "", alert_warning);
  return nullptr;
}

TEST(WorkerPool, AnAlertInAWorkerReachesTheCallerAsAFatalAlert) {
  child_result r = run_in_child([] {
    THREAD_init();
    THREAD_call* call = THREAD_run_async(raise_alert, nullptr);
    // Even a warning raised on a worker ends the process once the caller learns of it.
    for (int i = 0; i < 100; ++i) THREAD_is_done(call, 50);
    printf("survived\n");
    return 0;
  });
  EXPECT_EQ(SIGABRT, r.signal) << r.out;
  EXPECT_NE(std::string::npos, r.out.find("worker text one\n\nworker text two"));
  EXPECT_EQ(std::string::npos, r.out.find("survived"));
}

}  // namespace
