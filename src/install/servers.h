// The mirrors of the product and the release they carry, learned from
// serverlist.txt on the maker's main server, and the choice of the mirror in
// use. A failed download never gives up: it draws another row and tries again.
#pragma once
#include <string>

enum { server_rows = 10 };

// Parallel tables, one row per SERVER record of the list.
extern std::string server_name[server_rows];  // host, as given to net_check
extern std::string server_path[server_rows];  // remote folder + release name + "/"
extern std::string server_desc[server_rows];  // text of the row's radio button

// The maker's main web server, which serves "/serverlist.txt". It starts as
// kDefaultMainServer; a front end may point it elsewhere for one run.
extern const char kDefaultMainServer[];
extern std::string main_server;

// Reads a fetched serverlist.txt into the tables, install_name and
// stg.server_count, then draws the first row. 1 when read; 0 when refused,
// after new_format has ended the run.
int read_server_list(const std::string& path);

// One frame's work on the list while stg.server_count is -1: polls slot 0 and
// reads the file once it is there. The net_check result (0, 1 or 2); 1 at once
// when the list has been read already.
int server_list_step();

// The row the biased draw gives for r in [0, 1] over count rows; -1 when
// count is 0. Rows near the top are favoured.
int biased_row(float r, int count);
// stg.server_index by the biased draw: the first choice, and after a failed file.
void draw_server();
// stg.server_index after a failed directory list: any row, without bias.
void draw_server_for_list();
