// keyer_families [--quick] [training | SEED]: alpha on families of synthetic takes, by family and backing. Ours is the
// effect file's arithmetic on the CPU with nothing but the picked key colour; the public formulas are tuned on each
// take with its truth. docs/green-screen.md names the seeds that the constants were chosen on; `training` shows the
// first, else the table is of another, or of SEED.
// --quick: the plain families.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "family.h"
#include "family_metrics.h"
#include "public_keys.h"
#include "reference_key.h"

namespace keyer_bench {
namespace {

constexpr uint32_t kTrainingSeed = 1, kReportedSeed = 9002;

FamilyMetrics MeasureOurs(const FamilyTake &take) {
  ReferenceKey key(take.width, take.height, take.key);
  FamilyMeter meter(take);
  for (const FamilyTake::Frame &frame : take.frames) meter.Add(key.Next(frame.rgba));
  return meter.Result();
}

FamilyMetrics MeasurePublic(PublicKey key, const PublicParameters &parameters, const FamilyTake &take) {
  FamilyMeter meter(take);
  for (size_t frame = 0; frame < take.frames.size(); ++frame) meter.Add(Key(key, parameters, take, frame));
  return meter.Result();
}

void PrintRow(const Family &family, bool blue, uint32_t seed) {
  const FamilyTake take = MakeTake(family, blue, seed);
  const FamilyMetrics m = MeasureOurs(take);
  std::printf("%-30s %-5s | %6.1f | %6.1f | %7.1f | %5.1f | %7.2f |", family.name, blue ? "blue" : "green", m.mad,
              m.moving, m.backing, m.holes, m.flicker);
  std::printf(" %6.1f |", MeasurePublic(PublicKey::kStock, kStockDefaults, take).mad);
  for (const PublicKey key : kPublicKeys) std::printf(" %6.1f |", MeasurePublic(key, Tune(key, take), take).mad);
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace
}  // namespace keyer_bench

int main(int argc, char **argv) {
  const auto given = [&](const char *word) {
    return std::any_of(argv + 1, argv + argc, [&](const char *argument) { return std::strcmp(argument, word) == 0; });
  };
  uint32_t seed = given("training") ? keyer_bench::kTrainingSeed : keyer_bench::kReportedSeed;
  for (int i = 1; i < argc; ++i)
    if (const long number = std::strtol(argv[i], nullptr, 10); number > 0) seed = static_cast<uint32_t>(number);
  try {
    std::printf("%-36s | %6s | %6s | %7s | %5s | %7s | %6s | %6s | %6s | %6s | %6s |\n", "family, backing", "ours",
                "moving", "backing", "holes", "flicker", "stock", "tuned", "wedge", "differ", "node");
    for (const keyer_bench::Family &family : keyer_bench::Families()) {
      if (given("--quick") && !family.plain) continue;
      for (const bool blue : {false, true}) keyer_bench::PrintRow(family, blue, seed);
    }
    return 0;
  } catch (const std::exception &failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 2;
  }
}
