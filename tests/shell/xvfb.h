// A private Xvfb on a display number it picks, with DISPLAY set while it runs.
#pragma once
#include <string>

class xvfb_class {
 public:
  // One screen of width x height x 24; returns once it answers.
  bool start(int width, int height);
  // Closes the shell's connection and window, then stops the server.
  void stop();
  ~xvfb_class() { stop(); }

 private:
  int pid = -1;
  std::string old_display;
  bool had_display = false;
};
