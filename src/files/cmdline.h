// The process arguments, parsed once into a name-to-value map that any layer
// can query. It sits with the core because alerts consult it.
#pragma once
#include <map>
#include <string>

class UTL_cmdline {
 public:
  // Every argument after the program's name is "name" or "name=value"; the
  // first of a repeated name wins. Each is logged to xer. Exits with the
  // usage on -h or --help.
  void init_unix(int argc, char const* const* argv);
  // Prints the usage and exits 0 when help was asked for.
  void init_common();
  int has_option(const char* name);
  // An absent name yields "" and is entered, so has_option sees it afterwards.
  std::string get_option(const char* name);
  void clear() { options.clear(); }

  std::map<std::string, std::string> options;
};
extern UTL_cmdline cmdline;

// The usage text printed for -h and --help, one line per entry, closed by a
// null entry.
extern const char* const kUsageText[];
// The program's own options, printed after the usage text when set; closed
// by a null entry like it.
extern const char* const* usage_tail;
void print_usage();
