#include "xvfb.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "shell/window.h"

void shell_drop_display() {
  if (!dpy) return;
  if (cx) {
    glXMakeCurrent(dpy, None, nullptr);
    glXDestroyContext(dpy, cx);
  }
  if (win) XDestroyWindow(dpy, win);
  if (vi) XFree(vi);
  XCloseDisplay(dpy);
  dpy = nullptr;
  win = 0;
  cx = nullptr;
  vi = nullptr;
}

bool xvfb_class::start(int width, int height) {
  int fds[2];
  if (pipe(fds) != 0) return false;
  const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
  const std::string fd_text = std::to_string(fds[1]);
  pid = fork();
  if (pid < 0) return false;
  if (pid == 0) {
    // The server must not outlive a test program that crashes.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    close(fds[0]);
    int null_fd = open("/dev/null", O_RDWR);
    dup2(null_fd, 0);
    dup2(null_fd, 1);
    dup2(null_fd, 2);
    execlp("Xvfb", "Xvfb", "-displayfd", fd_text.c_str(), "-screen", "0", screen.c_str(),
           "-nolisten", "tcp", "-noreset", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  // Xvfb writes its display number once it accepts connections.
  std::string number;
  pollfd p{fds[0], POLLIN, 0};
  while (poll(&p, 1, 10000) > 0) {
    char c;
    if (read(fds[0], &c, 1) != 1 || c == '\n') break;
    number += c;
  }
  close(fds[0]);
  if (number.empty()) {
    stop();
    return false;
  }
  name = ":" + number;
  const char* old = getenv("DISPLAY");
  had_display = old != nullptr;
  old_display = old ? old : "";
  setenv("DISPLAY", name.c_str(), 1);
  return true;
}

void xvfb_class::stop() {
  if (pid <= 0) return;
  shell_drop_display();
  kill(pid, SIGTERM);
  int status = 0;
  waitpid(pid, &status, 0);
  pid = -1;
  if (had_display)
    setenv("DISPLAY", old_display.c_str(), 1);
  else
    unsetenv("DISPLAY");
}
