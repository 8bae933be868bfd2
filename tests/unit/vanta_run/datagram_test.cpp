#include "monitor/datagram.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace vanta_test {
namespace {

using vanta_run::DecodeDatagram;

// Bytes as they stand in the datagram, independent of the record.
class Datagram {
 public:
  Datagram() : bytes_(56) {}
  Datagram &Float(size_t offset, float value) { return Put(offset, &value); }
  Datagram &Integer(size_t offset, int32_t value) { return Put(offset, &value); }
  auto Decoded() const { return DecodeDatagram(bytes_.data(), bytes_.size()); }
  std::vector<char> bytes_;

 private:
  Datagram &Put(size_t offset, const void *value) {
    std::memcpy(bytes_.data() + offset, value, 4);
    return *this;
  }
};

TEST(Datagram, EveryFieldIsReadFromItsPlace) {
  Datagram datagram;
  for (int i = 0; i < 9; ++i) datagram.Float(static_cast<size_t>(i) * 4, 1.5f + static_cast<float>(i));
  for (int i = 9; i < 14; ++i) datagram.Integer(static_cast<size_t>(i) * 4, 100 + i);
  const auto f = datagram.Decoded();
  ASSERT_TRUE(f);
  EXPECT_EQ(f->filter_avg, 1.5f);
  EXPECT_EQ(f->filter_max, 2.5f);
  EXPECT_EQ(f->filter_min, 3.5f);
  EXPECT_EQ(f->tessera_avg, 4.5f);
  EXPECT_EQ(f->tessera_max, 5.5f);
  EXPECT_EQ(f->tessera_min, 6.5f);
  EXPECT_EQ(f->beauty_avg, 7.5f);
  EXPECT_EQ(f->beauty_max, 8.5f);
  EXPECT_EQ(f->beauty_min, 9.5f);
  EXPECT_EQ(f->arrived_count, 109);
  EXPECT_EQ(f->render_count, 110);
  EXPECT_EQ(f->jank_count, 111);
  EXPECT_EQ(f->big_jank_count, 112);
  EXPECT_EQ(f->jank_time_ms, 113);
}

TEST(Datagram, AnotherLengthIsNoStatistics) {
  const std::vector<char> bytes(64);
  for (const size_t size : {size_t{0}, size_t{55}, size_t{57}})
    EXPECT_FALSE(DecodeDatagram(bytes.data(), size)) << size;
}

TEST(Datagram, TimeThatIsNoNumberIsRefused) {
  EXPECT_FALSE(Datagram().Float(16, std::numeric_limits<float>::quiet_NaN()).Decoded());
  EXPECT_FALSE(Datagram().Float(32, std::numeric_limits<float>::infinity()).Decoded());
}

TEST(Datagram, CountBelowZeroIsRefused) {
  EXPECT_FALSE(Datagram().Integer(52, -1).Decoded());
}

}  // namespace
}  // namespace vanta_test
