#include "measure/wav_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

namespace quorin::measure {
namespace {

static_assert(std::endian::native == std::endian::little, "the fields are written as they lie");

/// The 44 bytes before the samples.
struct Header {
  std::array<char, 4> riff{'R', 'I', 'F', 'F'};
  std::uint32_t riffBytes = 0;  ///< all that follows this field
  std::array<char, 4> wave{'W', 'A', 'V', 'E'};
  std::array<char, 4> fmt{'f', 'm', 't', ' '};
  std::uint32_t fmtBytes = 16;
  std::uint16_t encoding = 1;  ///< 1: integer, 3: float
  std::uint16_t channels = 1;
  std::uint32_t sampleRate = kSampleRate;
  std::uint32_t bytesPerSecond = 0;
  std::uint16_t bytesPerFrame = 0;
  std::uint16_t bitsPerSample = 0;
  std::array<char, 4> data{'d', 'a', 't', 'a'};
  std::uint32_t dataBytes = 0;
};
static_assert(sizeof(Header) == 44);

Header headerFor(SampleFormat format, std::uint32_t dataBytes) {
  const bool isFloat = format == SampleFormat::kFloat32;
  const std::uint16_t bytes = isFloat ? 4 : 2;
  Header header;
  header.riffBytes = dataBytes + sizeof(Header) - 8;
  header.encoding = isFloat ? 3 : 1;
  header.bytesPerSecond = kSampleRate * bytes;
  header.bytesPerFrame = bytes;
  header.bitsPerSample = static_cast<std::uint16_t>(bytes * 8);
  header.dataBytes = dataBytes;
  return header;
}

constexpr std::uint32_t kMaxBytes = 0xFFFFFFFF - sizeof(Header);

}  // namespace

std::expected<WavWriter, std::string> WavWriter::open(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  std::FILE* const file = descriptor < 0 ? nullptr : ::fdopen(descriptor, "wb");
  if (file != nullptr) return WavWriter(file);
  return std::unexpected("Cannot write " + path + ": " + std::generic_category().message(errno) +
                         ". Choose another place for the file.");
}

bool WavWriter::append(std::span<const std::byte> samples, SampleFormat format) {
  if (!format_) {
    format_ = format;
    (void)::ftruncate(::fileno(file_.get()), 0);  // a device cannot, and need not, be cut
    if (!writeHeader(kMaxBytes)) return false;
  }
  if (samples.size() > kMaxBytes - bytes_) return true;
  if (std::fwrite(samples.data(), 1, samples.size(), file_.get()) != samples.size()) return false;
  bytes_ += static_cast<std::uint32_t>(samples.size());
  return true;
}

bool WavWriter::finish() {
  const bool written =
      !format_ || (std::fseek(file_.get(), 0, SEEK_SET) == 0 && writeHeader(bytes_));
  return std::fclose(file_.release()) == 0 && written;
}

bool WavWriter::writeHeader(std::uint32_t bytes) {
  const auto header = headerFor(*format_, bytes);
  return std::fwrite(&header, sizeof header, 1, file_.get()) == 1;
}

std::expected<std::vector<float>, std::string> readWav(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file),
                                std::istreambuf_iterator<char>()};
  Header header;
  if (bytes.size() < sizeof header) return std::unexpected("Cannot read " + path + ".");
  std::memcpy(&header, bytes.data(), sizeof header);
  const auto format = header.encoding == 3 ? SampleFormat::kFloat32 : SampleFormat::kInt16;
  const auto expected = headerFor(format, header.dataBytes);
  if (std::memcmp(&header, &expected, sizeof header) != 0) {
    return std::unexpected(path + " is not a recording of quorin-listen.");
  }
  const auto samples = std::as_bytes(std::span(bytes)).subspan(sizeof header);
  return decode(samples.first(std::min<std::size_t>(samples.size(), header.dataBytes)), format);
}

}  // namespace quorin::measure
