// The process arguments, parsed once into a name-to-value map that any layer
// can query. It sits with the core because alerts consult it.
#pragma once
#include <map>
#include <string>

class UTL_cmdline {
 public:
  void init_unix(int argc, const char** argv);
  void init_common();
  int has_option(const char* name);
  std::string get_option(const char* name);
  void clear() { options.clear(); }

  std::map<std::string, std::string> options;
};
extern UTL_cmdline cmdline;

// The usage text printed for -h and --help.
extern const char* const kUsageText[];
void print_usage();
