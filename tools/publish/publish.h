// The publisher: turns a product folder into what a mirror serves for one
// release. Under the mirror root it writes
//   <release>/directory.txt.zip          the list, with the history of every path
//   <release>/<top>/<path>.zip           one archive per file (top: the product folder's name)
//   serverlist.txt                       only when mirrors are given
// Everything is written under a temporary name and renamed into place once all
// of it is ready, so a reader never meets half a file; on any failure what was
// written is removed again and the mirror is as it was.
#pragma once
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "publish/listing.h"

struct platform_rule {
  std::string pattern;   // shell pattern against the path inside the product folder
  int os = 0;            // row_os for the files it matches
};

struct publish_options {
  std::string product;   // the product folder
  std::string release;   // release name: a folder of the mirror and the "FINAL" of the server list
  std::string out;       // mirror root
  std::string previous;  // earlier directory.txt or directory.txt.zip; may be empty
  std::vector<mirror_row> mirrors;
  std::vector<platform_rule> rules;
  bool progress = false; // a progress line on stderr while packing
};

struct publish_summary {
  size_t files = 0;      // files of the product
  size_t packed = 0;     // archives made anew
  size_t reused = 0;     // archives taken over from the previous release
  size_t withdrawn = 0;  // paths given a "GONE" row by this release
  uint64_t bytes_in = 0; // bytes of the product read
  uint64_t bytes_out = 0;// bytes of this release's archives, list included
  double seconds = 0;
};

// Set from a signal handler: workers stop, and the run fails and cleans up.
extern std::atomic<bool> publish_stop;

// The first rule whose pattern matches the path wins; 0 when none does.
// "*" and "?" match "/" too, so "bin/*" covers the whole bin folder.
int platform_of(const std::string& inside_path, const std::vector<platform_rule>& rules);

// Publishes one release. 0 on success; otherwise non-zero with error set to
// one plain line naming the file and the reason.
int publish_release(const publish_options& opt, publish_summary& sum, std::string& error);

// The summary as printed at the end of a run.
std::string summary_text(const publish_options& opt, const publish_summary& sum);
