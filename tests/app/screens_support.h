// Base of the screen tests: a private Xvfb with Mesa, the window, GL context,
// pictures and colours as start-up leaves them. Cases that save the
// documentation's pictures have "Screenshot" in their names.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xvfb.h"

class ScreenSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void SetUp() override;
  void TearDown() override;
  static inline xvfb_class* server = nullptr;
};

// The back buffer as <name>.png in $ZEPHYRA_SCREENSHOT_DIR (else the build
// folder): the path written, or "" on failure.
std::string save_docs_screen(const std::string& name);
// The same at the pump's next swap, for screens that run their own loop.
void save_docs_screen_at_next_swap(const std::string& name);

std::string sh(const std::string& cmd);  // a shell command's output
// Files and links below root with their signatures.
std::string listing(const std::string& root);
// zephyra-publish of product as release into www: "" or what it said.
std::string publish_release(const std::string& product, const std::string& release, const std::string& www,
                            const std::string& options);
// A preference file that reaches every server through the proxy at port.
std::string proxy_prefs(int port);

// Window pixels from the top left for a point of the screen.
int window_x(float x);
int window_y(float y);
