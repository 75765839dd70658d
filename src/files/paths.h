// Path conventions and the small file operations of the whole system.
// Inside the system ":", "\\" and "/" are all separators; set_dir_chars turns
// them into "/" just before a path meets the operating system.
// Every operation returns an error number (0 success, errno below 20000,
// 20001..20012 our own) instead of throwing.
#pragma once
#include <string>

extern std::string app_path;       // prefix of every path given to the file layer; empty here
extern int g_case_sensitive;       // while set, set_dir_chars repairs letter case
// Longest path set_dir_chars takes (its working buffer holds 500 bytes);
// a longer one is a fatal alert.
const size_t kMaxPath = 499;
extern const char* sErrFile;       // place of the last recorded file failure (diagnostic)
extern int sErrLine;

struct err_msg_pair { int code; const char* text; };
extern const err_msg_pair kErrMsgs[];   // closed by a pair with a null text

void set_dir_chars(std::string& path);
void findPath(char* path);
std::string error_str(int code);
void get_OS_abs_path(int which, std::string& path);
void get_file_with_path(std::string& out, const std::string& path);
void get_path_with_path(std::string& out, const std::string& path);
int path_has_no_file(std::string path);
bool file_exists(std::string path);
int dir_exists(std::string path);
int delete_file(std::string path);
int make_folder(const std::string& path);
int rename_file(const std::string& folder, const std::string& old_name, const std::string& new_name);
int show_make_dir_err(int code);
int show_del_err(int code);
int launch_app(const std::string& program, const std::string& argument);
