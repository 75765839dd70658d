#include "files/listing.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <numeric>
#include <vector>

#include "files/alert.h"
#include "files/paths.h"

std::string wrk_path;
std::string g_file[kListSize];
std::string g_path_rel[kListSize];
int g_file_type[kListSize];

namespace {

struct ending_type {
  const char* ending;
  int type;
};
const ending_type kEndings[] = {{".AFL", 4},  {".WPN", 5},  {".ACF", 3},  {".OBJ", 7},
                                {".SIT", 9},  {".SMO", 10}, {".TXT", 11}, {".FMS", 12},
                                {".TRA", 14}, {".CAR", 15}, {".SPA", 16}};

bool is_sep(char c) { return c == '/' || c == ':' || c == '\\'; }

}  // namespace

int file_type_of(const std::string& name) {
  std::string upper = name;
  for (char& c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  for (const ending_type& e : kEndings) {
    const size_t n = strlen(e.ending);
    if (upper.size() >= n && upper.compare(upper.size() - n, n, e.ending) == 0) return e.type;
  }
  return 0;
}

int opensave_takeit(int index, int type) {
  const std::string& name = g_file[index];
  if (!name.empty() && name.back() == '/') {
    g_file_type[index] = 1;
    // The parent is reached through the path's parts; "." would lead nowhere.
    return name != "./" && name != "../";
  }
  g_file_type[index] = file_type_of(name);
  return type < 2 || g_file_type[index] == type;
}

int opensave_getitems(int type) {
  set_dir_chars(wrk_path);
  const std::string full = app_path + wrk_path;
  if (full.empty() || !is_sep(full.back())) {
    MACIBM_alert(0, "Working path does not appear to be a directory!",
                 "This is not consistent with my labelling practices!",
                 "I need to end all paths with the directory indicator!", full, alert_fatal);
    return 0;
  }
  int count = 0;
  if (DIR* dir = opendir(full.c_str())) {
    while (count < kListMax) {
      const dirent* e = readdir(dir);
      if (!e) break;
      struct stat st;
      // stat follows links: a link to a folder is a folder, a dangling one goes.
      if (stat((full + e->d_name).c_str(), &st) != 0) continue;
      g_file[count] = e->d_name;
      if ((st.st_mode & 0xF000) == 0x4000) g_file[count] += '/';
      if (opensave_takeit(count, type)) ++count;
    }
    closedir(dir);
  }

  std::vector<int> order(count);
  std::iota(order.begin(), order.end(), 0);
  std::sort(order.begin(), order.end(), [](int a, int b) {
    return strcmp(g_file[a].c_str(), g_file[b].c_str()) < 0;
  });
  std::vector<std::string> names(count);
  std::vector<int> types(count);
  for (int i = 0; i < count; ++i) {
    names[i] = std::move(g_file[order[i]]);
    types[i] = g_file_type[order[i]];
  }
  for (int i = 0; i < count; ++i) {
    g_file[i] = std::move(names[i]);
    g_file_type[i] = types[i];
    g_path_rel[i] = wrk_path + g_file[i];
  }
  return count;
}
