// The publisher's command line.
#pragma once
#include <string>
#include <vector>

#include "publish/publish.h"

enum parse_outcome { parse_run, parse_help, parse_error, parse_version };

// Reads args (without the program name). Each option may be written
// "--name value" or "--name=value"; --mirror and --platform may repeat.
parse_outcome parse_publish_args(const std::vector<std::string>& args, publish_options& opt,
                                 std::string& error);

// The --help text.
std::string publish_help();
