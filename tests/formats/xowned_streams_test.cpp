// The owning form beside the raw-pointer calls: a stream handed over to a
// format is deleted exactly once.
#include "formats/xformat.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/xexceptions.h"
#include "formats/xbin_format.h"
#include "formats/xstruct_format.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

// A stream over some bytes that counts its destructions.
class counted_stream final : public xstream {
 public:
  explicit counted_stream(int& deaths, const std::string& bytes = {}) : deaths_(deaths) {
    mode_ = xstream_read | xstream_write;
    bytes_.write(bytes.data(), static_cast<int>(bytes.size()));
    bytes_.seek(0, xseek_begin);
  }
  ~counted_stream() override { ++deaths_; }
  xstr description() const override { return "Counted stream."; }
  int read(void* b, int n) override { return bytes_.read(b, n); }
  int write(const void* b, int n) override { return bytes_.write(b, n); }
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override { return bytes_.seek(offset, origin); }

 private:
  int& deaths_;
  xmemory_stream bytes_;
};

TEST(XFormatOwned, AHandedOverStreamIsDeletedOnceOnCloseOrFailure) {
  int deaths = 0;
  {
    xbin_format f;
    f.open_stream(std::make_unique<counted_stream>(deaths), xstream_write);
    EXPECT_EQ(deaths, 0);
    f.close();
    EXPECT_EQ(deaths, 1);
  }
  EXPECT_EQ(deaths, 1);  // not again by the format's destructor

  // A reading structured format loads at open: bad contents throw, and the
  // stream it was given goes exactly once (ASan sees a leak or a double
  // delete).
  deaths = 0;
  {
    xstruct_format f;
    EXPECT_THROW(f.open_stream(std::make_unique<counted_stream>(deaths, "not a settings file"), xstream_read),
                 XException);
  }
  EXPECT_EQ(deaths, 1);

  xbin_format f;
  EXPECT_EQ(test::code_of([&] { f.open_stream(std::unique_ptr<xstream>(), xstream_read); }),
            xexception::out_of_range);
}

}  // namespace
}  // namespace xum
