// Opens arbitrary bytes as an archive (through a derived archive whose base
// stream is the input in memory), then opens every member and reads it to
// its end. Tables that claim members past the end of the file, sizes of
// 2^63, counts of 2^31 or name lengths past the end must end in the
// library's errors or in short member streams: never a crash, a hang or an
// allocation larger than the input. A member that member_in_bounds accepts
// must read whole.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/xexception.h"
#include "core/xexceptions.h"
#include "formats/xvirtual_file_sys.h"
#include "streams/xmemory_stream.h"

namespace {

class memory_archive final : public xum::xvirtual_file_sys {
 public:
  memory_archive(const std::uint8_t* data, std::size_t size) : data_(data), size_(static_cast<int>(size)) {}
  xum::xstream* get_base_stream() override { return new xum::xbuffer_stream(data_, size_); }

 private:
  const std::uint8_t* data_;
  int size_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1 << 20)) return 0;
  memory_archive archive(data, size);
  try {
    archive.open("fuzz.vfs");
  } catch (const xum::XException&) {
    return 0;  // a reported failure
  }
  char block[4096];
  const int members = static_cast<int>(archive.files().size());
  // Every member read can only yield bytes of the input.
  for (int i = 0; i < members && i < 64; ++i) {
    try {
      std::unique_ptr<xum::xstream> s(archive.get_member_stream(i));
      std::size_t total = 0;
      for (int n; (n = s->read(block, sizeof block)) > 0;) {
        total += static_cast<std::size_t>(n);
        if (total > size) __builtin_trap();
      }
      // Sizes and seeks stay inside what the stream showed.
      if (s->get_size() != static_cast<std::int64_t>(total)) __builtin_trap();
      if (archive.member_in_bounds(i) && total != archive.files()[static_cast<std::size_t>(i)]->size)
        __builtin_trap();
      s->seek(-1, xum::xseek_end);
    } catch (const xum::XException&) {
    }
    // A name without directory finds itself or an earlier member of the
    // same name: the first one wins.
    const xum::xstr& stored = archive.files()[static_cast<std::size_t>(i)]->name;
    if (stored.view().find_first_of("\\/:") == std::string_view::npos) {
      const int found = archive.find(stored);
      if (found < 0 || found > i) __builtin_trap();
    }
  }
  xum::xstr name;
  archive.file_by_ext(".txt", name);
  return 0;
}
