// Archive lookups with 50,000 members of 256 bytes each:
//   BM_OpenPerMember        open() of the archive (header, table, index),
//                           reported per member
//   BM_MemberStreamAndRead  get_file_stream + reading the whole member, by
//                           name in random order, per member
//   BM_Lookup               the index lookup alone (is_file_exists)
//   BM_FileStreamFallback   xfile_stream on a name missing on disk, served
//                           by the archive hook, + reading, per member
//   BM_FloorOpenReadClose   the system calls a member stream cannot do
//                           without (the archive is opened anew for every
//                           member): open, a positioned read of 256 bytes
//                           at the member's offset, close
//   BM_FloorMissingCheck    the existence test of a name missing on disk,
//                           which the fallback adds
// The time per member is the "per_member" counter (microseconds).
//
//   build/default/bench/xvirtual_file_sys_bench
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "formats/xvirtual_file_sys.h"
#include "platform/xos.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"

namespace {

constexpr int kMembers = 50000;
constexpr int kMemberSize = 256;

struct fixture {
  std::string path;
  std::vector<std::string> names;  // in random order
  fixture() {
    path = (std::filesystem::temp_directory_path() / "xum_vfs_bench.vfs").string();
    xum::xvirtual_file_sys a;
    a.create(path.c_str());
    std::vector<char> bytes(kMemberSize);
    for (int i = 0; i < kMembers; ++i) {
      for (int k = 0; k < kMemberSize; ++k) bytes[std::size_t(k)] = static_cast<char>(i + k);
      names.push_back("member_" + std::to_string(i) + ".dat");
      xum::xbuffer_stream data(bytes.data(), kMemberSize);
      a.add_stream(names.back().c_str(), data);
    }
    a.close();
    std::shuffle(names.begin(), names.end(), std::mt19937(42));
  }
  ~fixture() { std::remove(path.c_str()); }
};

fixture& data() {
  static fixture f;
  return f;
}

void per_member(benchmark::State& state, std::int64_t members_per_iteration) {
  state.counters["per_member"] = benchmark::Counter(
      static_cast<double>(state.iterations() * members_per_iteration),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_OpenPerMember(benchmark::State& state) {
  fixture& f = data();
  xum::xvirtual_file_sys a;
  for (auto _ : state) {
    a.open(f.path.c_str());
    benchmark::DoNotOptimize(a.files().size());
  }
  per_member(state, kMembers);
}

void BM_MemberStreamAndRead(benchmark::State& state) {
  fixture& f = data();
  xum::xvirtual_file_sys a;
  a.open(f.path.c_str());
  char buffer[kMemberSize + 1];
  std::size_t i = 0;
  for (auto _ : state) {
    std::unique_ptr<xum::xstream> s(a.get_file_stream(f.names[i++ % f.names.size()].c_str()));
    benchmark::DoNotOptimize(s->read(buffer, sizeof buffer));
  }
  per_member(state, 1);
}

void BM_Lookup(benchmark::State& state) {
  fixture& f = data();
  xum::xvirtual_file_sys a;
  a.open(f.path.c_str());
  std::vector<xum::xstr> names(f.names.begin(), f.names.end());
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(a.is_file_exists(names[i++ % names.size()]));
  per_member(state, 1);
}

void BM_FileStreamFallback(benchmark::State& state) {
  fixture& f = data();
  xum::xvirtual_file_sys a;
  a.open(f.path.c_str());
  xum::xvirtual_fs_interface::set(&a);
  char buffer[kMemberSize + 1];
  std::size_t i = 0;
  for (auto _ : state) {
    xum::xfile_stream s(f.names[i++ % f.names.size()].c_str(), xum::xfile_read);
    benchmark::DoNotOptimize(s.read(buffer, sizeof buffer));
  }
  xum::xvirtual_fs_interface::set(nullptr);
  per_member(state, 1);
}

void BM_FloorOpenReadClose(benchmark::State& state) {
  fixture& f = data();
  xum::xvirtual_file_sys a;
  a.open(f.path.c_str());
  std::vector<std::int64_t> offsets;
  for (const std::string& name : f.names)
    offsets.push_back(static_cast<std::int64_t>(a.files()[std::size_t(a.find(name.c_str()))]->offset));
  char buffer[kMemberSize];
  std::size_t i = 0;
  for (auto _ : state) {
    xum::platform::os_error error;
    const int fd = xum::platform::os().open_known_file(f.path.c_str(), error);
    benchmark::DoNotOptimize(xum::platform::os().read_at(fd, buffer, kMemberSize, offsets[i++ % offsets.size()]));
    xum::platform::os().close(fd);
  }
  per_member(state, 1);
}

void BM_FloorMissingCheck(benchmark::State& state) {
  fixture& f = data();
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(xum::platform::os().file_exists(f.names[i++ % f.names.size()].c_str()));
  per_member(state, 1);
}

BENCHMARK(BM_OpenPerMember)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemberStreamAndRead)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Lookup)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FileStreamFallback)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FloorOpenReadClose)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FloorMissingCheck)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
