// Base of the window tests of the installer's screens: a private Xvfb with
// Mesa, the window and GL context, the built-in pictures and colours, as
// start-up leaves them. Screens can be drawn directly or run through the pump.
//
// Screenshots for the documentation: save_docs_screen writes what the back
// buffer holds now. Test cases that make them have "Screenshot" in their name,
// so `make screenshots` can run just those.
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

// Writes the back buffer as <name>.png into $ZEPHYRA_SCREENSHOT_DIR, or into
// the build folder when that is not set. Returns the path written, or an
// empty string on failure.
std::string save_docs_screen(const std::string& name);

// For screens that run their own loop: the next buffer swap of the pump first
// saves the back buffer under name, as save_docs_screen does.
void save_docs_screen_at_next_swap(const std::string& name);

// The output of a shell command.
std::string sh(const std::string& cmd);
// Files and links below root with their signatures, folders left out.
std::string listing(const std::string& root);
// zephyra-publish of product as release into www, with more options
// (mirrors, platform, previous). "" when it worked, else what it said.
std::string publish_release(const std::string& product, const std::string& release, const std::string& www,
                            const std::string& options);
// A preference file that reaches every server through the proxy at port.
std::string proxy_prefs(int port);

// Window pixels from the top left, as X gives them, for a point of the screen.
int window_x(float x);
int window_y(float y);
