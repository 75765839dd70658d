// One product file into one archive of its own, as the installer unpacks it:
// a single member named as the file, with its Unix mode in the high half of
// the external attributes and its local modification time as the member's
// date. A symbolic link is stored as a link: mode 0120777, the target text as
// data. Safe to call from several threads at once: nothing here touches the
// log, the path rule or any other shared state.
#pragma once
#include <cstdint>
#include <ctime>
#include <string>

struct source_file {
  std::string os_path;   // where to read it
  std::string member;    // name inside the archive
  bool is_link = false;
  uint32_t mode = 0;     // st_mode, type bits included
  time_t mtime = 0;
  uint64_t size = 0;     // bytes of the file, or of the link text
};

// What a packed or signed file gave.
struct pack_result {
  std::string sig;       // what the installer's scan will find on disk; "NONE" if unreadable
  uint32_t crc = 0;      // CRC-32 of the member's data
  uint64_t zip_bytes = 0;
};

// Writes src into a new archive at zip_path, reading the file once for both
// the archive and the signature. False with reason on failure.
bool pack_file(const source_file& src, const std::string& zip_path, pack_result& out,
               std::string& reason);

// Signs src and takes the CRC of its member data, without packing.
bool sign_file(const source_file& src, pack_result& out, std::string& reason);

// True when the archive at zip_path holds exactly one member that is src as
// it would be packed now (name, size, mode, date, CRC): it can be served again.
bool archive_holds(const std::string& zip_path, const source_file& src, uint32_t crc);

// True when the archive's single member agrees with src in everything but the
// CRC, which is the cheap test before reading the file.
bool archive_may_hold(const std::string& zip_path, const source_file& src);

// The installer's signature of the file at path (links followed): 32 hex
// digits, or "NONE" when it can't be read as a file.
std::string sign_path(const std::string& path);

// Kilobytes as the list counts them, rounded up.
int kilobytes(uint64_t bytes);
