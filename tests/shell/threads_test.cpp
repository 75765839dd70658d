// The worker pool, its queues and the processor count.
#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include "files/alert.h"
#include "files/log.h"
#include "shell/threads.h"
#include "support.h"

namespace {

int task_count() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/task")) {
    while (dirent* e = readdir(d))
      if (e->d_name[0] != '.') ++n;
    closedir(d);
  }
  return n;
}

std::string write_cpuinfo(const std::string& dir, const std::string& text) {
  std::string path = dir + "cpuinfo";
  std::ofstream(path) << text;
  return path;
}

TEST(ProcessorCount, CountsModelNameLinesAndFallsBackToOne) {
  std::string dir = make_temp_dir();
  // Only lines that begin with the key count; "processor" lines do not.
  EXPECT_EQ(3, UTL_count_processors_in(write_cpuinfo(dir,
      "processor\t: 0\nmodel name\t: A\nprocessor\t: 1\nmodel name\t: A\n"
      "model name\t: A\n  model name indented\nflags\t: model name\n").c_str()));
  // A machine that lists no processors, and one whose file can't be read, get one.
  EXPECT_EQ(1, UTL_count_processors_in(write_cpuinfo(dir, "processor\t: 0\n").c_str()));
  EXPECT_EQ(1, UTL_count_processors_in((dir + "missing").c_str()));
  // The real count equals the model name lines the kernel lists.
  int expected = 0;
  std::ifstream in("/proc/cpuinfo");
  for (std::string line; std::getline(in, line);)
    if (line.compare(0, 10, "model name") == 0) ++expected;
  EXPECT_EQ(expected > 0 ? expected : 1, UTL_count_processors());
  remove_tree(dir);
}

TEST(MessageQueue, KeepsOrderWakesAWaitingReaderAndTimesOut) {
  UTL_message_queue* q = nullptr;
  UTL_message_queue_create(&q);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(nullptr, UTL_message_queue_read(q, 50));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(45));
  int a = 1, b = 2, c = 3;
  UTL_message_queue_write(q, &a);
  UTL_message_queue_write(q, &b);
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
std::atomic<int> release{0};

// Returns only once all workers hold a call at the same time.
void* wait_for_all(void* arg) {
  const int needed = *static_cast<int*>(arg);
  ++arrived;
  while (arrived.load() < needed && !release.load()) std::this_thread::yield();
  return arg;
}

void* twice(void* arg) {
  long v = reinterpret_cast<long>(arg);
  return reinterpret_cast<void*>(v * 2);
}

TEST(WorkerPool, OneWorkerPerProcessorRunningTogetherAndAllStopAtShutdown) {
  const std::string dir = make_temp_dir();
  log_open(dir + "Log.txt");
  const int before = task_count();
  THREAD_init();
  const int n = UTL_count_processors();
  EXPECT_EQ(n, THREAD_worker_count());
  EXPECT_EQ(before + n, task_count());
  EXPECT_TRUE(THREAD_is_inited());
  EXPECT_TRUE(THREAD_is_main_thread());

  // n calls that each wait for the others finish only if n workers run at once.
  arrived = 0;
  release = 0;
  std::vector<THREAD_call*> calls;
  int needed = n;
  for (int i = 0; i < n; ++i) calls.push_back(THREAD_run_async(wait_for_all, &needed));
  for (THREAD_call* c : calls) {
    int spins = 0;
    while (!THREAD_is_done(c, 100) && ++spins < 50) {
    }
    EXPECT_LT(spins, 50) << "calls did not run side by side";
  }
  release = 1;
  for (THREAD_call* c : calls) {
    while (!THREAD_is_done(c, 100)) {
    }
    EXPECT_EQ(&needed, THREAD_cleanup(c));
  }

  // A finished record is reused, with a fresh cookie and result.
  THREAD_call* first = THREAD_run_async(twice, reinterpret_cast<void*>(21));
  const unsigned cookie = first->cookie;
  while (!THREAD_is_done(first, 100)) {
  }
  EXPECT_EQ(reinterpret_cast<void*>(42), THREAD_cleanup(first));
  THREAD_call* again = THREAD_run_async(twice, reinterpret_cast<void*>(5));
  EXPECT_EQ(first, again);
  EXPECT_NE(cookie, again->cookie);
  while (!THREAD_is_done(again, 100)) {
  }
  EXPECT_TRUE(THREAD_is_done(again, 0));   // stays done once seen
  EXPECT_EQ(reinterpret_cast<void*>(10), THREAD_cleanup(again));

  THREAD_shutdown();
  EXPECT_FALSE(THREAD_is_inited());
  EXPECT_EQ(0, THREAD_worker_count());
  EXPECT_EQ(before, task_count());
  xer.close();
  const std::string log = read_file(dir + "Log.txt");
  EXPECT_NE(std::string::npos, log.find("CPU count = " + std::to_string(n) + "\n"));
  EXPECT_NE(std::string::npos, log.find("Clean exit from threads.\n"));
  remove_tree(dir);
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
  EXPECT_NE(std::string::npos, r.out.find("Cirrovan Error:"));
  EXPECT_NE(std::string::npos, r.out.find("worker text one\n\nworker text two"));
  EXPECT_EQ(std::string::npos, r.out.find("survived"));
}

}  // namespace
