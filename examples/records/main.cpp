// A record store: scores of players kept in one binary file, each record
// described once for reading and writing with xbin_format.
//
//   records FILE add NAME SCORE [TAG...]   add a record (the file is replaced whole)
//   records FILE list                      print the records
//   records FILE top                       the best score
//
// Format version 2 added the tags; files of version 1 still read.
#include <algorithm>
#include <cstdint>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>
#include <xum/core/xexceptions.h>
#include <xum/formats/xbin_format.h>
#include <xum/streams/xreplace_file_stream.h>

struct Record {
  std::string name;
  std::int64_t score = 0;
  long long id = 0;  // every integer type has a fixed width in the file
  std::vector<std::string> tags;
};

constexpr int version = 2;

// One record, either way.
void io(xum::xbin_format& f, Record& r) {
  f(r.name);
  f(r.score);
  f(r.id);
  if (f.version() >= 2) f(r.tags);  // what an older file does not hold
}

std::vector<Record> load(const xum::xstr& file) {
  std::vector<Record> records;
  xum::xbin_format f;
  f.open_file(file, xum::xfile_read);
  f.identifier("XREC");    // another file is bad data
  f.set_version(version);  // a newer one is XENewerVersion
  std::int32_t count = 0;
  f(count);
  // Every record takes at least 20 bytes: a count the file cannot hold is
  // bad data, reported before anything is allocated for it.
  if (!f.has_bytes(count < 0 ? std::numeric_limits<std::int64_t>::max() : count * std::int64_t{20}))
    return {};
  records.resize(static_cast<std::size_t>(count));
  for (Record& r : records) io(f, r);
  return records;
}

void save(const xum::xstr& file, std::vector<Record>& records) {
  xum::xreplace_file_stream out(file);  // the old file stays until close() below
  xum::xbin_format f;
  f.open_exclusive(out, xum::xstream_write);
  f.identifier("XREC");
  f.set_version(version);
  f.write(static_cast<std::int32_t>(records.size()));  // writes from const data
  for (Record& r : records) io(f, r);
  f.close();
  out.close();  // renames the new file over the old one
}

int main(int argc, char** argv) {
  const std::string_view command = argc > 2 ? argv[2] : "";
  if (argc < 3 || (command == "add" && argc < 5) ||
      (command != "add" && command != "list" && command != "top")) {
    std::cerr << "usage: records FILE add NAME SCORE [TAG...] | list | top\n";
    return 2;
  }
  const xum::xstr file = argv[1];
  try {
    std::vector<Record> records;
    try {
      records = load(file);
    } catch (const xum::XENotFound&) {
      if (command != "add") throw;  // adding creates the file
    }
    if (command == "add") {
      std::size_t used = 0;
      const std::string score = argv[4];
      Record r{argv[3], 0, static_cast<long long>(records.size()) + 1, {}};
      try {
        r.score = std::stoll(score, &used);
      } catch (const std::logic_error&) {
      }
      if (used == 0 || used != score.size()) {
        std::cerr << "records: SCORE is no number: " << score << "\n";
        return 2;
      }
      for (int i = 5; i < argc; ++i) r.tags.push_back(argv[i]);
      records.push_back(r);
      save(file, records);
    } else if (command == "top" && !records.empty()) {
      const auto best =
          std::max_element(records.begin(), records.end(),
                           [](const Record& a, const Record& b) { return a.score < b.score; });
      std::cout << best->name << " " << best->score << "\n";
    } else {
      for (const Record& r : records) {
        std::cout << r.id << " " << r.name << " " << r.score;
        for (const auto& t : r.tags) std::cout << " #" << t;
        std::cout << "\n";
      }
    }
  } catch (const xum::XENewerVersion& e) {
    std::cerr << "records: written by a newer version of this program\n" << e.what() << "\n";
    return 1;
  } catch (const xum::XEBadData& e) {
    std::cerr << "records: damaged file at byte " << e.offset() << "\n" << e.what() << "\n";
    return 1;
  } catch (const std::exception& e) {  // not found, I/O, permission
    std::cerr << "records: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
