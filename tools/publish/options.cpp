// Command line of zephyra-publish.
#include "publish/options.h"

namespace {

bool all_digits(const std::string& s) {
  if (s.empty()) return false;
  for (char c : s)
    if (c < '0' || c > '9') return false;
  return true;
}

// HOST,FOLDER,DESCRIPTION; the description is all after the second comma.
bool parse_mirror(const std::string& text, mirror_row& m, std::string& error) {
  size_t a = text.find(',');
  size_t b = a == std::string::npos ? a : text.find(',', a + 1);
  if (b == std::string::npos) {
    error = "--mirror \"" + text + "\": expected HOST,FOLDER,DESCRIPTION";
    return false;
  }
  m.host = text.substr(0, a);
  m.folder = text.substr(a + 1, b - a - 1);
  m.desc = text.substr(b + 1);
  // The installer joins the release straight onto the folder.
  if (m.folder.empty() || m.folder.front() != '/') m.folder.insert(0, "/");
  if (m.folder.back() != '/') m.folder += '/';
  std::string why = mirror_problem(m);
  if (!why.empty()) {
    error = "--mirror \"" + text + "\": " + why;
    return false;
  }
  return true;
}

// PATTERN=N; the pattern may itself hold "=", the number never does.
bool parse_platform(const std::string& text, platform_rule& r, std::string& error) {
  size_t eq = text.rfind('=');
  std::string num = eq == std::string::npos ? std::string() : text.substr(eq + 1);
  if (eq == std::string::npos || eq == 0 || !all_digits(num) || num.size() > 1 || num[0] > '6') {
    error = "--platform \"" + text + "\": expected PATTERN=N with N from 0 to 6";
    return false;
  }
  r.pattern = text.substr(0, eq);
  r.os = num[0] - '0';
  return true;
}

}  // namespace

parse_outcome parse_publish_args(const std::vector<std::string>& args, publish_options& opt,
                                 std::string& error) {
  opt = publish_options();
  opt.progress = true;
  bool have_product = false, have_release = false, have_out = false, have_previous = false;
  for (size_t i = 0; i < args.size(); ++i) {
    std::string name = args[i], value;
    bool inline_value = false;
    if (name == "--help" || name == "-h") return parse_help;
    if (name == "--version") return parse_version;
    if (name == "--quiet") {
      opt.progress = false;
      continue;
    }
    size_t eq = name.find('=');
    if (name.compare(0, 2, "--") == 0 && eq != std::string::npos) {
      value = name.substr(eq + 1);
      name = name.substr(0, eq);
      inline_value = true;
    }
    struct single {
      const char* name;
      std::string* target;
      bool* seen;
    } singles[] = {{"--product", &opt.product, &have_product},
                   {"--release", &opt.release, &have_release},
                   {"--out", &opt.out, &have_out},
                   {"--previous", &opt.previous, &have_previous}};
    bool known = name == "--mirror" || name == "--platform";
    for (const single& s : singles) known = known || name == s.name;
    if (!known) {
      error = "unknown option \"" + args[i] + "\" (see --help)";
      return parse_error;
    }
    if (!inline_value) {
      if (i + 1 >= args.size()) {
        error = name + " needs a value (see --help)";
        return parse_error;
      }
      value = args[++i];
    }
    if (name == "--mirror") {
      mirror_row m;
      if (!parse_mirror(value, m, error)) return parse_error;
      opt.mirrors.push_back(m);
      continue;
    }
    if (name == "--platform") {
      platform_rule r;
      if (!parse_platform(value, r, error)) return parse_error;
      opt.rules.push_back(r);
      continue;
    }
    for (const single& s : singles) {
      if (name != s.name) continue;
      if (*s.seen) {
        error = name + " given twice";
        return parse_error;
      }
      if (value.empty()) {
        error = name + " needs a value (see --help)";
        return parse_error;
      }
      *s.seen = true;
      *s.target = value;
    }
  }
  if (!have_product || !have_release || !have_out) {
    error = std::string("missing ") + (!have_product ? "--product" : !have_release ? "--release" : "--out") +
            " (see --help)";
    return parse_error;
  }
  return parse_run;
}

std::string publish_help() {
  return R"(zephyra-publish: turn a product folder into a mirror the Zephyra installer serves from.

usage: zephyra-publish --product DIR --release NAME --out ROOT
                       [--previous LIST] [--mirror HOST,FOLDER,DESCRIPTION]...
                       [--platform PATTERN=N]... [--quiet]
       zephyra-publish --version
Every option may also be written --option=value.

  --product DIR     The product folder. Its own name is the top folder of every
                    path in the list (Zephyra/Resources/...). Files and symbolic
                    links are published; a link is stored as a link.
  --release NAME    The release name, e.g. 8.60r2. It names the release's folder
                    on the mirror, so it may not hold ":", "/" or "\".
  --out ROOT        The mirror root. Written there:
                      ROOT/NAME/directory.txt.zip    the directory list
                      ROOT/NAME/TOP/PATH.zip         one archive per file
                      ROOT/serverlist.txt            only with --mirror
  --previous LIST   The previous release's directory.txt or directory.txt.zip.
                    Every path keeps its earlier rows above its new one, so the
                    installer recognises an untouched old file; a path that is
                    gone gets a GONE row. Archives beside LIST are served again
                    (hard-linked) for files that are unchanged.
  --mirror HOST,FOLDER,DESCRIPTION
                    A mirror for the server list, in the order given (the
                    installer favours the first ones; at most 10). FOLDER is the
                    web path of ROOT on that host; the description is all after
                    the second comma and may hold blanks and commas. Without
                    --mirror no server list is written.
  --platform PATTERN=N
                    Files whose path inside the product folder matches the
                    shell pattern get platform N; the first matching rule wins,
                    other files get 0. "*" also matches "/", so "bin/*" covers
                    the whole bin folder. N: 0 every platform, 1 Macintosh,
                    2 Windows, 3 Linux generic x86, 4 Linux Pentium 3,
                    5 Linux Athlon XP, 6 all three Linux choices.
  --quiet           No progress line while packing.
  --version         The program's version and build.
  --help            This text.

Nothing is visible on the mirror until everything is ready: files are written
under temporary names and renamed into place at the end. On any error the run
stops, says which file and why, and leaves the mirror as it was.

Example:
  zephyra-publish --product build/Zephyra --release 8.60r2 --out /srv/mirror \
      --previous /srv/mirror/8.50/directory.txt.zip \
      --mirror "mirror1.vantrell.example,/pub/zephyra/,Mirror one, Europe" \
      --platform "*.exe=2" --platform "*.dll=2" --platform "bin/linux/*=6"
)";
}
