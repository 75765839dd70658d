#include "files/cmdline.h"

#include <cstdio>
#include <cstdlib>

#include "files/log.h"

UTL_cmdline cmdline;

// The text serves the whole family of programs, so it lists options this
// one ignores and leaves out some it reads; it is kept as it stands.
const char* const kUsageText[] = {
    "Usage: Zephyra [options...]",
    "",
    "Zephyra can take a number of command-line flags, in the form of --flag or",
    "--flag=value.  OpenGL options are available for all Zephyra-related",
    "applications; the frame-rate test is only for Zephyra itself.  Here is a listof current "
    "flags:",
    "",
    "--help",
    "-h",
    "Prints this message listing all command-line options, then quits.",
    "",
    "OPTIONS TO DISABLE HARDWARE ACCELERATION",
    "Normally Zephyra uses all available hardware capabilities to maximize framerate.",
    "These options force Zephyra not to use some aspects of hardware acceleration.",
    "This hurts framerate, but can sometimes allow you to work around driver bugs.",
    "--no_vbos",
    "This disables the use of vertex buffer objects, as defined by ",
    "GL_ARB_vertex_buffer_object.  VBOs are used to accelerate all aspects of Zephyra",
    "drawing.",
    "--no_sprites",
    "This disables the use of point sprites, as defined by GL_ARB_point_sprite.",
    "Point sprites are used to accelerate runway lights, among other things.",
    "--no_pixel_counters",
    "This disables pixel counters, as defined by GL_ARB_occlusion_query.  Pixel",
    "counters are used to calculate sun glare, among other things.",
    "--no_aniso_filtering",
    "This disables anisotropic filtering of textures, as defined by",
    "GL_EXT_texture_filter_anisotropic.  Anisotropic filtering is used to make",
    "runways look better.",
    "--no_hw_mipmap",
    "This disables hardware accelerated mipmap-creation, as defined by",
    "GL_SGIS_generate_mipmap.  Zephyra will still use mipmapping, but it will",
    "create the mipmap images on the CPU instead of the GPU.",
    "--no_fshaders",
    "Disable the use of fragment shaders, even on hardware that reports having them.",
    "--no_vshaders",
    "Disable the use of vertex shaders, even on hardware that reports having them.",
    "",
    "OPTIONS TO ENABLE INCOMPATIBLE HARDWARE ACCELERATION",
    "Zephyra will in a few cases intentionally disable hardware acceleration",
    "to work around known driver compatibility bugs.  You can force Zephyra",
    "to use the feature anyway (if the card supports it) with these options,",
    "but they may cause the sim to crash.",
    "--use_vbos",
    "Forces the use of VBOs, even on drivers where we at one point found",
    "them to be unstable.",
    "--use_sprites",
    "Forces the use of point sprites, even on drivers where they cause bugs.",
    "--use_fshaders",
    "Force the use of fragment shaders, even if they would not normally be used.",
    "--use_vshaders",
    "Force the use of vertex shaders, even if they would not be used.",
    "--ati_always_fast_lights",
    "On some ATI hardware, Zephyra only partly accelerates lights to avoid",
    "texturing artifacts.  This overrides Zephyra and accelerates all lights.",
    "--force_run",
    "Zephyra will not run on a machine that does not appear to have some",
    "minimum requirements, like at least two texture units.  This will allow",
    "Zephyra to run no matter what the hardware looks like.  Please note that",
    "most of the time if Zephyra out-right refuses to run, it will probably",
    "crash later if --force_run is used.",
    "",
    "FRAMERATE TEST",
    "--fps_test=n",
    "This runs Zephyra in frame-rate test mode.  The number indicates a framerate",
    "test number, which is 3 digits indicating a combination of camera angle,",
    "scenery complexity, and weather settings.  Zephyra will run for 90 seconds",
    "and quit, outputting 3 framerates to the Log.txt file for panel view,",
    "no-panel view, and paused no-panel view.  This can be used to get repeatable",
    "performance measurements without changing preferences.  (The preferences",
    "file is ignored when the framerate test is in effect.)",
    "--require_fps=n",
    "When used after --fps_test this puts Zephyra into a pass-fail mode.  The",
    "sim will run only one 30 second test with the flight model paused.  The",
    "sim will then exit with 0 if the measured fps is higher than N or 1",
    "if the fps is lower.  This can be used to create a shell script that will",
    "automatically detect whether Zephyra performance is as expected.",
    nullptr,
};

const char* const* usage_tail = nullptr;

void print_usage() {
  for (int i = 0; kUsageText[i]; ++i) puts(kUsageText[i]);
  for (int i = 0; usage_tail && usage_tail[i]; ++i) puts(usage_tail[i]);
}

void UTL_cmdline::init_unix(int argc, char const* const* argv) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i] ? argv[i] : "";
    std::string name = arg, value;
    size_t eq = arg.find('=');
    if (eq != std::string::npos) {
      name = arg.substr(0, eq);
      value = arg.substr(eq + 1);
    }
    if (options.find(name) == options.end()) {
      options[name] = value;
      xer << "     '" << name << "'='" << value << "'\n";
    } else {
      xer << "WARNING: command line option " << name << "=" << value << "included twice.\n";
    }
  }
  init_common();
}

void UTL_cmdline::init_common() {
  if (has_option("-h") || has_option("--help")) {
    print_usage();
    exit(0);
  }
}

int UTL_cmdline::has_option(const char* name) { return options.count(name) ? 1 : 0; }

std::string UTL_cmdline::get_option(const char* name) { return options[name]; }
