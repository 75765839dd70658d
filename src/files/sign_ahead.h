// Signs a list of files on every core ahead of a loop that takes their
// signatures in list order. Workers only read files: any file whose answer
// could involve the log or an alert (a path too long, a device, a pipe) is
// left to the taker, which signs it with calc_file_md5 on its own thread, so
// log lines and alerts come out in list order exactly as from a plain loop.
#pragma once
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Threads worth using for signing: the processors this process may run on.
int sign_thread_count();

// Signs the file at path (any separator style) by reading it in blocks
// through buf. 0 with sig set, 20006 when it can't be read (sig untouched),
// or -1 when only calc_file_md5 on the main thread may answer. Stops early
// with 20006 once *stop is set. Safe on any thread.
int sign_file_quietly(const std::string& path, std::vector<unsigned char>& buf, std::string& sig,
                      const std::atomic<bool>* stop);

class sign_ahead_class {
 public:
  // threads workers sign ahead; with 1 or less, take() signs each file.
  sign_ahead_class(std::vector<std::string> paths, int threads);
  // Stops the workers and waits for them, also when a take() threw.
  ~sign_ahead_class();
  sign_ahead_class(const sign_ahead_class&) = delete;
  sign_ahead_class& operator=(const sign_ahead_class&) = delete;

  // The answer of calc_file_md5(paths[i], sig). Calls must come in
  // increasing i from one thread.
  int take(size_t i, std::string& sig);

  const std::string& path(size_t i) const { return paths_[i]; }

 private:
  enum : uint8_t { pending = 0, done_ok, done_unreadable, done_by_taker };
  struct slot {
    std::atomic<uint8_t> state{pending};
    char sig[32];
  };

  void work();
  // Claims the next unclaimed file and signs it; false when none is left.
  bool sign_next(std::vector<unsigned char>& buf);
  void sign(size_t i, std::vector<unsigned char>& buf);

  std::vector<std::string> paths_;
  std::unique_ptr<slot[]> slots_;
  std::atomic<size_t> next_{0};
  std::atomic<bool> stop_{false};
  std::mutex lock_;
  std::condition_variable finished_;
  std::vector<unsigned char> taker_buf_;
  std::vector<std::thread> threads_;
};
