#include "xvfb.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "shell/window.h"

bool xvfb_class::start(int width, int height) {
  int fds[2];
  if (pipe(fds) != 0) return false;
  const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
  const std::string fd_text = std::to_string(fds[1]);
  pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);   // not to outlive a test program that crashes
    int null_fd = open("/dev/null", O_RDWR);
    dup2(null_fd, 1);
    dup2(null_fd, 2);
    execlp("Xvfb", "Xvfb", "-displayfd", fd_text.c_str(), "-screen", "0", screen.c_str(),
           "-nolisten", "tcp", "-noreset", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  // Xvfb writes its display number and a line feed once it accepts connections.
  std::string number;
  pollfd p{fds[0], POLLIN, 0};
  for (char c; pid > 0 && poll(&p, 1, 10000) > 0 && read(fds[0], &c, 1) == 1 && c != '\n';)
    number += c;
  close(fds[0]);
  if (number.empty()) {
    stop();
    return false;
  }
  const char* old = getenv("DISPLAY");
  had_display = old != nullptr;
  old_display = old ? old : "";
  setenv("DISPLAY", (":" + number).c_str(), 1);
  return true;
}

void xvfb_class::stop() {
  if (pid <= 0) return;
  if (dpy) {   // the shell's window, context and connection go first
    if (cx) glXMakeCurrent(dpy, None, nullptr), glXDestroyContext(dpy, cx);
    if (win) XDestroyWindow(dpy, win);
    if (vi) XFree(vi);
    XCloseDisplay(dpy);
    dpy = nullptr, win = 0, cx = nullptr, vi = nullptr;
  }
  kill(pid, SIGTERM);
  waitpid(pid, nullptr, 0);
  pid = -1;
  if (had_display)
    setenv("DISPLAY", old_display.c_str(), 1);
  else
    unsetenv("DISPLAY");
}
