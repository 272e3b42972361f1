#include "streams/xresource_stream.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/xtest_helpers.h"

#include "core/xexception.h"
#include "core/xstr.h"

// The test program embeds tests/streams/data/ (see tests/CMakeLists.txt):
// five.bin as "#5" RCDATA, large.bin as "#6" RCDATA and as "#6" of type
// "SAMPLE", empty.bin as "#7" RCDATA, and the string table strings.txt.

namespace xum {
namespace {

using test::code_of;

std::string file_bytes(const char* name) { return test::file_bytes(std::string(XUM_TEST_DATA) + "/" + name); }

std::string read_all(xstream& s) {
  std::string out(static_cast<std::size_t>(s.get_size()) + 10, '?');
  out.resize(static_cast<std::size_t>(s.read(out.data(), static_cast<int>(out.size()))));
  return out;
}

// "#6" RCDATA (large.bin) runs the stream contract suite.
TEST(XResourceStream, ReadsTheEmbeddedBytesByIdAndType) {
  xresource_stream five(nullptr, 5, xrt_rcdata);
  EXPECT_EQ(read_all(five), file_bytes("five.bin"));  // zero bytes included

  // The same id under another type; types are compared without case.
  xresource_stream sample(xexecutable_module(), 6, "sample");
  EXPECT_EQ(read_all(sample), file_bytes("large.bin"));

  xresource_stream empty(nullptr, 7, xrt_rcdata);
  char c;
  EXPECT_EQ(empty.read(&c, 1), 0);
}

TEST(XResourceStream, LookupIsByHashAndDecimalId) {
  EXPECT_NE(xfind_resource(nullptr, "#5", "#10"), nullptr);
  EXPECT_NE(xfind_resource(nullptr, "#005", xrt_rcdata), nullptr);
  EXPECT_EQ(xfind_resource(nullptr, "5", "#10"), nullptr);  // a name, not an id
  EXPECT_EQ(xfind_resource(nullptr, "#5", xrt_string), nullptr);
}

TEST(XResourceStream, MissingResourcesThrowTheirCode) {
  EXPECT_EQ(code_of([] { xresource_stream s(nullptr, 8, xrt_rcdata); }), xexception::no_resource);
  // Resources belong to the binary that embeds them: the library has none.
  EXPECT_EQ(code_of([] { xresource_stream s(xlibrary_module(), 5, xrt_rcdata); }),
            xexception::no_resource);

  // A failed reopen leaves an empty stream, not the old resource. Writing
  // and seeking are the buffer stream's, tested with it.
  xresource_stream s(nullptr, 5, xrt_rcdata);
  char c = 'x';
  EXPECT_EQ(code_of([&] { s.open(nullptr, 99, xrt_rcdata); }), xexception::no_resource);
  EXPECT_EQ(s.read(&c, 1), 0);
}

TEST(XStrLoad, ReturnsStringResourcesOfTheExecutable) {
  EXPECT_EQ(xstr::load(1), "Hello, world");
  EXPECT_EQ(xstr::load(2), "Two lines\nsecond; with [brackets] and a \\ backslash");
  EXPECT_EQ(xstr::load(65535), "last id");
  EXPECT_TRUE(xstr::load(65536 + 1).empty());  // ids are 16-bit: no wrap to 1
}

}  // namespace
}  // namespace xum
