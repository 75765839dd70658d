#include "files/sign_ahead.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <cstring>
#include <system_error>

#include "files/paths.h"
#include "files/signature.h"

namespace {

// Read size: big enough that the system calls cost nothing beside the
// digest, small enough to stay in the core's own cache.
const size_t kBlock = 128 * 1024;

}  // namespace

int sign_thread_count() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0) return CPU_COUNT(&set);
  const unsigned n = std::thread::hardware_concurrency();
  return n ? (int)n : 1;
}

int sign_file_quietly(const std::string& path, std::vector<unsigned char>& buf, std::string& sig,
                      const std::atomic<bool>* stop) {
  // Past this length set_dir_chars raises a fatal alert, which is the taker's.
  if (app_path.size() + path.size() > kMaxPath) return -1;
  // The same two passes of the separator rule as calc_file_md5 and
  // xmap_class; without a prefix the second finds nothing left to do.
  std::string full = path;
  set_dir_chars(full);
  if (!app_path.empty()) {
    full = app_path + full;
    set_dir_chars(full);
  }

  // Non-blocking, so that a pipe is only looked at here; the taker opens it
  // the ordinary way.
  const int fd = open(full.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return 20006;
  struct stat st;
  if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    close(fd);
    return 20006;
  }
  if (!S_ISREG(st.st_mode)) {
    // Devices and pipes may log or alert when mapped.
    close(fd);
    return -1;
  }
  if (buf.size() < kBlock) buf.resize(kBlock);
  if ((uint64_t)st.st_size > buf.size()) posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);

  // The size taken when opening is what a mapping would cover.
  uint64_t left = (uint64_t)st.st_size;
  MD5_CTX ctx;
  MD5Init(&ctx);
  int result = 0;
  while (left) {
    if (stop && stop->load(std::memory_order_relaxed)) {
      result = 20006;
      break;
    }
    const ssize_t n = read(fd, buf.data(), left < buf.size() ? (size_t)left : buf.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      result = 20006;
      break;
    }
    if (n == 0) break;  // cut short since it was opened: sign what is there
    MD5UpdateWide(&ctx, buf.data(), (uint32_t)n);
    left -= (uint64_t)n;
  }
  close(fd);
  if (result) return result;
  MD5Final(&ctx);

  static const char kHex[] = "0123456789abcdef";
  char out[32];
  for (int i = 0; i < 16; ++i) {
    out[2 * i] = kHex[ctx.digest[i] >> 4];
    out[2 * i + 1] = kHex[ctx.digest[i] & 15];
  }
  sig.assign(out, 32);
  return 0;
}

sign_ahead_class::sign_ahead_class(std::vector<std::string> paths, int threads)
    : paths_(std::move(paths)), slots_(new slot[paths_.size()]) {
  // One worker per thread asked for: the taker mostly waits, and signs only
  // the file it needs when no worker has come to it yet. Alone, it signs all.
  const size_t workers = threads > 1 ? std::min((size_t)threads, paths_.size()) : 0;
  try {
    for (size_t t = 0; t < workers; ++t) threads_.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    // Fewer workers than asked: the taker signs whatever they don't.
  }
}

sign_ahead_class::~sign_ahead_class() {
  stop_ = true;
  for (std::thread& t : threads_) t.join();
}

void sign_ahead_class::work() {
  std::vector<unsigned char> buf;
  while (sign_next(buf)) {
  }
}

bool sign_ahead_class::sign_next(std::vector<unsigned char>& buf) {
  if (stop_.load(std::memory_order_relaxed)) return false;
  const size_t i = next_.fetch_add(1);
  if (i >= paths_.size()) return false;
  sign(i, buf);
  return true;
}

void sign_ahead_class::sign(size_t i, std::vector<unsigned char>& buf) {
  std::string sig;
  int r;
  try {
    r = sign_file_quietly(paths_[i], buf, sig, &stop_);
  } catch (...) {
    r = -1;  // out of memory, say: the taker's own road reports it
  }
  slot& s = slots_[i];
  if (r == 0) memcpy(s.sig, sig.data(), 32);
  {
    // Under the lock, so that a taker about to wait can't miss the change.
    std::lock_guard<std::mutex> hold(lock_);
    s.state.store(r == 0 ? done_ok : r == -1 ? done_by_taker : done_unreadable,
                  std::memory_order_release);
  }
  finished_.notify_all();
}

int sign_ahead_class::take(size_t i, std::string& sig) {
  slot& s = slots_[i];
  // Everything before i is claimed; when i is not, no worker has come to it.
  size_t unclaimed = i;
  if (next_.compare_exchange_strong(unclaimed, i + 1)) sign(i, taker_buf_);
  if (s.state.load(std::memory_order_acquire) == pending) {
    std::unique_lock<std::mutex> hold(lock_);
    finished_.wait(hold, [&] { return s.state.load(std::memory_order_acquire) != pending; });
  }
  switch (s.state.load(std::memory_order_acquire)) {
    case done_ok:
      sig.assign(s.sig, 32);
      return 0;
    case done_unreadable:
      return 20006;
    default:
      return calc_file_md5(paths_[i], sig);
  }
}
