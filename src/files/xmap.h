// A read-only mapped file with a cursor: the one reader of every file in the
// system. Text is scanned token by token straight out of the mapping.
//
// The scans never fail and never read outside [mem_beg, mem_end): at the end
// of the data they return 0, 0.0 or an empty string, and the byte at mem_end
// counts as NUL (a line end). TXT_str_scan_comma may leave the cursor one past
// mem_end; every scan treats any cursor at or beyond mem_end as end of data.
// Callers detect the end by comparing mem_ptr with mem_end.
#pragma once
#include <string>
#include "files/log.h"

extern int mapped_files_open;   // declared for the family; nothing counts it

class xmap_class {
 public:
  int rev_bytes = 0;      // set by check_file on a binary header
  std::string file_name;  // stays empty; named by the "Bad check_file type!" alert
  int io_type = 0;        // mode of the last io_file_open
  const unsigned char* mem_beg = nullptr;
  const unsigned char* mem_ptr = nullptr;
  const unsigned char* mem_end = nullptr;
  int file_id = 0;

  // An empty path makes an object with no file, to be opened with retry.
  explicit xmap_class(const std::string& path);
  ~xmap_class();
  xmap_class(const xmap_class&) = delete;
  xmap_class& operator=(const xmap_class&) = delete;

  // Maps the file read-only; null on failure. A zero-length file maps as an
  // open, empty file (mem_beg == mem_end, not null).
  const unsigned char* retry(const std::string& path);
  // The accepted version from the header, or 0. versions is zero-terminated.
  int check_file(int type, int* versions, const char* magic, std::string* title);
  int io_file_open(int mode, std::string path, int* versions, int type);
  void io_file_close();

  // Copies n bytes to the address dest. With rev_bytes set every 4-byte group
  // starting before dest + n is reversed, so dest must have room up to the
  // next multiple of 4.
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

 private:
  bool more() const;
  unsigned char peek() const;
  void skip_blanks();
  unsigned int scan_sign();
  void drop();
  void store(std::string* out, const unsigned char* from) const;
  unsigned int digits(unsigned char stop, bool use_stop);
};
