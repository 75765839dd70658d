#include "install/servers.h"

#include <cmath>
#include <cstdlib>

#include "files/xmap.h"
#include "install/directory.h"
#include "install/stage.h"
#include "net/http.h"

std::string server_name[server_rows];
std::string server_path[server_rows];
std::string server_desc[server_rows];

// Under the reserved .example domain until the maker names a real host.
const char kDefaultMainServer[] = "www.vantrell.example";
std::string main_server = kDefaultMainServer;

int read_server_list(const std::string& path) {
  xmap_class map(path);
  int versions[] = {820, 0};
  if (map.mem_beg == nullptr || map.mem_beg == map.mem_end ||
      map.check_file(file_type_text, versions, "SERVERS", nullptr) != 820) {
    new_format(path);
    return 0;
  }

  stg.server_count = 0;
  while (map.mem_ptr < map.mem_end) {
    if (map.TXT_str_scan_match("BETA", 1)) {
      map.TXT_str_scan_eoln(nullptr);  // the full installer follows FINAL only
    } else if (map.TXT_str_scan_match("FINAL", 1)) {
      map.TXT_str_scan_eoln(&install_name);
    } else if (map.TXT_str_scan_match("ENDOFLIST", 1)) {
      break;
    } else if (map.TXT_str_scan_match("SERVER", 1)) {
      std::string name, folder, desc;
      map.TXT_str_scan_eoln(&name);
      map.TXT_str_scan_eoln(&folder);
      map.TXT_str_scan_eoln(&desc);
      // Rows past the tables have nowhere to go.
      if (stg.server_count < server_rows) {
        const int row = stg.server_count;
        server_name[row] = name;
        // The release is joined now, so FINAL must come before the rows.
        server_path[row] = folder + install_name + "/";
        server_desc[row] = desc;
        ++stg.server_count;
      }
    } else {
      map.TXT_str_scan_eoln(nullptr);
    }
  }
  draw_server();
  return 1;
}

int server_list_step() {
  if (stg.server_count != -1) return 1;
  const std::string local = temp_path + "serverlist.txt";
  const int result = http.net_check(0, main_server, "/serverlist.txt", local);
  if (result == 1) read_server_list(local);
  return result;
}

int biased_row(float r, int count) {
  // The exponent is the single-precision 1.3, widened.
  const double p = r > 0 ? std::pow(static_cast<double>(r), static_cast<double>(1.3f)) : 0.0;
  int i = static_cast<int>(p * count);
  if (i < 0) i = 0;
  if (i > count - 1) i = count - 1;
  return i;
}

void draw_server() {
  const float r = static_cast<float>(std::rand()) * (1.0f / 2147483648.0f);
  stg.server_index = biased_row(r, stg.server_count);
}

void draw_server_for_list() {
  if (stg.server_count == 1) {
    stg.server_index = 0;
    return;
  }
  if (stg.server_count > 1) stg.server_index = std::rand() % stg.server_count;
}
