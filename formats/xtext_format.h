// xtext_format: the library's line-oriented text reader and writer.
//
// Reading takes the stream in blocks of 4 MiB (an xblock_buffer, one read of
// the stream per block) and hands out, layer by layer:
// bytes; symbols (the characters of the current line); lines; tokens; numbers
// and delimited strings. Writing puts strings and CR LF line breaks.
//
// Token classes (reading):
//   line break  one CR and one LF in either order; a repeated break byte
//               starts an empty line, and a doubled CR also swallows the byte
//               behind it (CR LF CR LF is a break and one empty line)
//   blank       space and tab separate tokens; tokens never span a line
//   word        a run of non-blank characters
//   character   a byte registered with register_character_tokens is a token
//               of its own at the start of a token; it ends a running word
//               only when the read asks to split
//   number      the longest prefix of a word made of "0123456789+-.,eE"
//               ("," only while the comma flag is set, read as "."); the
//               rest of the word is pushed back as the next token
//   string      any character opens it and the same character closes it; no
//               escapes, and a missing closer ends the string at the line end
// Tokens pushed back with push_token come out last-in first-out and survive
// `close` and a reopen, as does the character-token table.
//
//   xum::xbuffer_stream in("width 12;\r\n'it'", 15);
//   xum::xtext_format t(in, xum::xstream_read, false);
//   t.token(true);      // "width"
//   t.integer();        // 12, leaving ";" as the next token
//   t.token(true);      // ";"
//   t.quotated_string();// "it" (on line 2)
//
// Errors: `token` reports "Unexpected end of text !" and `number` reports
// "Number expected !" with the stream description and the line number,
// through xerror; the lower layers answer false at the end of the text.
//
// Thread safety: a format belongs to one thread at a time.
#ifndef XUM_FORMATS_XTEXT_FORMAT_H
#define XUM_FORMATS_XTEXT_FORMAT_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "formats/xformat.h"
#include "streams/xblock_buffer.h"

namespace xum {

class XUM_API xtext_format : public xformat {
 public:
  // Size of the read buffer: the stream is read in blocks of this size.
  static constexpr int read_block = 4 * 1024 * 1024;

  // A format without a stream.
  xtext_format();
  // Opens `name` with open_file (an open failure reports through xerror).
  xtext_format(const xstr& name, xfile_mode fm);
  // Uses `s` in mode `m`; with `own` the format deletes `s` on close.
  xtext_format(xstream& s, xstream_mode m, bool own);
  ~xtext_format() override;

  // Releases the stream and resets the reader: line 1, no flags, an empty
  // buffer, the comma flag set. Pushed tokens and the character-token table
  // are kept.
  void close() override;

  // The next byte of the text; with consume false it stays unread. False at
  // the end of the text.
  bool read_byte(char& c, bool consume);
  // The next character of the current line. A line-break byte it meets is
  // consumed even when only looking, and ends the line: false.
  bool read_symbol(char& c, bool consume);
  // Reading (mode 1): moves to the start of the next line; false at the end
  // of the text. Otherwise writes CR LF. Either way counts one more line.
  bool next_line();
  // next_line() n times.
  void skip_lines(int n);
  // `s` = the rest of the current line. With `advance`, moves to the next
  // line and returns true when there is one; otherwise (or at the end)
  // returns whether `s` is non-empty.
  bool read_line(xstr& s, bool advance);
  // read_line(s, true), returning s.
  xstr line();
  // As read_line, without building a string: `s` views the line until the
  // next read from this format. For loaders that parse lines in place.
  bool read_line_view(std::string_view& s, bool advance);

  // The next token into `t` (see the token classes above); false at the
  // end of the text.
  virtual bool read_token(xstr& t, bool split);
  // Makes `t` the next token returned.
  void push_token(const xstr& t);
  // read_token, reporting "Unexpected end of text !" + LF + the stream
  // description through xerror at the end of the text ("" if it returns).
  xstr token(bool split);
  // token(true) in lower case.
  xstr token_l();
  // Makes exactly the bytes of `chars` character tokens.
  void register_character_tokens(const xstr& chars);

  // The number prefix of the next token into `s`; the rest of the token is
  // pushed back. False when there is no token or the prefix is empty (the
  // whole token is then pushed back).
  bool read_number_token(xstr& s);
  // A number token parsed with sscanf "%Lf"; false when it does not parse.
  bool _read_number(long double& v);
  // The next number; reports "Number expected !" + LF + description + LF +
  // "Line: " + line number through xerror (0 if it returns).
  long double number();
  // number() truncated to 64 bits; values beyond the range saturate.
  std::int64_t integer();
  // Skips blanks and line breaks; true when a character follows.
  bool goto_next_token();

  // Skips blanks, vertical tabs and line breaks, takes the next character
  // as the delimiter and returns the text up to its next occurrence (or the
  // line end), consuming the closing delimiter.
  xstr quotated_string();
  // The characters up to (not including) `d` or the line end.
  xstr read_to_delimiter(char d);

  // Writes `s`, each LF in it as a line break (CR LF).
  void write_string(const xstr& s);
  // write_string(s) and a line break.
  void write_line(const xstr& s);
  // Formats like xstr::printf, writes with write_string, returns the length.
  int printf(const char* fmt, ...) __attribute__((format(printf, 2, 3)));

  // The current line number, 1 for the first line.
  int line_number() const noexcept { return line_; }
  // Bytes consumed since the last open.
  std::int64_t bytes_consumed() const noexcept { return consumed_; }
  // Whether "," is a number character (read as "."); set by every close.
  bool comma() const noexcept { return comma_; }
  void set_comma(bool on) noexcept { comma_ = on; }

 private:
  // Fills the read buffer from the stream; false (and end of text) when it
  // gives nothing.
  bool refill();
  // Consumes the rest of the current line; the text is left in `out`, which
  // views either the read buffer or the line buffer.
  void take_line(std::string_view& out);
  bool is_char_token(char c) const noexcept {
    return char_tokens_set_ && char_tokens_[static_cast<unsigned char>(c)];
  }

  // The unread bytes of the read block.
  const char* next() noexcept { return reinterpret_cast<const char*>(in_.cursor()); }

  std::int64_t consumed_ = 0;
  std::int64_t unused_counter_ = 0;  // zeroed by close; read by nothing here
  int line_ = 1;
  bool end_of_text_ = false;
  bool end_of_line_ = false;
  bool lf_seen_ = false;
  bool cr_seen_ = false;
  bool comma_ = true;
  bool char_tokens_set_ = false;
  xblock_buffer in_{read_block};
  std::string line_buf_;
  std::string token_buf_;
  std::array<bool, 256> char_tokens_{};
  std::array<bool, 256> number_chars_{};
  std::vector<xstr> pushed_;
};

}  // namespace xum

#endif  // XUM_FORMATS_XTEXT_FORMAT_H
