// A private X server for the window tests: Xvfb on a display number it picks
// itself, with DISPLAY set for this process while it runs.
#pragma once
#include <string>

class xvfb_class {
 public:
  // Starts Xvfb with one screen of width x height x 24; waits until it answers.
  bool start(int width, int height);
  // Closes the shell's connection and window, then stops the server.
  void stop();
  ~xvfb_class() { stop(); }

 private:
  int pid = -1;
  std::string old_display;
  bool had_display = false;
};
