// xum bmp: BMP images and glyphs. `info` describes a file and what the
// loader does with it, `convert` rewrites an image as 24- or 32-bit,
// `alpha` makes a glyph from two renderings, `glyph` draws a glyph's
// toolbar or button images into a BMP a person can open.
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexception.h"
#include "core/xexceptions.h"
#include "core/xle.h"
#include "core/xstr.h"
#include "framework/tgraphics.h"
#include "imaging/xbmp.h"
#include "imaging/xglyph.h"
#include "platform/xos.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"
#include "streams/xreplace_file_stream.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

// A whole input file in memory; "-" is standard input. Messages about it
// name the file (or standard input) as file streams do.
class input_bytes final : public xbuffer_stream {
 public:
  explicit input_bytes(const std::string& name) : name_(name == "-" ? "standard input" : name) {
    if (name == "-") {
      std::vector<char> block(1 << 16);
      for (std::size_t n; (n = std::fread(block.data(), 1, block.size(), stdin)) > 0;)
        bytes_.insert(bytes_.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n));
      if (std::ferror(stdin)) xerror(msg::eReadError.text + "\n" + msg::FileName.text + "standard input");
    } else {
      xfile_stream in(xstr(name), xfile_read);
      const std::int64_t size = in.get_size();
      if (size > (std::int64_t{1} << 31) - 1) xerror("File too large !\n" + msg::FileName.text + xstr(name));
      bytes_.resize(static_cast<std::size_t>(size));
      if (size > 0) in.read_buffer(bytes_.data(), static_cast<int>(size));
    }
    open(bytes_.data(), static_cast<int>(bytes_.size()));
  }
  xstr description() const override { return msg::FileName.text + xstr(name_); }
  const std::vector<char>& bytes() const noexcept { return bytes_; }
  bool is_icon() const noexcept {
    return bytes_.size() >= 6 && bytes_[0] == 0 && bytes_[1] == 0 && bytes_[2] == 1 && bytes_[3] == 0;
  }

 private:
  std::string name_;
  std::vector<char> bytes_;
};

// Standard output as a write-only stream; main checks that it was flushed.
class stdout_stream final : public xstream {
 public:
  stdout_stream() { mode_ = xstream_write; }
  xstr description() const override { return msg::FileName.text + "standard output"; }
  int read(void*, int) override { return 0; }
  int write(const void* buffer, int count) override {
    return static_cast<int>(std::fwrite(buffer, 1, static_cast<std::size_t>(count), stdout));
  }
  std::int64_t seek(std::int64_t, xseek_origin) override { throw xexception(xexception::not_supported); }
};

// Reads an image (a BMP, or the first image of a 32-bit icon); a file that
// is neither is reported as such.
void load_image(const std::string& name, xbmp& image) {
  input_bytes in(name);
  try {
    if (in.is_icon())
      image.load_icon32(in);
    else
      image.load(in);
  } catch (const xexception&) {
    xerror(xerror_category::bad_data,
           msg::eInvalidFormat.text + "\nNot a BMP or icon file\n" + in.description());
  }
  if (image.empty()) xerror(msg::eInvalidFormat.text + "\n" + in.description());
}

// Writes `image` to `target`: a file replaced only once it is complete, or
// standard output ("-"), which must not be a terminal.
void save_image(const xbmp& image, const std::string& target) {
  if (target == "-") {
    if (platform::os().is_terminal(1)) throw cli::usage_error("refusing to write an image to a terminal");
    stdout_stream out;
    image.save(out);
    return;
  }
  xreplace_file_stream out{xstr(target)};
  image.save(out);
  out.close();
}

int number_option(cli::arguments& a, const std::string& name, int fallback, int low) {
  const auto v = a.option(name);
  if (!v) return fallback;
  try {
    std::size_t used = 0;
    const int n = std::stoi(*v, &used);
    if (used == v->size() && n >= low) return n;
  } catch (const std::exception&) {
  }
  throw cli::usage_error(name + " takes a whole number of at least " + std::to_string(low));
}

const char* compression_name(std::uint32_t c) {
  switch (c) {
    case 0: return "none";
    case 1: return "RLE8";
    case 2: return "RLE4";
    case 3: return "bit fields";
    case 4: return "JPEG";
    case 5: return "PNG";
    case 6: return "alpha bit fields";
    default: return "unknown";
  }
}

