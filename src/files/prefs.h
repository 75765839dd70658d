// The tagged preference file, read and written through one object so that a
// single list of tags serves both directions: the caller walks its tags and
// each *_io call either writes the line or reads the value back.
//
// File: "I", then "8500 version", then one "tag value" line per setting.
// A value is the rest of its line; leading blanks dropped, trailing kept.
#pragma once
#include <map>
#include <string>

enum { scan_read = 0, scan_write = 1 };

class scan_class {
 public:
  int direction;                            // scan_read or scan_write
  std::map<std::string, std::string> tags;  // read mode: tag to value as found

  // Write mode opens the file with ouf_open; read mode loads every tag. A file
  // missing, unreadable or of another version loads as no tags at all.
  scan_class(const std::string& path, int direction);
  ~scan_class();
  scan_class(const scan_class&) = delete;
  scan_class& operator=(const scan_class&) = delete;

  // Write mode writes the line and returns false. Read mode sets *value and
  // returns true when the tag was found; otherwise *value keeps the caller's
  // default.
  bool int_io(int* value, const std::string& tag);
  bool float_io(float* value, const std::string& tag);
  // An empty string is not written, so a cleared setting leaves the file.
  bool string_io(std::string* value, const std::string& tag);

 private:
  const std::string* find(const std::string& tag) const;
};
