// The streams part of `xum demo`: a sample file is copied into a temporary
// file through an XOR stream, read back through a fresh one, and a window of
// it is read through a section stream and the iostream adapter.
#include <cstdio>
#include <iostream>
#include <istream>
#include <string>

#include "core/xfile_utils.h"
#include "core/xstr.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"
#include "streams/xsection_stream.h"
#include "streams/xxor_stream.h"
#include "tools/xum/demo_sections.h"

namespace xum::tool {

namespace {

std::string hex(const unsigned char* p, int n) {
  std::string out;
  char cell[4];
  for (int i = 0; i < n; ++i) {
    std::snprintf(cell, sizeof cell, "%02x ", p[i]);
    out += cell;
  }
  if (!out.empty()) out.pop_back();
  return out;
}

}  // namespace

void streams_section(const std::filesystem::path& samples) {
  const xstr source = (samples / "text" / "words.txt").string().c_str();
  std::cout << "Streams (text/words.txt through file, XOR and section streams)\n";

  xfile_stream::enable_statistics(true);
  xmemory_stream plain;
  {
    xfile_stream in(source, xfile_read);
    in.copy_to(plain);
  }
  const int size = static_cast<int>(plain.get_size());

  // A scrambled copy: a 4-byte plain header, then the text through XOR.
  xtemp_file temp;
  if (temp.get_file_name().empty()) xerror("Cannot create a temporary file !");
  {
    xfile_stream out(temp.get_file_name(), xfile_create);
    out.write_buffer("XUM1", 4);
    xxor_stream scrambler(out, false);
    plain.seek(0, xseek_begin);
    plain.copy_to(scrambler);
  }
  xmemory_stream file_bytes;
  {
    xfile_stream in(temp.get_file_name(), xfile_read);
    in.copy_to(file_bytes);
  }
  std::cout << "  plain     " << hex(plain.data(), 12) << "\n";
  std::cout << "  on disk   " << hex(file_bytes.data(), 16) << " (header, then scrambled)\n";

  // Read back the way it was written: open the XOR stream after the header.
  xmemory_stream back;
  {
    xfile_stream in(temp.get_file_name(), xfile_read);
    char header[4];
    in.read_buffer(header, 4);
    xxor_stream unscrambler(in, false);
    unscrambler.copy_to(back);
  }
  const bool same = back.get_size() == size &&
                    xstr(std::string_view(reinterpret_cast<const char*>(back.data()), size)) ==
                        xstr(std::string_view(reinterpret_cast<const char*>(plain.data()), size));
  std::cout << "  round trip: " << size << " bytes read back " << (same ? "unchanged" : "CHANGED") << "\n";

  // Seeking instead of reading the header gives the phase of the absolute
  // offset: the same bytes come out differently.
  {
    xfile_stream in(temp.get_file_name(), xfile_read);
    xxor_stream unscrambler(in, false);
    unscrambler.seek(4, xseek_begin);
    unsigned char first[8] = {};
    const int n = unscrambler.read(first, 8);
    std::cout << "  after seek(4) instead: " << hex(first, n) << " (phase 4, not 0)\n";
  }

  // A window of the plain copy, read line by line through std::istream.
  plain.seek(0, xseek_begin);
  xsection_stream window(plain, 200, false);
  auto io = window.std_stream();
  std::string line;
  int lines = 0;
  while (std::getline(*io, line)) ++lines;
  std::cout << "  a 200-byte section holds " << lines << " lines (the last one cut)\n";
  std::cout << "  file streams read " << xfile_stream::get_statistics() << " bytes\n\n";
  xfile_stream::enable_statistics(false);
}

}  // namespace xum::tool