void describe_bmp(const std::vector<char>& b) {
  auto u32 = [&](std::size_t at) {
    return at + 4 <= b.size() ? le::load<std::uint32_t>(reinterpret_cast<const unsigned char*>(b.data()) + at) : 0u;
  };
  auto u16 = [&](std::size_t at) {
    return at + 2 <= b.size() ? le::load<std::uint16_t>(reinterpret_cast<const unsigned char*>(b.data()) + at) : 0u;
  };
  const std::uint32_t info = u32(14);
  std::cout << "file size field " << u32(2) << ", " << b.size() << " bytes present\n"
            << "pixel data offset " << u32(10) << "\n"
            << "information header " << info << " bytes\n";
  if (info == 12) {
    std::cout << "size " << u16(18) << " x " << u16(20) << ", " << u16(24) << " bits per pixel (OS/2)\n";
    return;
  }
  const auto w = static_cast<std::int32_t>(u32(18)), h = static_cast<std::int32_t>(u32(22));
  const unsigned bits = u16(28);
  const std::uint32_t comp = u32(30);
  std::cout << "size " << w << " x " << (h < 0 ? -static_cast<std::int64_t>(h) : h)
            << (h < 0 ? " (rows top first)" : "") << ", " << bits << " bits per pixel, planes " << u16(26) << "\n"
            << "compression " << comp << " (" << compression_name(comp) << ")\n";
  if (bits >= 1 && bits <= 8) {
    const std::uint32_t used = u32(46);
    std::cout << "palette at " << 14 + info << ": colours used " << used;
    if (used == 0) std::cout << " (" << (1u << bits) << ")";
    const std::uint32_t off = u32(10);
    std::cout << ", " << (off > 14 + info ? (off - 14 - info) / 4 : 0) << " entries fit before the pixels\n";
  }
  if (comp == 3)
    std::printf("masks red %08X green %08X blue %08X\n", u32(54), u32(58), u32(62));
  std::fflush(stdout);
}

cli::command info_command() {
  cli::command c;
  c.name = "info";
  c.summary = "Describe a BMP or icon file and what the loader does with it";
  c.usage = "FILE";
  c.help =
      "Prints the header fields (size, bit count, compression, palette, colour\n"
      "masks) and then what loading gives: the image kept as it is, converted\n"
      "to 24 bits, or refused with the reason. FILE may be - (standard input).\n"
      "Exit status 0 once the file is described, also when the loader refuses\n"
      "it; 1 when it cannot be read or is not a BMP or icon file at all.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(1, 1);
    input_bytes in(pos[0]);
    const auto& b = in.bytes();
    xbmp image;
    if (in.is_icon()) {
      std::cout << "icon file, " << le::load<std::uint16_t>(reinterpret_cast<const unsigned char*>(b.data()) + 4)
                << " image(s), " << b.size() << " bytes\n";
    } else if (b.size() >= 2 && b[0] == 'B' && b[1] == 'M') {
      describe_bmp(b);
    } else {
      xerror(xerror_category::bad_data, msg::eInvalidFormat.text + "\nNot a BMP or icon file\n" + in.description());
    }
    const int bits_before = b.size() >= 30 && !in.is_icon() ? static_cast<unsigned char>(b[28]) : 32;
    try {
      if (in.is_icon())
        image.load_icon32(in);
      else
        image.load(in);
    } catch (const Exception& e) {
      std::string why = e.what();
      for (char& ch : why)
        if (ch == '\n') ch = ' ';
      std::cout << "loader: refuses it: " << why << "\n";
      return cli::exit_ok;
    }
    std::cout << "loader: " << image.width() << " x " << image.abs_height() << ", " << image.bit_count()
              << "-bit" << (image.bit_count() == bits_before ? ", kept as stored" : ", converted")
              << (image.bit_count() == 32 ? " (blue, green, red, alpha)" : " (blue, green, red)") << "\n";
    return cli::exit_ok;
  };
  return c;
}

cli::command convert_command() {
  cli::command c;
  c.name = "convert";
  c.summary = "Rewrite an image as a 24-bit or 32-bit BMP";
  c.usage = "IN OUT --24|--32";
  c.help =
      "Reads IN (a BMP of any supported kind, or a 32-bit icon) and writes OUT\n"
      "with 24 bits per pixel (the fourth byte dropped) or 32 (alpha 255 added\n"
      "to 24-bit pixels). IN and OUT may be - (standard input, output). OUT is\n"
      "replaced only once it is completely written.";
  c.run = [](cli::arguments& a) {
    const bool to24 = a.flag("--24"), to32 = a.flag("--32");
    const auto pos = a.positionals(2, 2);
    if (to24 == to32) throw cli::usage_error("give one of --24 and --32");
    xbmp image;
    load_image(pos[0], image);
    if (to24)
      image.make24bit();
    else
      image.make32bit_rgba();
    save_image(image, pos[1]);
    return cli::exit_ok;
  };
  return c;
}

