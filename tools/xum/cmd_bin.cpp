// xum bin: binary record files. `dump` prints a hex view, with the leading
// signature and the trailer at the end decoded when the file has them.
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "core/xle.h"
#include "core/xstr.h"
#include "streams/xfile_stream.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

// Three capital letters open the library's record files ("VFS", "BSF",
// "TSF" and applications' own signatures).
bool has_signature(const std::vector<unsigned char>& b) {
  if (b.size() < 3) return false;
  for (int i = 0; i < 3; ++i)
    if (b[i] < 'A' || b[i] > 'Z') return false;
  return true;
}

// The trailer as xbin_format reads it: the last 4 bytes, or when they are
// zero the 8 before them. It counts as present when it points inside the
// data before it.
bool find_trailer(const std::vector<unsigned char>& b, std::int64_t& pos, int& width) {
  if (b.size() < 12) return false;
  const unsigned char* end = b.data() + b.size();
  const std::uint32_t last = le::load<std::uint32_t>(end - 4);
  if (last != 0) {
    pos = static_cast<std::int32_t>(last);
    width = 4;
  } else {
    pos = static_cast<std::int64_t>(le::load<std::uint64_t>(end - 12));
    width = 12;
  }
  return pos > 0 && pos < static_cast<std::int64_t>(b.size()) - width;
}

void hex_view(const std::vector<unsigned char>& b, std::size_t limit) {
  const std::size_t n = b.size() < limit ? b.size() : limit;
  char line[96];
  for (std::size_t row = 0; row < n; row += 16) {
    int used = std::snprintf(line, sizeof line, "%08zx ", row);
    for (std::size_t i = row; i < row + 16; ++i)
      used += i < n ? std::snprintf(line + used, sizeof line - used, " %02x", b[i])
                    : std::snprintf(line + used, sizeof line - used, "   ");
    used += std::snprintf(line + used, sizeof line - used, "  ");
    for (std::size_t i = row; i < row + 16 && i < n; ++i)
      line[used++] = b[i] >= 0x20 && b[i] < 0x7F ? static_cast<char>(b[i]) : '.';
    line[used] = 0;
    std::cout << line << "\n";
  }
  if (n < b.size()) std::cout << "... " << b.size() - n << " more bytes (see --max)\n";
}

cli::command dump_command() {
  cli::command c;
  c.name = "dump";
  c.summary = "Print a binary record file as hex, with its signature and trailer";
  c.usage = "FILE [--max BYTES]";
  c.help =
      "Prints the size, the signature when the file starts with three capital\n"
      "letters, the trailer when the end of the file points back inside it (4\n"
      "bytes, or 8 bytes and 4 zero bytes), then offset, hex and text of up to\n"
      "BYTES bytes (default 4096).";
  c.run = [](cli::arguments& a) {
    const auto max = a.option("--max");
    const auto pos = a.positionals(1, 1);
    std::size_t limit = 4096;
    if (max) {
      try {
        limit = static_cast<std::size_t>(std::stoull(*max));
      } catch (const std::exception&) {
        throw cli::usage_error("--max takes a number of bytes");
      }
    }
    xfile_stream in(xstr(pos[0].c_str()), xfile_read);
    const std::int64_t size = in.get_size();
    if (size > (std::int64_t{1} << 30)) xerror("File too large to dump !\nFile: " + xstr(pos[0].c_str()));
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    if (size > 0) in.read_buffer(bytes.data(), static_cast<int>(size));
    std::cout << "size " << size << " bytes\n";
    if (has_signature(bytes)) std::cout << "signature " << std::string(bytes.begin(), bytes.begin() + 3) << "\n";
    std::int64_t at = 0;
    int width = 0;
    if (find_trailer(bytes, at, width))
      std::cout << "trailer " << at << " (" << width << "-byte form at offset " << size - width << ")\n";
    hex_view(bytes, limit);
    return cli::exit_ok;
  };
  return c;
}

}  // namespace

cli::command bin_command() {
  cli::command c;
  c.name = "bin";
  c.summary = "Inspect binary record files";
  c.children.push_back(dump_command());
  return c;
}

}  // namespace xum::tool
