// Compiled for AVX2 where there is such a thing: nothing here may be called, nor any inline function of a header be
// instantiated, for other processors.
#include "frames/conversion/pack_v210_avx2.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace vanta {

#if defined(__AVX2__)

namespace {

// Two groups, one in each half of a register. Of a word's three fields the outer two are shuffled into its 16-bit
// halves and multiplied into their places at bits 2 and 22; the middle one is shifted to bit 12.
struct Shuffles {
  __m256i luma_outer, luma_middle;      // of bytes Y0 to Y15
  __m256i chroma_outer, chroma_middle;  // of bytes U0 to U7, V0 to V7
};

Shuffles MakeShuffles() {
  constexpr char n = -1;                                                    // a shuffle's zero
  constexpr char v = 8;                                                     // where V begins
  return {_mm256_setr_epi8(n, n, n, n, 1, n, 2, n, n, n, n, n, 4, n, 5, n,  //
                           n, n, n, n, 7, n, 8, n, n, n, n, n, 10, n, 11, n),
          _mm256_setr_epi8(0, n, n, n, n, n, n, n, 3, n, n, n, n, n, n, n,  //
                           6, n, n, n, n, n, n, n, 9, n, n, n, n, n, n, n),
          _mm256_setr_epi8(0, n, v + 0, n, n, n, n, n, v + 1, n, 2, n, n, n, n, n,  //
                           3, n, v + 3, n, n, n, n, n, v + 4, n, 5, n, n, n, n, n),
          _mm256_setr_epi8(n, n, n, n, 1, n, n, n, n, n, n, n, v + 2, n, n, n,  //
                           n, n, n, n, 4, n, n, n, n, n, n, n, v + 5, n, n, n)};
}

__m128i Load(const uint8_t *bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
}

__m128i LoadHalf(const uint8_t *bytes) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(bytes));
}

}  // namespace

uint32_t PackV210GroupsAvx2(const uint8_t *y, const uint8_t *u, const uint8_t *v, uint32_t groups, uint8_t *out) {
  const Shuffles shuffles = MakeShuffles();
  const __m256i outer_places = _mm256_set1_epi32(1 << 22 | 1 << 2);
  uint32_t done = 0;
  // 16 bytes of luma and 8 of each chroma are loaded: within three groups.
  for (; groups - done >= 3; done += 2) {
    const __m256i luma = _mm256_broadcastsi128_si256(Load(y));
    const __m256i chroma = _mm256_broadcastsi128_si256(_mm_unpacklo_epi64(LoadHalf(u), LoadHalf(v)));
    const __m256i outer = _mm256_or_si256(_mm256_shuffle_epi8(luma, shuffles.luma_outer),
                                          _mm256_shuffle_epi8(chroma, shuffles.chroma_outer));
    const __m256i middle = _mm256_or_si256(_mm256_shuffle_epi8(luma, shuffles.luma_middle),
                                           _mm256_shuffle_epi8(chroma, shuffles.chroma_middle));
    const __m256i words = _mm256_or_si256(_mm256_mullo_epi16(outer, outer_places), _mm256_slli_epi32(middle, 12));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), words);
    y += 12;
    u += 6;
    v += 6;
    out += 32;
  }
  return done;
}

#else

uint32_t PackV210GroupsAvx2(const uint8_t *, const uint8_t *, const uint8_t *, uint32_t, uint8_t *) {
  return 0;
}

#endif

}  // namespace vanta