cli::command alpha_command() {
  cli::command c;
  c.name = "alpha";
  c.summary = "Make a glyph (32-bit, with alpha) from renderings on white and on black";
  c.usage = "ON_WHITE ON_BLACK OUT";
  c.help =
      "ON_WHITE and ON_BLACK show the same picture drawn on a white and on a\n"
      "black background, with the same size. Each pixel's alpha becomes 255\n"
      "less the largest difference of its channels; the colours are those on\n"
      "white. OUT (or - for standard output) is a 32-bit BMP.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(3, 3);
    xglyph glyph;
    xbmp black;
    load_image(pos[0], glyph);
    load_image(pos[1], black);
    if (glyph.width() != black.width() || glyph.abs_height() != black.abs_height())
      xerror(xerror_category::bad_data,
             xstr("The two renderings differ in size: " + std::to_string(glyph.width()) + " x " +
                  std::to_string(glyph.abs_height()) + " and " + std::to_string(black.width()) + " x " +
                  std::to_string(black.abs_height()) + " !"));
    glyph.calculate_alpha(black);
    save_image(glyph, pos[2]);
    return cli::exit_ok;
  };
  return c;
}

cli::command glyph_command() {
  cli::command c;
  c.name = "glyph";
  c.summary = "Draw a glyph's toolbar or button images into a BMP";
  c.usage = "GLYPH OUT --state normal|hot|disabled|raised|button [--divisor D] [--multiplier M] [--frame N]";
  c.help =
      "GLYPH is a 32-bit BMP with alpha holding square frames stacked top to\n"
      "bottom (see `xum bmp alpha`). For a toolbar state, OUT shows every frame\n"
      "side by side as the tool bar's image list holds them, (width x M / D + 2)\n"
      "pixels square, on the button face colour. For `button`, OUT is the bit\n"
      "button glyph of frame N (default 0): normal, disabled and pressed parts\n"
      "of (width + 2) pixels square (made small first when D >= 2). D and M\n"
      "default to 1. OUT is a 24-bit BMP, or - for standard output.";
  c.run = [](cli::arguments& a) {
    const auto state = a.option("--state");
    const int divisor = number_option(a, "--divisor", 1, 1);
    const int multiplier = number_option(a, "--multiplier", 1, 1);
    const int frame = number_option(a, "--frame", 0, 0);
    const auto pos = a.positionals(2, 2);
    static const std::map<std::string, int> states = {
        {"normal", glyph_normal}, {"hot", glyph_hot}, {"disabled", glyph_disabled}, {"raised", glyph_raised},
        {"button", -1}};
    if (!state || states.find(*state) == states.end())
      throw cli::usage_error("--state takes normal, hot, disabled, raised or button");
    xglyph glyph;
    load_image(pos[0], glyph);
    if (glyph.bit_count() != 32)
      xerror(xerror_category::bad_data,
             msg::eInvalidFormat.text + "\nA glyph must have 32 bits per pixel (blue, green, red, alpha)\n" +
                 msg::FileName.text + xstr(pos[0]));
    const int frames = glyph.frame_count();
    if (frames < 1) xerror(xerror_category::bad_data, "The glyph is wider than it is high !\n" + msg::FileName.text + xstr(pos[0]));
    if (glyph.width() * static_cast<long long>(multiplier) / divisor < 1)
      throw cli::usage_error("--divisor leaves nothing of a " + std::to_string(glyph.width()) + "-pixel glyph");
    const unsigned face = xcolor_to_pixel(clBtnFace);
    xbmp out;
    if (*state == "button") {
      if (frame >= frames)
        throw cli::usage_error("--frame " + std::to_string(frame) + ": the glyph has " + std::to_string(frames) +
                               " frame(s)");
      out = glyph.button_image(frame, divisor, multiplier, face);
    } else {
      const int size = static_cast<int>(glyph.width() * static_cast<long long>(multiplier) / divisor) + 2;
      out.create(size * frames, size, 3);
      for (int i = 0; i < frames; ++i)
        out.copy_from(glyph.state_image(i, static_cast<xglyph_state>(states.at(*state)), face, size, divisor,
                                        multiplier),
                      i * size, 0);
    }
    save_image(out, pos[1]);
    return cli::exit_ok;
  };
  return c;
}

}  // namespace

cli::command bmp_command() {
  cli::command c;
  c.name = "bmp";
  c.summary = "Inspect and convert BMP images; make and draw glyphs";
  c.children.push_back(info_command());
  c.children.push_back(convert_command());
  c.children.push_back(alpha_command());
  c.children.push_back(glyph_command());
  return c;
}

}  // namespace xum::tool
