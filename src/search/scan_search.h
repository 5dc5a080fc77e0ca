// Reading chosen scans anew from the disk for the files that pass a filter: what the file
// finder and the duplicate search have in common. A scan's own list of files is never
// used, since the disk may have changed since.
#pragma once

#include "json/json_writer.h"
#include "scan/job_table.h"
#include "search/background_run.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// What is asked for, as the form fields "ids", "exts", "names" and "min" say it.
struct SearchRequest {
  std::vector<int> ids; // above 0, each once, in the order given
  std::wstring exts;    // as given
  std::wstring names;   // as given
  std::vector<std::wstring> extensions;
  std::vector<std::wstring> namePatterns;
  std::uint64_t min = 0; // bytes
};

// Which scans a search reads, and what became of them.
struct SearchedScans {
  struct Scan {
    int id = 0;
    std::wstring label;
    std::wstring root;
    // Roots of other chosen scans inside this one: their files are theirs.
    std::vector<std::wstring> leftOut;
    bool covered = false; // another chosen scan has the same root and reads it
    std::string error;    // why it could not be read, when it could not
  };
  std::vector<Scan> scans;      // to be read, in the order asked for
  std::vector<Scan> sshSkipped; // remote scans cannot be read from here
};

// The finished scans among the ids, divided so that no file belongs to two of them.
SearchedScans chooseScans(const JobTable& jobs, const std::vector<int>& ids);

// What takes the files of one scan; used until that scan is read.
using SinkOfScan = std::function<FileSink&(int scan)>;

// Reads the scans one after another and publishes counters. After a cancel the rest is
// left out.
void searchScans(SearchedScans& chosen, const SearchRequest& request, const ScanSteps& steps,
                 Run& run, const SinkOfScan& sinkOf);

// "ids", "scans", "exts", "names", "min", then what extra writes, "ssh_skipped", "failed".
void writeSearchOptions(JsonWriter& json, const SearchRequest& request, const SearchedScans& chosen,
                        const std::function<void(JsonWriter&)>& extra);

} // namespace vorda
