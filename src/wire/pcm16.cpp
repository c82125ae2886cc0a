#include "wire/pcm16.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstddef>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace quorin::wire {
namespace {

static_assert(std::endian::native == std::endian::little, "the datagrams are little-endian");

constexpr float kFullScale = 32767.0F;

std::int16_t convertOne(float sample) {
  if (std::isnan(sample)) return 0;
  return static_cast<std::int16_t>(std::lrintf(std::clamp(sample, -1.0F, 1.0F) * kFullScale));
}

void convertPlainly(const float* samples, std::int16_t* out, std::size_t count) {
  std::transform(samples, samples + count, out, convertOne);
}

#if defined(__x86_64__)

// Eight samples at a time. The last step covers the last eight samples, some of them a second
// time, so that no plain loop is needed for what is left over.
constexpr std::size_t kStep = 8;

void convertStepSse2(const float* in, std::int16_t* out) {
  const auto toInt32 = [](__m128 x) {
    x = _mm_and_ps(x, _mm_cmpord_ps(x, x));  // not-a-number to 0
    x = _mm_min_ps(_mm_max_ps(x, _mm_set1_ps(-1.0F)), _mm_set1_ps(1.0F));
    return _mm_cvtps_epi32(_mm_mul_ps(x, _mm_set1_ps(kFullScale)));
  };
  const auto packed = _mm_packs_epi32(toInt32(_mm_loadu_ps(in)), toInt32(_mm_loadu_ps(in + 4)));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), packed);
}

void convertWithSse2(const float* samples, std::int16_t* out, std::size_t count) {
  if (count < kStep) return convertPlainly(samples, out, count);
  for (std::size_t i = 0; i + kStep <= count; i += kStep) convertStepSse2(samples + i, out + i);
  convertStepSse2(samples + count - kStep, out + count - kStep);
}

__attribute__((target("avx2"))) inline void convertStepAvx2(const float* in, std::int16_t* out) {
  auto x = _mm256_loadu_ps(in);
  x = _mm256_and_ps(x, _mm256_cmp_ps(x, x, _CMP_ORD_Q));
  x = _mm256_min_ps(_mm256_max_ps(x, _mm256_set1_ps(-1.0F)), _mm256_set1_ps(1.0F));
  const auto wide = _mm256_cvtps_epi32(_mm256_mul_ps(x, _mm256_set1_ps(kFullScale)));
  const auto packed =
      _mm_packs_epi32(_mm256_castsi256_si128(wide), _mm256_extracti128_si256(wide, 1));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), packed);
}

__attribute__((target("avx2"))) void convertWithAvx2(const float* samples, std::int16_t* out,
                                                     std::size_t count) {
  if (count < kStep) return convertPlainly(samples, out, count);
  for (std::size_t i = 0; i + kStep <= count; i += kStep) convertStepAvx2(samples + i, out + i);
  convertStepAvx2(samples + count - kStep, out + count - kStep);
}

#endif

constexpr Pcm16Variant kVariants[] = {
#if defined(__x86_64__)
    {"avx2", convertWithAvx2},
    {"sse2", convertWithSse2},
#endif
    {"plain", convertPlainly},
};

}  // namespace

std::span<const Pcm16Variant> pcm16Variants() {
  const std::span all(kVariants);
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2") == 0) return all.subspan(1);
#endif
  return all;
}

void convertToPcm16(std::span<const float> samples, std::span<std::int16_t> out) {
  assert(out.size() == samples.size());
  static const auto convert = pcm16Variants().front().convert;
  convert(samples.data(), out.data(), samples.size());
}

}  // namespace quorin::wire
