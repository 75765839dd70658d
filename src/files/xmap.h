// A read-only mapped file with a cursor: the one reader of every file in the
// system. Text is scanned token by token straight out of the mapping.
#pragma once
#include <string>
#include "files/log.h"

extern int mapped_files_open;   // declared for the family; nothing counts it

class xmap_class {
 public:
  int rev_bytes;
  std::string file_name;
  int io_type;
  const unsigned char* mem_beg = nullptr;
  const unsigned char* mem_ptr = nullptr;
  const unsigned char* mem_end = nullptr;
  int file_id = 0;

  explicit xmap_class(const std::string& path);
  ~xmap_class();
  xmap_class(const xmap_class&) = delete;
  xmap_class& operator=(const xmap_class&) = delete;

  const unsigned char* retry(const std::string& path);
  int check_file(int type, int* versions, const char* magic, std::string* title);
  int io_file_open(int mode, std::string path, int* versions, int type);
  void io_file_close();

  void read_n_rev(long dest, long n);
  unsigned char TXT_byt_scan();

  void TXT_prv_scan();
  int TXT_int_scan();
  int TXT_int_scan_stop(char stop);
  unsigned int TXT_uin_scan();
  double TXT_dob_scan();
  float TXT_flt_scan();
  double TXT_dob_scan_sci();
  void TXT_str_scan_space(std::string* out);
  void TXT_str_scan_comma(std::string* out);
  void TXT_str_scan_eoln(std::string* out);
  int TXT_str_scan_match(const char* word, int line_end_ok);
};
